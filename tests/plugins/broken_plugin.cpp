// One plug-in of three commands, built many times, each time broken in another way: BROKEN names
// the way. What a build lacks altogether is renamed by its build rule.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string_view>
#include <thread>

#include "host/base/string.h"
#include "host/export.h"
#include "host/notation/kel_parser.h"
#include "host/notation/kel_value.h"
#include "host/notation/kel_value_set.h"
#include "host/notation/message_port.h"
#include "host/notation/message_port_manager.h"
#include "host/script/message_port_command_handler_array.h"
#include "host/script/script_result.h"
#include "host/sv/application.h"
#include "host/system/version.h"

namespace {

constexpr bool Is(std::string_view way) { return way == BROKEN; }

[[noreturn]] void Crash() {
  volatile int* volatile nowhere = nullptr;
  *nowhere = 1;
  std::abort();
}

[[noreturn]] void Hang() {
  for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
}

// Tells a test that what it waits for has begun.
void Mark() {
  const char* const name = std::getenv("TEST_MARK");
  if (!name) return;
  if (std::FILE* const file = std::fopen(name, "w")) std::fclose(file);
}

// Heeds no stop, each build in a way of its own.
void HeedNothing() {
  Mark();
  if (Is("sleeps-forever")) Hang();
  if (Is("spins")) {
    for (std::atomic<unsigned> round = 0;; ++round) {
    }
  }
  if (Is("returns-late")) std::this_thread::sleep_for(std::chrono::seconds(3));
  while (Is("ignores-stops")) {
    try {
      SV::GetpApp()->Reschedule(31);
    } catch (const std::exception&) {
    }
  }
}

void First(const char*, TavKelParser&, TavScriptResult& result) {
  if (Is("sleeps-forever") || Is("spins") || Is("returns-late") || Is("ignores-stops")) {
    return HeedNothing();
  }
  result.GetText() += " ecode:0";
}
void Second(const char*, TavKelParser&, TavScriptResult&) { throw std::runtime_error("no good"); }
void Third(const char*, TavKelParser&, TavScriptResult&) { throw 3; }

const TavMessagePortCommand kTable[] = {
    {"TEST_FIRST", First},
    {Is("lower-case-name") ? "test_second" : "TEST_SECOND", Second},
    {Is("same-name-twice") ? "TEST_FIRST" : "TEST_THIRD", Third},
    {nullptr, nullptr},
};

TavMessagePort port;

// What happens while the library is loaded and unloaded.
struct AtLoad {
  AtLoad() {
    if (Is("crashes-at-load")) Crash();
    if (Is("hangs-at-load")) {
      Mark();
      Hang();
    }
    if (Is("enters-a-port")) TavMessagePortManager::Instance().m_ports["Broken"] = &port;
    if (Is("noisy")) std::puts("loading\nverdict\n");
  }
  ~AtLoad() {
    if (Is("crashes-at-unload")) Crash();
    if (Is("hangs-at-unload")) {
      Mark();
      Hang();
    }
    if (Is("noisy")) std::puts("unloading\nverdict\n");
  }
} atLoad;

void WriteResult(TavScriptResult& result) {
  if (TavKelValueSet* variables = result.GetValueSet()) {
    variables->OldMoveValue("ecode", new TavKelValue(0L), false);
  } else if (!result.GetObject()) {
    result.GetText() += " ecode:0";
  }
}

}  // namespace

TAV_PLUGIN_API int TavPluginFctGetVersion() {
  return Tav_GetVersionIdentifier() + (Is("wrong-version") ? 1 : 0);
}

TAV_PLUGIN_API int TavPluginFctGetType() {
  static int calls = 0;
  if (Is("type-changes") && ++calls > 1) return 103;
  return Is("wrong-type") ? 101 : 102;
}

TAV_PLUGIN_API int TavPluginFctTavScriptGetExecutionType() {
  return Is("wrong-execution-type") ? 43 : 44;
}

TAV_PLUGIN_API const char* TavPluginFctTavScriptGetMessagePortName() {
  static char copy[] = "TavScript";
  if (Is("no-port")) return nullptr;
  if (Is("other-port")) return "TavHost";
  return Is("copied-port") ? copy : TavMessagePort::TavScript();
}

TAV_PLUGIN_API bool TavPluginFctTavScriptHandleRequestMsg(const char* command, TavKelParser& params,
                                                          TavMessage* message) {
  if (Is("hangs")) Hang();
  if (Is("handles-unknown-message")) return true;
  TavMessagePortCommandHandlerArray handlers(kTable);
  return handlers.Handle(command, params, message);
}

TAV_PLUGIN_API bool TavPluginFctTavScriptHandleRequestDirect(const char* command,
                                                             TavKelParser& params,
                                                             TavScriptResult& result) {
  if (Is("hangs-at-the-end") && std::string_view(command) == "INTERNAL_TAVSCRIPT_FINISHED") Hang();
  TavMessagePortCommandHandlerArray handlers(kTable);
  if (handlers.Handle(command, params, result)) return true;
  if (Is("throws")) throw std::runtime_error("what happened");
  if (Is("throws-a-number")) throw 5;
  if (Is("writes-for-unknown")) WriteResult(result);
  if (Is("reports-unknown")) result.SetError("unknown");
  return Is("handles-unknown");
}

TAV_PLUGIN_API bool TavPluginFctTavScriptIsCommandExisting(const char* command) {
  if (Is("exits")) std::exit(0);
  if (Is("knows-everything")) return true;
  if (Is("knows-beginnings")) return std::string_view("TEST_FIRST").starts_with(command);
  if (Is("knows-nothing")) return false;
  TavMessagePortCommandHandlerArray handlers(kTable);
  return handlers.IsCommandExisting(command, false);
}

TAV_PLUGIN_API void TavPluginFctTavScriptGetAllCommands(SV::String& out, char separator) {
  if (Is("crashes")) Crash();
  TavMessagePortCommandHandlerArray handlers(kTable);
  SV::String commands = handlers.GetAllCommands(Is("ignores-separator") ? ' ' : separator);
  if (Is("separator-at-end")) commands += separator;
  if (Is("separator-at-begin")) {
    SV::String shifted;
    shifted += separator;
    shifted += commands;
    commands = shifted;
  }
  if (Is("appends")) {
    out += commands;
  } else {
    out = commands;
  }
}
