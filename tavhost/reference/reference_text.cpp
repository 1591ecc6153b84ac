#include "tavhost/reference/reference_text.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace reference {

namespace {

constexpr std::size_t kLineWidth = 80;  // fits every terminal
constexpr std::size_t kUsageIndent = 4;

// Appends `text`, broken at blanks, with `indent` blanks before each line and a line feed behind.
void AppendWrapped(std::string& out, std::string_view text, std::size_t indent) {
  const std::size_t width = kLineWidth - indent;
  while (!text.empty()) {
    std::size_t length = text.size();
    if (length > width) {
      length = text.rfind(' ', width);
      if (length == std::string_view::npos) length = std::min(text.find(' '), text.size());
    }
    out.append(indent, ' ').append(text.substr(0, length)).push_back('\n');
    text.remove_prefix(std::min(length + 1, text.size()));
  }
}

std::string Padded(std::string_view text, std::size_t width) {
  std::string padded(text);
  padded.resize(std::max(width, text.size() + 2), ' ');
  return padded;
}

std::string ValuePattern(Type type) {
  switch (type) {
    case Type::kInteger:
      return "N";
    case Type::kReal:
      return "X";
    case Type::kBody:
      return "{ ... }";
    default:
      return "\"...\"";
  }
}

std::string ParameterPattern(const Parameter& parameter) {
  if (parameter.type == Type::kSwitch || parameter.type == Type::kKeyword) return parameter.name;
  return parameter.name + ":" + ValuePattern(parameter.type);
}

std::string ChoicePattern(const Choice& choice) {
  std::string pattern;
  for (const std::string& name : choice.names) {
    if (!pattern.empty()) pattern += " | ";
    pattern += name;
  }
  return choice.required ? "(" + pattern + ")" : "[" + pattern + "]";
}

const Choice* ChoiceOf(const Command& command, const std::string& parameter) {
  for (const Choice& choice : command.choices) {
    if (std::find(choice.names.begin(), choice.names.end(), parameter) != choice.names.end()) {
      return &choice;
    }
  }
  return nullptr;
}

std::vector<std::string> UsageParts(const Command& command) {
  std::vector<std::string> parts;
  if (command.main) {
    const std::string pattern = ValuePattern(command.main->type);
    const bool always = command.main->required && command.main->unless.empty();
    parts.push_back(always ? pattern : "[" + pattern + "]");
  }
  for (const Parameter& parameter : command.parameters) {
    if (const Choice* choice = ChoiceOf(command, parameter.name)) {
      if (choice->names.front() == parameter.name) parts.push_back(ChoicePattern(*choice));
      continue;
    }
    const std::string pattern = ParameterPattern(parameter);
    const bool always = parameter.required && parameter.unless.empty();
    parts.push_back(always ? pattern : "[" + pattern + "]");
  }
  return parts;
}

// A default as a script writes it; JSON quotes texts in the same way.
std::string LiteralText(const Literal& literal) {
  return std::visit([](const auto& value) { return nlohmann::json(value).dump(); }, literal);
}

// "string, required": what stands beside a parameter's name.
std::string KindText(const Parameter& parameter) {
  std::string text(NameOf(parameter.type));
  if (!parameter.unit.empty()) text += " in " + parameter.unit;
  if (parameter.required) text += ", required";
  return text;
}

std::string Joined(const std::vector<std::string>& names, std::string_view last) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i != 0) text += i + 1 == names.size() ? " " + std::string(last) + " " : ", ";
    text += names[i];
  }
  return text;
}

// The meaning and, behind it, a sentence for each condition.
std::string MeaningText(const Parameter& parameter) {
  std::string text = parameter.text;
  if (parameter.min && parameter.max) {
    text += " From " + nlohmann::json(*parameter.min).dump() + " to " +
            nlohmann::json(*parameter.max).dump() + ".";
  }
  if (!parameter.requiredWith.empty()) {
    text += " Required with " + Joined(parameter.requiredWith, "or") + ".";
  }
  if (!parameter.onlyWith.empty()) text += " Only with " + Joined(parameter.onlyWith, "or") + ".";
  if (!parameter.unless.empty()) {
    text += " Not looked at with " + Joined(parameter.unless, "or") + ".";
  }
  if (!parameter.absent.empty()) text += " When absent: " + parameter.absent + ".";
  if (parameter.defaultValue && parameter.type != Type::kSwitch) {
    text += " Default: " + LiteralText(*parameter.defaultValue) + ".";
  } else if (parameter.defaultValue && *parameter.defaultValue == Literal(1)) {
    text += " Default: on.";
  }
  return text;
}

