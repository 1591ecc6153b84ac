#include "tavhost/app/prompt_values.h"

#include "host/script/script.h"
#include "tavhost/base/ascii.h"
#include "tavhost/base/utf8.h"
#include "tavhost/base/work_meter.h"
#include "tavhost/notation/kel_text.h"
#include "tavhost/notation/scope.h"
#include "tavhost/reference/reference.h"
#include "tavhost/reference/reference_text.h"

namespace app {

namespace {

// Ends the writing of a text that is longer than anybody looks at: a value that holds others many
// times over can have one that no memory holds.
class Brake final : public base::WorkMeter {
 public:
  struct Enough {};

  explicit Brake(const SV::String& text) : text_(text) {}

 private:
  void Poll() override {
    constexpr long kMost = 1L << 20;
    constexpr std::int64_t kUnits = 1000;
    if (text_.Len() > kMost) throw Enough();
    budget_ = kUnits;
  }

  const SV::String& text_;
};

constexpr std::size_t kLongestShownValue = 200;  // bytes; a prompt is no place for whole files

constexpr char kHelp[] =
    "Statements of TavScript run as they are typed; variables and functions stay.\n"
    "  help COMMAND   what a command takes and returns\n"
    "  help commands  all commands\n"
    "  NAME           the value of a variable\n"
    "  = EXPRESSION   the value of an expression\n"
    "  exit [CODE]    leaves, as does the end of the input (Ctrl-D)\n"
    "Ctrl-C stops what runs, or drops what was typed. Tab completes.\n";

kel::Scope& Globals() { return kel::Scope::Of(*TavScript::GlobalVars()); }

OwnAnswer HelpOn(std::string_view topic) {
  const reference::Catalogue& catalogue = reference::Catalogue::Get();
  if (topic.empty()) return {kHelp};
  if (topic == "commands") return {reference::ListText(catalogue)};
  if (const reference::Command* command = catalogue.Find(topic))
    return {reference::CommandText(*command)};
  const reference::Command* const nearest = catalogue.Nearest(topic);
  return {"no command \"" + std::string(topic) + "\"" +
              (nearest ? "; did you mean \"" + nearest->name + "\"?" : std::string()) + "\n",
          true};
}

}  // namespace

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && ascii::IsSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && ascii::IsSpace(text.back())) text.remove_suffix(1);
  return text;
}

std::string_view FirstName(std::string_view text) {
  std::size_t length = 0;
  while (length < text.size() &&
         (ascii::IsLetterOrDigit(text[length]) || text[length] == '_' || text[length] == '-')) {
    ++length;
  }
  return text.substr(0, length);
}

Variables AllVariables() {
  Variables all;
  Globals().ForEach([&all](std::string_view name, const kel::Value& value) {
    if (!value.IsNone()) all.emplace(name, value);
  });
  return all;
}

std::vector<std::string> VariableNames() {
  std::vector<std::string> names;
  for (const auto& entry : AllVariables()) names.push_back(entry.first);
  return names;
}

std::string ShownText(const kel::Value& value) {
  SV::String kel;
  std::string more;
  try {
    Brake brake(kel);
    kel::AppendKel(kel, value, &brake);
  } catch (const Brake::Enough&) {
    more = "more than ";
  }
  if (kel.View().size() <= kLongestShownValue) return std::string(kel.View());
  const std::string_view begin = utf8::PieceOf(kel.View(), kLongestShownValue);
  return std::string(begin) + "... (" + more + std::to_string(kel.Len()) + " bytes)";
}

std::string ChangesSince(const Variables& before) {
  std::string changes;
  for (const auto& [name, value] : AllVariables()) {
    const auto old = before.find(name);
    const std::string text = ShownText(value);
    if (old != before.end() && ShownText(old->second) == text) continue;
    changes.append("  ").append(name).append(": ").append(text).append("\n");
  }
  return changes;
}

std::optional<OwnAnswer> AnswerOf(std::string_view line) {
  const std::string_view name = FirstName(line);
  const std::string_view rest = Trimmed(line.substr(name.size()));
  if (line == "?" || (name == "help" && FirstName(rest) == rest)) {
    return HelpOn(rest == "?" ? "" : rest);
  }
  if (name.empty() || !rest.empty()) return std::nullopt;
  const kel::Value* const value = Globals().Read(name);
  if (!value || value->IsNone()) return std::nullopt;
  return OwnAnswer{ShownText(*value) + "\n"};
}

std::string ScriptOf(const std::string& entry) {
  const std::string_view trimmed = Trimmed(entry);
  if (!trimmed.starts_with('=')) return entry;
  return "print (" + std::string(trimmed.substr(1)) + "\n)";
}

}  // namespace app
