// A plug-in whose commands take signals away from the host: blocked or handled by others.
#include <signal.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "host/base/string.h"
#include "host/export.h"
#include "host/notation/kel_parser.h"
#include "host/notation/message_port.h"
#include "host/script/message_port_command_handler_array.h"
#include "host/script/script_result.h"
#include "host/system/version.h"

namespace {

void BlockAll() {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, nullptr);
}

void Block(const char*, TavKelParser&, TavScriptResult&) { BlockAll(); }

void BlockAndThrow(const char*, TavKelParser&, TavScriptResult&) {
  BlockAll();
  throw 1;
}

void Ignore(const char*, TavKelParser&, TavScriptResult&) {
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGALRM}) signal(number, SIG_IGN);
}

// Tells a test that what it waits for has begun.
void Mark(const char*, TavKelParser&, TavScriptResult&) {
  if (const char* const name = std::getenv("TEST_MARK")) {
    if (std::FILE* const file = std::fopen(name, "w")) std::fclose(file);
  }
}

void BlockAndSpin(const char* command, TavKelParser& parser, TavScriptResult& result) {
  BlockAll();
  Mark(command, parser, result);
  for (std::atomic<unsigned> round = 0;; ++round) {
  }
}

const TavMessagePortCommand kTable[] = {
    {"BLOCK", Block},
    {"BLOCK_AND_THROW", BlockAndThrow},
    {"BLOCK_AND_SPIN", BlockAndSpin},
    {"IGNORE", Ignore},
    {"MARK", Mark},
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
