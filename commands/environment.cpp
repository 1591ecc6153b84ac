// The host and its surroundings: message ports, printer, display, clipboard, sound, waiting,
// script text and notation.
#include <cstdint>

#include "commands/handlers.h"
#include "commands/support/checks.h"
#include "commands/support/results.h"
#include "host/base/size.h"
#include "host/base/string.h"
#include "host/notation/extended_message_port.h"
#include "host/notation/kel_converter.h"
#include "host/notation/kel_parser.h"
#include "host/notation/kel_value_set.h"
#include "host/notation/message_port_manager.h"
#include "host/script/script.h"
#include "host/script/script_runtime.h"
#include "host/script/script_service.h"
#include "host/script/type_check.h"
#include "host/sv/application.h"
#include "host/system/clipboard.h"
#include "host/system/error_message.h"
#include "host/system/printer.h"
#include "host/system/sound.h"
#include "host/system/system.h"
#include "host/tools/modeling_shell.h"
#include "host/windows/windows.h"

namespace commands {

namespace {

// The parameters of these commands.
constexpr names::Literal kTokSep = "toksep";
constexpr names::Literal kOn = "on";
constexpr names::Literal kOff = "off";
constexpr names::Literal kNoAutoCreate = "noautocreate";
constexpr names::Literal kName = "name";
constexpr names::Literal kMilliseconds = "ms";
constexpr names::Literal kFrequency = "freq";
constexpr names::Literal kWithHeader = "with-header";
constexpr names::Literal kRootTag = "roottag";
constexpr names::Literal kStart = "start";
constexpr names::Literal kPort = "port";
constexpr names::Literal kBacklog = "backlog";
constexpr names::Literal kLogFormat = "logformat";
constexpr names::Literal kOutput = "output";
constexpr names::Literal kStop = "stop";

// What the host's error reports call this file, and the place in it at which a port has no
// commands. Both are fixed: where the file was compiled, and what was written above, change no
// report.
constexpr char kSourceFile[] = "commands/environment.cpp";
constexpr int kPlainPortLine = 79;

constexpr unsigned kAllEvents = 31;  // of SV::Application::Reschedule

// What CRASH reads from: always null. Volatile, so that the compiler cannot know that and leave the
// read out.
const std::int32_t* volatile nowhere = nullptr;

// What joins the names of a list: the first character of `toksep`, NUL when that is empty.
char Separator(TavKelParser& parser) {
  return parser.IsContained(kTokSep) ? parser.GetStrValue(kTokSep).GetChar(0) : ' ';
}

}  // namespace

void Command_SET_MP_TYPE_CHECKING(const char*, TavKelParser& parser, TavScriptResult&) {
  if (parser.IsContained(kOn)) {
    Tav_EnableGlobalTypeChecking(true);
  } else if (parser.IsContained(kOff)) {
    Tav_EnableGlobalTypeChecking(false);
  }
}

void Command_GET_MESSAGE_PORTS(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kTokSep, TavKelString, result, checks::kOptional)) return;

  const char separator = Separator(parser);
  SV::String names;
  for (const auto& [name, port] : TavMessagePortManager::Instance().m_ports) {
    if (names.Len() > 0) names += separator;
    names += name;
  }
  results::SetString(result, "msgports", names);
  results::SetInteger(result, "ecode", 0);
}

void Command_GET_MP_COMMANDS(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kTokSep, TavKelString, result, checks::kOptional)) return;

  TavMessagePortManager& manager = TavMessagePortManager::Instance();
  const char* key = manager.GetMPNameStrAddress(parser.GetStrValue());
  if (!key) {
    results::SetInteger(result, "ecode", 1);
    return;
  }
  auto* port = dynamic_cast<TavExtendedMessagePort*>(manager.FindMessagePort(key));
  if (!port) {
    displayErrorMessage(kSourceFile, kPlainPortLine);
    results::SetInteger(result, "ecode", 1);
    return;
  }
  results::SetString(result, "commands", port->GetAllCommands(Separator(parser)));
  results::SetInteger(result, "ecode", 0);
}

void Command_GET_PRINTER_INFO(const char*, TavKelParser& parser, TavScriptResult& result) {
  const bool noAutoCreate = parser.GetBoolValue(kNoAutoCreate, false);
  const TavPrinter* printer = Tav_GetPrinter(!noAutoCreate);
  if (printer) {
    results::SetString(result, "name", printer->name);
    results::SetString(result, "device", printer->device);
    results::SetString(result, "port", printer->port);
    results::SetString(result, "driver", printer->driver);
    results::SetInteger(result, "valid", printer->name.Len() > 0 ? 1 : 0);
  }
  results::SetInteger(result, "ecode", printer ? 0 : 1);
}

void Command_SET_PRINTER(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kName, TavKelString, result, checks::kRequired)) return;

  Tav_ReplacePrinter(new TavPrinter(parser.GetStrValue(kName)));
  results::SetInteger(result, "ecode", 0);
}

