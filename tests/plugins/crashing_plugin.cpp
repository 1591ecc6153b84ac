// A plug-in whose commands end the program, each in another way; and one that throws, which does
// not.
#include <cstdlib>
#include <stdexcept>

#include "host/base/string.h"
#include "host/export.h"
#include "host/notation/kel_parser.h"
#include "host/notation/message_port.h"
#include "host/script/message_port_command_handler_array.h"
#include "host/script/script_result.h"
#include "host/system/version.h"

namespace {

volatile int* volatile nowhere = nullptr;

void WriteNowhere(const char*, TavKelParser&, TavScriptResult&) { *nowhere = 1; }

void Abort(const char*, TavKelParser&, TavScriptResult&) { std::abort(); }

void Divide(const char*, TavKelParser&, TavScriptResult&) {
  volatile int zero = 0;
  volatile int quotient = 1000 / zero;
  static_cast<void>(quotient);
}

// Calls itself by way of a variable, so that no compiler sees that it never ends.
int Recurse(int depth);
int (*volatile recurse)(int) = Recurse;
int Recurse(int depth) {
  volatile char frame[1024];
  frame[0] = static_cast<char>(depth);
  return recurse(depth + 1) + frame[0];
}
void OverflowStack(const char*, TavKelParser&, TavScriptResult&) { recurse(0); }

void Throw(const char*, TavKelParser&, TavScriptResult&) { throw std::runtime_error("no good"); }
void ThrowNumber(const char*, TavKelParser&, TavScriptResult&) { throw 3; }

const TavMessagePortCommand kTable[] = {
    {"WRITE_NOWHERE", WriteNowhere},
    {"ABORT", Abort},
    {"DIVIDE", Divide},
    {"OVERFLOW_STACK", OverflowStack},
    {"THROW", Throw},
    {"THROW_NUMBER", ThrowNumber},
    {nullptr, nullptr},
};

}  // namespace

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
