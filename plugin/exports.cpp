#include "plugin/exports.h"

#include "host/base/string.h"
#include "host/notation/message_port.h"
#include "host/script/message_port_command_handler_array.h"
#include "host/system/version.h"
#include "plugin/command_table.h"

namespace {

constexpr int kTavScriptPortPlugin = 102;  // the type of plug-ins that serve a script port
constexpr int kExecutionType = 44;         // the execution type that this port wants of them

// Made anew for each question, since making one costs nothing; so none has to be kept from call to
// call and released in time.
using CommandHandlers = TavMessagePortCommandHandlerArray;

}  // namespace

int TavPluginFctGetVersion() { return Tav_GetVersionIdentifier(); }

int TavPluginFctGetType() { return kTavScriptPortPlugin; }

int TavPluginFctTavScriptGetExecutionType() { return kExecutionType; }

const char* TavPluginFctTavScriptGetMessagePortName() { return TavMessagePort::TavScript(); }

bool TavPluginFctTavScriptHandleRequestMsg(const char* command, TavKelParser& params,
                                           TavMessage* message) {
  CommandHandlers handlers(plugin::kCommandTable);
  return handlers.Handle(command, params, message);
}

bool TavPluginFctTavScriptHandleRequestDirect(const char* command, TavKelParser& params,
                                              TavScriptResult& result) {
  CommandHandlers handlers(plugin::kCommandTable);
  return handlers.Handle(command, params, result);
}

bool TavPluginFctTavScriptIsCommandExisting(const char* command) {
  CommandHandlers handlers(plugin::kCommandTable);
  return handlers.IsCommandExisting(command, false);
}

void TavPluginFctTavScriptGetAllCommands(SV::String& out, char separator) {
  CommandHandlers handlers(plugin::kCommandTable);
  out = handlers.GetAllCommands(separator);
}
