#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <vector>

#include "host/notation/message_port.h"
#include "tavhost/app/exit_codes.h"
#include "tavhost/app/hang_up.h"
#include "tavhost/app/host.h"
#include "tavhost/app/outcome.h"
#include "tavhost/app/standard_streams.h"
#include "tavhost/app/subcommands.h"
#include "tavhost/base/report.h"
#include "tavhost/base/stop.h"
#include "tavhost/base/string_of.h"
#include "tavhost/notation/document.h"
#include "tavhost/notation/parser_access.h"
#include "tavhost/script/ports/message.h"
#include "tavhost/script/ports/ports.h"

namespace app {

namespace {

// What one operand holds.
struct Commands {
  std::string name;       // for people
  bool hasLines = false;  // standard input: its lines are known by their numbers
  std::shared_ptr<const kel::Document> document;
};

// Parses one operand, or standard input for "-". False when that fails, which has been said.
bool ParseCommands(const std::string& operand, std::size_t number, std::vector<Commands>& all) {
  const bool fromInput = operand == "-";
  const std::string name = fromInput ? "<stdin>" : "command " + std::to_string(number);
  const base::Result<std::string> text = fromInput ? ReadStandardInput() : operand;
  if (!text || text->size() > static_cast<std::size_t>(SV::String::kMaxLength)) {
    report::Line("tavhost: cannot read " + name + ": " +
                 (text ? "too long" : text.error().message));
    return false;
  }
  auto document = kel::Document::Parse(base::StringOf(*text));
  if (!document) {
    document.error().file = name;
    report::Line(document.error().Text());
    return false;
  }
  all.push_back({name, fromInput, std::move(*document)});
  return true;
}

// Where a command stands, for a person: `at <stdin>:3 (SLEEP)`.
std::string PlaceOf(const Commands& commands, const kel::Element& element) {
  const std::string_view text = commands.document->Text().View();
  const std::string_view name = element.Name();  // a part of the text
  const auto line = 1 + std::count(text.data(), name.data(), '\n');
  std::string place = "at " + commands.name;
  if (commands.hasLines || line > 1) place += ':' + std::to_string(line);
  return place + " (" + std::string(name) + ")";
}

// Sends one command, prints its reply, and returns whether that was an error.
bool SendCommand(const kel::Element& element) {
  const std::string command(element.Name());
  kel::BorrowedParser parser(&element);
  TavMessage message;
  if (!script::ScriptPort::TavScript().Handle(command.c_str(), parser, message)) {
    const std::string text = script::UnknownCommandText(TavMessagePort::TavScript(), command);
    message.Result().SetError(base::StringOf(text));
  }
  stop::ThrowIfRequested();  // what it waited for may have ended it without a word
  PrintLine(message.Reply().View());
  return message.HasError();
}

}  // namespace

int SendCommands(const CommandLine& line) {
  EndAtHangUp();
  // Everything is parsed before anything is done.
  std::vector<Commands> all;
  for (std::size_t i = 0; i < line.operands.size(); ++i) {
    if (!ParseCommands(line.operands[i], i + 1, all)) return kExitUsage;
  }
  int exitCode = kExitSuccess;
  const auto host = Host::Start(line.options);
  if (!host) return host.error();
  const Commands* current = nullptr;
  const kel::Element* element = nullptr;
  try {
    for (const Commands& commands : all) {
      for (std::uint32_t i = 0; i < commands.document->Count(); ++i) {
        current = &commands;
        element = &commands.document->Elements()[i];
        stop::ThrowIfRequested();
        if (SendCommand(*element)) exitCode = kExitScriptError;
      }
    }
  } catch (const stop::Stopped&) {
    ReportStop(stop::Requested(), line.options, PlaceOf(*current, *element));
    exitCode = ExitCodeOf(stop::Requested());
    (*host)->DropOpenFiles();
  }
  return (*host)->Finish(exitCode);
}

}  // namespace app
