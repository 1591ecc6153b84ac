#include "tavhost/analysis/command_checker.h"

#include <algorithm>
#include <cctype>
#include <optional>

#include "tavhost/analysis/command_use.h"
#include "tavhost/base/nearest_name.h"
#include "tavhost/base/quoted.h"
#include "tavhost/notation/scan.h"

namespace check {

using reference::Parameter;
using reference::Type;
using script::CommandAttribute;
using script::CommandElement;
using script::CommandValue;
using script::CommandValueKind;

namespace {

constexpr std::string_view kSwitchWords[] = {"true", "yes", "on", "1", "false", "no", "off", "0"};

bool IsSwitchWord(std::string_view word) {
  return std::find(std::begin(kSwitchWords), std::end(kSwitchWords), word) !=
         std::end(kSwitchWords);
}

// `filter3` is given for `filter#`, where the `#` of `type#` then stands for 3 as well.
std::string Numbered(const std::string& name, const Parameter& parameter, std::string_view given) {
  const std::size_t mark = name.find('#');
  const std::size_t own = parameter.name.find('#');
  if (mark == std::string::npos || own == std::string::npos) return name;
  const std::size_t tail = parameter.name.size() - own - 1;
  std::string result = name;
  return result.replace(mark, 1, given.substr(own, given.size() - own - tail));
}

}  // namespace

const CommandAttribute* CommandChecker::Given(std::string_view name) const {
  if (!given_.empty()) {
    const auto found = given_.find(name);
    return found == given_.end() ? nullptr : found->second;
  }
  return check::Given(element_, name);
}

bool CommandChecker::AnyGiven(const std::vector<std::string>& names) const {
  return std::any_of(names.begin(), names.end(),
                     [this](const std::string& name) { return Given(name) != nullptr; });
}

std::string CommandChecker::Prefix(std::string_view name) const {
  std::string text(element_->name);
  return text + (name.empty() ? ": the main value" : ": parameter " + base::Quoted(name));
}

Kind CommandChecker::KindOfValue(const CommandValue& value) const {
  switch (value.kind) {
    case CommandValueKind::kNone:
      return Kind::kModifier;
    case CommandValueKind::kWord:
      return Kind::kWord;
    case CommandValueKind::kString:
      return Kind::kString;
    case CommandValueKind::kInteger:
      return Kind::kInteger;
    case CommandValueKind::kReal:
      return Kind::kReal;
    case CommandValueKind::kBody:
      return Kind::kBody;
    case CommandValueKind::kExpr:
      return around_.kindOf(value.expr);
  }
  return Kind::kUnknown;
}

// The characters of a value, as far as it is one word; else its first one.
std::string_view CommandChecker::TextOf(const CommandValue& value) const {
  const std::string_view text = around_.program.source.TextFrom(value.offset);
  std::size_t length = 1;
  if (value.kind == CommandValueKind::kString) {
    length = value.text.size() + 2;
  } else if (value.kind != CommandValueKind::kExpr && value.kind != CommandValueKind::kBody) {
    while (length < text.size() && (kel::IsNameByte(text[length]) || text[length] == '.')) {
      ++length;
    }
  }
  return text.substr(0, length);
}

void CommandChecker::Check(const CommandElement* element, const reference::Command& command) {
  element_ = element;
  command_ = &command;
  mainMistaken_ = false;
  constexpr std::uint32_t kMany = 16;
  if (element->attributeCount > kMany) {
    for (const auto* attribute = element->attributes; attribute; attribute = attribute->next) {
      given_.emplace(attribute->name, attribute);
    }
  }
  // Elements of bodies are looked at behind their command, by checkers of their own.
  for (const auto* attribute = element->attributes; attribute; attribute = attribute->next) {
    CheckAttribute(attribute);
  }
  CheckMain();
  for (const Parameter& parameter : command.parameters) CheckMissing(parameter);
  CheckChoices();
}

void CommandChecker::CheckAttribute(const CommandAttribute* attribute) {
  const Parameter* parameter = command_->FindParameter(attribute->name);
  if (!parameter) return CheckUnknown(attribute);
  const bool isBare = attribute->value.kind == CommandValueKind::kNone;
  CheckValue(*parameter, attribute->value, isBare ? attribute->name : TextOf(attribute->value));
  CheckEffect(*parameter, attribute->name);
}

void CommandChecker::CheckUnknown(const CommandAttribute* attribute) {
  const bool isBare = attribute->value.kind == CommandValueKind::kNone;
  std::vector<std::string_view> known;
  for (const Parameter& parameter : command_->parameters) {
    if (!parameter.numbered) known.emplace_back(parameter.name);
  }
  if (isBare && around_.isVariable(attribute->name)) {
    mainMistaken_ = command_->main.has_value();
    around_.findings.Error(attribute->name,
                           std::string(element_->name) + ": \"" + std::string(attribute->name) +
                               "\" is a modifier here, not the variable, whose value is written (" +
                               std::string(attribute->name) + ")",
                           '(' + std::string(attribute->name) + ')');
    return;
  }
  const std::string nearest = base::NearestName(attribute->name, known);
  if (nearest.empty() && isBare && command_->main &&
      element_->main.kind == CommandValueKind::kNone) {
    mainMistaken_ = true;
  }
  around_.findings.Error(attribute->name,
                         std::string(element_->name) + ": unknown " +
                             (isBare ? "modifier " : "parameter ") + base::Quoted(attribute->name) +
                             (nearest.empty() ? MeantForMain(attribute) : DidYouMean(nearest)),
                         nearest);
}

// Of commands that belong together one may take as a parameter what the other takes as main value.
std::string CommandChecker::MeantForMain(const CommandAttribute* attribute) const {
  if (!command_->main || element_->main.kind != CommandValueKind::kNone) return {};
  const CommandValue& value = attribute->value;
  if (KindOfValue(value) != KindOf(command_->main->type)) return {};
  for (const std::string& other : command_->see) {
    const reference::Command* const known = reference::Catalogue::Get().Find(other);
    if (!known || !known->FindParameter(attribute->name)) continue;
    std::string message = "; what " + other + " calls so is the main value of " + command_->name;
    if (value.kind != CommandValueKind::kString) return message;
    return message + ", which stands first: " + command_->name + ' ' + std::string(TextOf(value));
  }
  return {};
}

void CommandChecker::CheckValue(const Parameter& parameter, const CommandValue& value,
                                std::string_view at) {
  if (parameter.type == Type::kKeyword) {
    const bool isOff = (value.kind == CommandValueKind::kInteger && value.integer == 0) ||
                       (value.kind == CommandValueKind::kWord &&
                        (value.text == "false" || value.text == "no" || value.text == "off"));
    if (isOff) {
      around_.findings.Hint(
          at, Prefix(parameter.name) + " counts when it is given, whatever its value");
    }
    return;
  }
  // The command does not look at it then; that is what CheckEffect tells.
  if (AnyGiven(parameter.unless)) return;
  if (parameter.type == Type::kSwitch) return CheckSwitch(parameter, value, at);
  const Kind kind = KindOfValue(value);
  const Kind wanted = KindOf(parameter.type);
  if (kind == Kind::kUnknown || kind == wanted ||
      (wanted == Kind::kReal && kind == Kind::kInteger)) {
    if (kind != Kind::kUnknown) CheckConstant(parameter, value, at);
    if (value.kind == CommandValueKind::kBody) CheckBody(parameter, value);
    return;
  }
  const bool isChecked = parameter.check != reference::Check::kNone;
  if (isChecked && !around_.typesChecked) return;
  const bool isWord = kind == Kind::kWord;
  const bool isVariable = isWord && around_.isVariable(value.text);
  if (!isChecked) {
    // Nothing is reported when it runs: the command takes what it can get from the value.
    const bool hasText = isWord || IsNumber(kind) || kind == Kind::kString;
    if (wanted == Kind::kString && hasText && !isVariable) return;
    if (wanted == Kind::kInteger && kind == Kind::kReal) return;
  }
  std::string message =
      Prefix(parameter.name) + " must be " + WordFor(wanted) + ", not " + WordFor(kind);
  std::string replacement;
  if (isVariable) {
    replacement = '(' + std::string(value.text) + ')';
    message += "; the variable's value is written " + replacement;
  } else if (isWord && wanted == Kind::kString) {
    replacement = base::Quoted(value.text);
    message += "; text stands in quotes: " + replacement;
  } else if (kind == Kind::kString && wanted == Kind::kInteger &&
             value.kind == CommandValueKind::kString && !value.text.empty() &&
             std::all_of(value.text.begin(), value.text.end(), kel::IsDigit)) {
    replacement = std::string(value.text);
    message += "; a number stands without quotes: " + replacement;
  }
  around_.findings.Error(at, std::move(message), std::move(replacement));
}

void CommandChecker::CheckSwitch(const Parameter& parameter, const CommandValue& value,
                                 std::string_view at) {
  const Kind kind = KindOfValue(value);
  bool fits = kind == Kind::kModifier || kind == Kind::kUnknown;
  if (value.kind == CommandValueKind::kInteger) fits = value.integer == 0 || value.integer == 1;
  if (value.kind == CommandValueKind::kWord || value.kind == CommandValueKind::kString) {
    fits = IsSwitchWord(value.text);
  }
  if (value.kind == CommandValueKind::kExpr) {
    fits = kind == Kind::kUnknown || kind == Kind::kInteger || kind == Kind::kString;
  }
  if (fits) return;
  around_.findings.Error(at, Prefix(parameter.name) +
                                 " is a switch: true, yes, on or 1; false, no, off or 0; or the "
                                 "bare name");
}

// A constant of the right type that the command does not accept, or that is probably a misspelt one
// of the values with a meaning of their own.
void CommandChecker::CheckConstant(const Parameter& parameter, const CommandValue& value,
                                   std::string_view at) {
  std::optional<double> number;
  if (value.kind == CommandValueKind::kInteger) number = value.integer;
  if (value.kind == CommandValueKind::kReal) number = value.real;
  if (number && ((parameter.min && *number < *parameter.min) ||
                 (parameter.max && *number > *parameter.max))) {
    around_.findings.Hint(at, Prefix(parameter.name) + " is out of range");
  }
  if (value.kind != CommandValueKind::kString || parameter.values.empty()) return;
  std::vector<std::string_view> known;
  for (const auto& known_value : parameter.values) {
    if (known_value.value == value.text) return;
    known.emplace_back(known_value.value);
  }
  const std::string nearest = base::NearestName(value.text, known);
  if (nearest.empty()) return;
  around_.findings.Hint(at,
                        Prefix(parameter.name) + ": " + base::Quoted(value.text) +
                            " has no meaning of its own" + DidYouMean(nearest),
                        base::Quoted(nearest));
}

void CommandChecker::CheckBody(const Parameter& parameter, const CommandValue& value) {
  for (const auto* inner = value.elements; inner; inner = inner->next) {
    const reference::Command* described = nullptr;
    std::vector<std::string_view> known;
    for (const reference::Command& candidate : parameter.elements) {
      if (candidate.name == inner->name) described = &candidate;
      known.emplace_back(candidate.name);
    }
    if (described) {
      CommandChecker(around_).Check(inner, *described);
    } else if (!known.empty()) {
      const std::string nearest = base::NearestName(inner->name, known);
      std::string message = std::string(element_->name) + ": unknown element " +
                            base::Quoted(inner->name) + " in " + base::Quoted(parameter.name) +
                            DidYouMean(nearest);
      if (nearest.empty()) {
        around_.findings.Hint(inner->name, message + "; it is skipped");
      } else {
        around_.findings.Error(inner->name, std::move(message), nearest);
      }
    }
  }
}

void CommandChecker::CheckMain() {
  const bool isGiven = element_->main.kind != CommandValueKind::kNone;
  if (!command_->main) {
    if (!isGiven) return;
    std::string message = std::string(element_->name) + " takes no main value";
    const Parameter* meant = nullptr;
    for (const Parameter& parameter : command_->parameters) {
      if (parameter.required && !Given(parameter.name) && !meant) meant = &parameter;
    }
    std::string replacement;
    if (meant) {
      replacement = meant->name + ':' + std::string(TextOf(element_->main));
      message += "; did you mean \"" + meant->name + ":\"?";
    }
    around_.findings.Error(TextOf(element_->main), std::move(message));
    return;
  }
  const Parameter& main = *command_->main;
  if (isGiven) {
    CheckValue(main, element_->main, TextOf(element_->main));
    return;
  }
  if (!mainMistaken_) CheckMissing(main);
}

void CommandChecker::CheckMissing(const Parameter& parameter) {
  if (parameter.numbered || AnyGiven(parameter.unless)) return;
  if (!parameter.name.empty() && Given(parameter.name)) return;
  const bool isRequired = parameter.required || parameter.check == reference::Check::kRequired ||
                          AnyGiven(parameter.requiredWith);
  if (!isRequired) return;
  if (!around_.typesChecked && parameter.check != reference::Check::kNone) return;
  // When a misspelt parameter was most likely meant for this one, that is the one mistake, and
  // CheckUnknown has told it.
  for (const auto* attribute = element_->attributes; attribute; attribute = attribute->next) {
    if (!parameter.name.empty() && !command_->FindParameter(attribute->name) &&
        base::NearestName(attribute->name, {parameter.name}) == parameter.name) {
      return;
    }
  }
  if (!command_->main && element_->main.kind != CommandValueKind::kNone) return;
  around_.findings.Error(element_->name, Prefix(parameter.name) + " is missing");
}

void CommandChecker::CheckChoices() {
  for (const reference::Choice& choice : command_->choices) {
    const CommandAttribute* counts = nullptr;
    for (const std::string& name : choice.names) {
      const CommandAttribute* given = Given(name);
      if (!given) continue;
      if (!counts) {
        counts = given;
        continue;
      }
      around_.findings.Hint(given->name, std::string(element_->name) + ": " + base::Quoted(name) +
                                             " has no effect beside " + base::Quoted(counts->name));
    }
    if (counts || !choice.required) continue;
    std::string names;
    for (const std::string& name : choice.names) {
      names += (names.empty() ? "" : " or ") + base::Quoted(name);
    }
    around_.findings.Error(element_->name,
                           std::string(element_->name) + ": " + names + " is missing");
  }
}

void CommandChecker::CheckEffect(const Parameter& parameter, std::string_view given) {
  for (const std::string& other : parameter.unless) {
    if (!Given(other)) continue;
    around_.findings.Hint(given, std::string(element_->name) + ": " + base::Quoted(given) +
                                     " has no effect beside " + base::Quoted(other));
    return;
  }
  if (parameter.onlyWith.empty()) return;
  std::string names;
  for (const std::string& other : parameter.onlyWith) {
    const std::string name = Numbered(other, parameter, given);
    if (Given(name)) return;
    names += (names.empty() ? "" : " or ") + base::Quoted(name);
  }
  around_.findings.Hint(given, std::string(element_->name) + ": " + base::Quoted(given) +
                                   " has no effect without " + names);
}

}  // namespace check
