#include "tavhost/app/dry_run_report.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tavhost/app/standard_streams.h"
#include "tavhost/base/literal.h"
#include "tavhost/base/plugin_call.h"

namespace app {

namespace {

using dry_run::Act;
using dry_run::Step;
using nlohmann::json;

struct ActRow {
  Act act;
  const char* name;    // of the step in JSON
  const char* words;   // behind "would"
  const char* object;  // what the object is called in JSON
};

constexpr ActRow kActs[] = {
    {Act::kCopy, "copy", "copy", "from"},
    {Act::kMove, "move", "move", "from"},
    {Act::kDelete, "delete", "delete", "path"},
    {Act::kDeleteDirectory, "delete-directory", "delete the directory", "path"},
    {Act::kCreateDirectory, "create-directory", "create the directory", "path"},
    {Act::kCreate, "create", "create the file", "path"},
    {Act::kOpen, "open", "open", "path"},
    {Act::kWrite, "write", "write", "path"},
    {Act::kAppend, "append", "append", "path"},
    {Act::kSend, "send", "send", "url"},
    {Act::kCopyToClipboard, "copy-to-clipboard", "copy to the clipboard", "text"},
    {Act::kStartService, "start-service", "start the script service", "port"},
    {Act::kStopService, "stop-service", "stop the script service", "port"},
    {Act::kSetPrinter, "set-printer", "choose the printer", "name"},
    {Act::kBeep, "beep", "beep", "sound"},
    {Act::kCrash, "crash", "crash", ""},
    {Act::kFail, "fail", "fail", "path"},
};

const ActRow& RowOf(Act act) { return kActs[static_cast<int>(act)]; }

// A name as it stands in a line: as a literal when it holds what could end the line or steer a
// terminal, or begins as a literal does. Nobody forges a line by a file's name.
std::string NameText(const std::string& name) {
  const auto isControl = [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; };
  const bool isPlain = !name.starts_with('"') && std::none_of(name.begin(), name.end(), isControl);
  if (isPlain) return name;
  std::string literal;
  base::AppendLiteral(literal, name, base::kUpperHex);
  return literal;
}

// Behind a failure: where the script is.
std::string InScript() {
  const std::string place = plugin_call::PlaceText();
  return place.empty() ? place : " (" + place + ")";
}

std::string TextOf(const Step& step) {
  const std::string object = NameText(step.object);
  std::string words = RowOf(step.act).words;
  const std::string bytes = std::to_string(step.bytes) + (step.bytes == 1 ? " byte" : " bytes");
  const char* const replacing = step.replaces ? ", replacing what is there," : "";
  switch (step.act) {
    case Act::kCopy:
    case Act::kMove:
      return words + replacing + ' ' + object + " to " + NameText(step.target);
    case Act::kWrite:
    case Act::kAppend:
      return words + replacing + ' ' + bytes + " to " + object;
    case Act::kSend:
      return words + ' ' + step.detail + " to " + object;
    case Act::kCopyToClipboard:
      return words + ": " + bytes;
    case Act::kStartService:
      return words + " on port " + object;
    case Act::kStopService:
    case Act::kCrash:
      return words;
    case Act::kFail:
      return words + (object.empty() ? "" : " at " + object) + ": " + step.detail + InScript();
    default:
      return words + replacing + ' ' + object;
  }
}

json JsonOf(const Step& step, const std::string& command) {
  const ActRow& row = RowOf(step.act);
  json object = {{"step", row.name}};
  if (!command.empty()) object["command"] = command;
  if (!step.object.empty()) object[row.object] = step.object;
  if (!step.target.empty()) object["to"] = step.target;
  if (step.bytes >= 0) object["bytes"] = step.bytes;
  const bool mayReplace =
      step.act == Act::kCopy || step.act == Act::kWrite || step.act == Act::kOpen;
  if (mayReplace) object["replaces"] = step.replaces;
  if (step.act == Act::kFail) {
    object["reason"] = step.detail;
    const plugin_call::Place place = plugin_call::CurrentPlace();
    if (!place.file.empty()) {
      object["script"] = std::string(place.file);
      object["line"] = place.line;
    }
  }
  if (step.act == Act::kSend) object["verb"] = step.detail;
  return object;
}

std::string LineOf(const json& object) {
  return object.dump(-1, ' ', false, json::error_handler_t::replace) + "\n";
}

}  // namespace

std::string OutputObject(std::string_view text) { return LineOf({{"output", std::string(text)}}); }

void DryRunReport::Tell(const Step& step, const std::string& command) {
  ++counts_[step.act];
  PrintAsItIs(asJson_ ? LineOf(JsonOf(step, command)) : "would " + TextOf(step) + '\n');
}

void DryRunReport::Finish() {
  const int failures = counts_[Act::kFail];
  json counts = json::object();
  std::string text;
  for (const ActRow& row : kActs) {
    if (row.act == Act::kFail) continue;
    const int count = counts_[row.act];
    counts[row.name] = count;
    if (count == 0) continue;
    text +=
        (text.empty() ? "" : ", ") + std::string(row.words) + " (" + std::to_string(count) + ")";
  }
  if (asJson_) return PrintAsItIs(LineOf({{"counts", counts}, {"failures", failures}}));
  PrintAsItIs("in all, would " + (text.empty() ? "do nothing" : text) +
              "; failures: " + std::to_string(failures) + '\n');
}

}  // namespace app