// Counts in unsigned 32-bit milliseconds all through. A deadline that is smaller than the start,
// because `ms` is negative or the clock is about to wrap around, therefore ends the wait at once.
// Events are handled at least once, so that a script that sleeps 0 ms in a loop stays stoppable.
void Command_SLEEP(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kMilliseconds, TavKelInteger, result, checks::kRequired)) return;

  const std::uint32_t start = GetTickCount();
  const std::uint32_t deadline =
      start + static_cast<std::uint32_t>(parser.GetIntValue(kMilliseconds));
  if (TavModelingShell* shell = TavModelingShell::GetGlobal()) shell->UpdateAllModelWindows();

  std::uint32_t now = GetTickCount();
  if (now >= deadline) {
    SV::GetpApp()->Reschedule(kAllEvents);
    return;
  }
  while (now < deadline) {
    MsgWaitForMultipleObjectsEx(0, nullptr, deadline - now, QS_ALLEVENTS, 0);
    SV::GetpApp()->Reschedule(kAllEvents);
    now = GetTickCount();
  }
}

void Command_GET_DISPLAY_SIZE(const char*, TavKelParser&, TavScriptResult& result) {
  const SV::Size screen = SV::System::GetScreenSizePixel();
  results::SetInteger(result, "w", screen.Width());
  results::SetInteger(result, "h", screen.Height());
}

void Command_COPY_TO_CLIPBOARD(const char*, TavKelParser& parser, TavScriptResult& result) {
  const SV::String text = parser.GetStrValue();
  SV::Clipboard::Clear();
  const bool copied = SV::Clipboard::CopyString(text) != 0;
  results::SetInteger(result, "ecode", copied ? 0 : 1);
}

void Command_BEEP(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, kFrequency, TavKelInteger, result, checks::kRequired)) return;
  if (checks::Fails(parser, kMilliseconds, TavKelInteger, result, checks::kRequired)) return;

  const auto frequency = static_cast<std::uint32_t>(parser.GetIntValue(kFrequency));
  const auto milliseconds = static_cast<std::uint32_t>(parser.GetIntValue(kMilliseconds));
  SV::Sound::Beep(frequency, milliseconds);
}

// Ends the process by an access violation, so that people can try what the host and their own
// programs make of a crash.
void Command_CRASH(const char*, TavKelParser&, TavScriptResult& result) {
  results::SetInteger(result, "ecode", static_cast<int>(*nowhere));
}

// The text runs in a scope of its own inside the global variables; it does not see the variables of
// a function that executes it. The command has no results: what comes back is what the text changes
// in the global variables. The host tells the error that ends the text; a text that does not parse
// does nothing at all.
void Command_EXECUTE(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, checks::kMainValue, TavKelString, result, checks::kRequired)) return;

  const SV::String text = parser.GetStrValue();
  TavScript script(0, "Do_Execute", "", "");
  SV::String parseError;
  if (script.Parse(text, parseError) != 0) return;

  TavScriptRuntime runtime;
  TavKelValueSet variables(TavScript::GlobalVars());
  TavScriptExitType exitType = TavScriptExitEnd;
  long exitCode = 0;
  script.Execute(exitType, exitCode, runtime, &variables, true, false);
}

void Command_KEL_TO_XML(const char*, TavKelParser& parser, TavScriptResult& result) {
  if (checks::Fails(parser, checks::kMainValue, TavKelString, result, checks::kRequired)) return;

  const SV::String text = parser.GetStrValue();
  const bool withHeader = parser.GetBoolValue(kWithHeader, false);
  const SV::String rootTag = parser.GetStrValue(kRootTag);
  TavKelConverter converter(text);
  if (converter.Parse() != 0) {
    results::SetInteger(result, "ecode", 1);
    results::SetString(result, "errtext", "KEL parse error");
    return;
  }
  const SV::String xml = converter.ToXML(withHeader, rootTag);
  results::SetInteger(result, "ecode", 0);
  results::SetString(result, "xml", xml);
}

void Command_SERVICE(const char*, TavKelParser& parser, TavScriptResult& result) {
  bool done = false;
  if (parser.IsContained(kStart)) {
    const long port = parser.IsContained(kPort) ? parser.GetIntValue(kPort) : 80;
    const long backlog = parser.IsContained(kBacklog) ? parser.GetIntValue(kBacklog) : 100;
    const auto format = parser.GetModifier(kLogFormat) == "long" ? TavWSLogLong : TavWSLogShort;
    const auto type =
        parser.GetModifier(kOutput) == "textfield" ? TavWSLogTextField : TavWSLogConsole;
    done = TavScriptService::Start(static_cast<int>(port), static_cast<int>(backlog), format, type,
                                   nullptr, true);
  } else if (parser.IsContained(kStop)) {
    done = TavScriptService::Stop();
  } else {
    results::SetInteger(result, "ecode", -1);
    return;
  }
  results::SetInteger(result, "ecode", done ? 0 : 1);
}

void Command_IS_SCRIPT_SERVICE_RUNNING(const char*, TavKelParser&, TavScriptResult& result) {
  results::SetInteger(result, "result", TavScriptService::IsRunning() ? 1 : 0);
}

}  // namespace commands
