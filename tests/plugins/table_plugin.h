#pragma once

#include "host/base/string.h"
#include "host/export.h"
#include "host/notation/kel_parser.h"
#include "host/notation/message_port.h"
#include "host/script/message_port_command_handler_array.h"
#include "host/script/script_result.h"
#include "host/system/version.h"

// A plug-in that is nothing but a table of commands: its one source includes this and defines the
// table.
extern const TavMessagePortCommand kTable[];

TAV_PLUGIN_API int TavPluginFctGetVersion() { return Tav_GetVersionIdentifier(); }
TAV_PLUGIN_API int TavPluginFctGetType() { return 102; }
TAV_PLUGIN_API int TavPluginFctTavScriptGetExecutionType() { return 44; }
TAV_PLUGIN_API const char* TavPluginFctTavScriptGetMessagePortName() {
  return TavMessagePort::TavScript();
}

TAV_PLUGIN_API bool TavPluginFctTavScriptHandleRequestMsg(const char* command, TavKelParser& params,
                                                          TavMessage* message) {
  return TavMessagePortCommandHandlerArray(kTable).Handle(command, params, message);
}
TAV_PLUGIN_API bool TavPluginFctTavScriptHandleRequestDirect(const char* command,
                                                             TavKelParser& params,
                                                             TavScriptResult& result) {
  return TavMessagePortCommandHandlerArray(kTable).Handle(command, params, result);
}
TAV_PLUGIN_API bool TavPluginFctTavScriptIsCommandExisting(const char* command) {
  return TavMessagePortCommandHandlerArray(kTable).IsCommandExisting(command, false);
}
TAV_PLUGIN_API void TavPluginFctTavScriptGetAllCommands(SV::String& out, char separator) {
  out = TavMessagePortCommandHandlerArray(kTable).GetAllCommands(separator);
}
