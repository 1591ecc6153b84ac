#pragma once

#include "host/base/forward.h"
#include "host/export.h"
#include "host/notation/forward.h"
#include "host/script/forward.h"

// What the host finds in the plug-in, by these plain names. The first four say what kind of plug-in
// this is; the others carry out commands and tell about them. They may be called in any order, on
// the user-interface thread.
TAV_PLUGIN_API int TavPluginFctGetVersion();
TAV_PLUGIN_API int TavPluginFctGetType();
TAV_PLUGIN_API int TavPluginFctTavScriptGetExecutionType();
TAV_PLUGIN_API const char* TavPluginFctTavScriptGetMessagePortName();
TAV_PLUGIN_API bool TavPluginFctTavScriptHandleRequestMsg(const char* command, TavKelParser& params,
                                                          TavMessage* message);
TAV_PLUGIN_API bool TavPluginFctTavScriptHandleRequestDirect(const char* command,
                                                             TavKelParser& params,
                                                             TavScriptResult& result);
TAV_PLUGIN_API bool TavPluginFctTavScriptIsCommandExisting(const char* command);
TAV_PLUGIN_API void TavPluginFctTavScriptGetAllCommands(SV::String& out, char separator);