void AppendMeanings(std::string& out, const std::vector<ValueMeaning>& values, std::size_t indent) {
  for (const ValueMeaning& value : values) {
    AppendWrapped(out, Padded(value.value, 8) + value.text, indent);
  }
}

void AppendParameter(std::string& out, const Parameter& parameter, std::size_t indent) {
  const std::string name = parameter.name.empty() ? "(main value)" : parameter.name;
  const bool bare = parameter.type == Type::kKeyword || parameter.type == Type::kSwitch;
  const std::string line = std::string(indent, ' ') + Padded(name, 24) + MeaningText(parameter);
  if (bare && line.size() <= kLineWidth) {  // how it is written shows its type
    out.append(line).push_back('\n');
    return;
  }
  out.append(indent, ' ').append(Padded(name, 24)).append(KindText(parameter)).push_back('\n');
  AppendWrapped(out, MeaningText(parameter), indent + 4);
  AppendMeanings(out, parameter.values, indent + 6);
  for (const Command& element : parameter.elements) {
    AppendWrapped(out, element.name + ": " + element.summary, indent + 4);
    if (element.main) AppendParameter(out, *element.main, indent + 6);
    for (const Parameter& inner : element.parameters) AppendParameter(out, inner, indent + 6);
  }
}

void AppendParameters(std::string& out, const Command& command) {
  if (!command.main && command.parameters.empty()) return;
  out += "\nParameters\n";
  if (command.main) AppendParameter(out, *command.main, 2);
  for (const Parameter& parameter : command.parameters) AppendParameter(out, parameter, 2);
  for (const Choice& choice : command.choices) {
    AppendWrapped(out, ChoicePattern(choice) + ": " + choice.text, 2);
  }
}

void AppendResults(std::string& out, const Command& command) {
  if (command.results.empty()) return;
  out += "\nResult variables\n";
  for (const Result& result : command.results) {
    std::string kind(NameOf(result.type));
    if (result.also) kind.append(" or ").append(NameOf(*result.also));
    if (result.when != "always") kind += ", when " + result.when;
    out.append(2, ' ').append(Padded(result.name, 24)).append(kind).push_back('\n');
    AppendWrapped(out, result.text, 6);
    AppendMeanings(out, result.values, 8);
  }
}

void AppendLines(std::string& out, std::string_view text, std::size_t indent) {
  while (!text.empty()) {
    const std::size_t length = std::min(text.find('\n'), text.size());
    out.append(indent, ' ').append(text.substr(0, length)).push_back('\n');
    text.remove_prefix(std::min(length + 1, text.size()));
  }
}

void AppendExample(std::string& out, const Example& example) {
  out += "\nExample\n";
  AppendLines(out, example.script, 4);
  if (!example.answers.empty()) {
    out += "\n  with the answers\n";
    AppendLines(out, example.answers, 4);
  }
  if (!example.output) return;
  out += "\n  prints\n";
  AppendLines(out, *example.output, 4);
}

}  // namespace

std::string UsageText(const Command& command) {
  std::string text = command.name;
  std::size_t column = text.size();
  for (const std::string& part : UsageParts(command)) {
    if (column + 1 + part.size() > kLineWidth - kUsageIndent) {
      text += '\n' + std::string(kUsageIndent, ' ') + part;
      column = kUsageIndent + part.size();
    } else {
      text += ' ' + part;
      column += 1 + part.size();
    }
  }
  return text;
}

std::string ListText(const Catalogue& catalogue) {
  std::string out;
  for (const Family& family : catalogue.Families()) {
    if (!out.empty()) out += '\n';
    out += family.title + '\n';
    for (const Command& command : family.commands) {
      out.append(2, ' ').append(Padded(command.name, 29)).append(command.summary).push_back('\n');
    }
  }
  return out;
}

std::string CommandText(const Command& command) {
  std::string out = command.name + "\n";
  AppendWrapped(out, command.summary, 2);
  out += '\n';
  AppendLines(out, UsageText(command), 4);
  for (const std::string& detail : command.details) {
    out += '\n';
    AppendWrapped(out, detail, 2);
  }
  AppendParameters(out, command);
  AppendResults(out, command);
  if (!command.window.empty()) {
    out += "\nAn answers file answers its window by " + command.window + ".\n";
  }
  AppendExample(out, command.example);
  if (!command.see.empty()) out += "\nSee also " + Joined(command.see, "and") + ".\n";
  return out;
}

}  // namespace reference
