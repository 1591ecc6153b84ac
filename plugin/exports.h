#pragma once

#include "host/base/forward.h"
#include "host/export.h"
#include "host/notation/forward.h"
#include "host/script/forward.h"

// What the host finds in the plug-in, by these plain names. They may be called in any order, on the
// user-interface thread.

// The version of the host that the plug-in fits; a host of another version refuses it. This plug-in
// fits every host that offers what it uses, so it answers with the version of the host that asks.
TAV_PLUGIN_API int TavPluginFctGetVersion();
// The number of the plug-ins that serve a script port, and of the execution type that this port
// wants of them.
TAV_PLUGIN_API int TavPluginFctGetType();
TAV_PLUGIN_API int TavPluginFctTavScriptGetExecutionType();
// The port that the plug-in serves: the host's own pointer to the name, never a copy of the text.
TAV_PLUGIN_API const char* TavPluginFctTavScriptGetMessagePortName();

// Carry a command out; false, and nothing written, when the plug-in has no command of that name.
// `params` stands on the command's element. The first answers into a message, which the plug-in
// passes on to its handler array; the second writes result variables.
TAV_PLUGIN_API bool TavPluginFctTavScriptHandleRequestMsg(const char* command, TavKelParser& params,
                                                          TavMessage* message);
TAV_PLUGIN_API bool TavPluginFctTavScriptHandleRequestDirect(const char* command,
                                                             TavKelParser& params,
                                                             TavScriptResult& result);

// Whether the plug-in has the command; carries nothing out.
TAV_PLUGIN_API bool TavPluginFctTavScriptIsCommandExisting(const char* command);
// Replaces `out` by the names of all commands, joined by the separator.
TAV_PLUGIN_API void TavPluginFctTavScriptGetAllCommands(SV::String& out, char separator);
