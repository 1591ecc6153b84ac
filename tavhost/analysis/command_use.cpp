#include "tavhost/analysis/command_use.h"

#include <algorithm>

namespace check {

using script::CommandAttribute;
using script::CommandValueKind;

namespace {

constexpr const char* kCancel = "cancel";

// The result variables that a body's elements name themselves, as CHECKBOX does by `result-var`.
void FindOwnResults(const script::CommandElement* element, const reference::Result& result,
                    CommandUse& use) {
  const CommandAttribute* body = Given(element, result.namedBy);
  if (!body) return;
  if (body->value.kind != CommandValueKind::kBody) {
    use.hasHiddenResults = true;
    return;
  }
  for (const auto* inner = body->value.elements; inner; inner = inner->next) {
    const CommandAttribute* name = Given(inner, result.name);
    if (!name) continue;
    if (name->value.kind == CommandValueKind::kString && !name->value.escaped) {
      use.ownResults.push_back(name->value.text);
    } else {
      use.hasHiddenResults = true;
    }
  }
}

// The buttons of a box: those of the first keyword of its choice that is given.
void FindButtons(const script::CommandElement* element, const reference::Command& command,
                 CommandUse& use) {
  bool hasButtonChoice = false;
  for (const reference::Choice& choice : command.choices) {
    for (const std::string& name : choice.names) {
      const reference::Parameter* keyword = command.FindParameter(name);
      if (!keyword || keyword->buttons.empty()) continue;
      hasButtonChoice = true;
      if (use.buttons.empty() && Given(element, name)) use.buttons = keyword->buttons;
    }
  }
  if (hasButtonChoice) {
    if (use.buttons.empty()) use.buttons = {"ok"};
    use.asksUser = use.buttons.size() > 1;
    if (std::find(use.buttons.begin(), use.buttons.end(), kCancel) == use.buttons.end()) {
      use.buttons.emplace_back(kCancel);  // Escape and the close box
    }
    return;
  }
  for (const reference::Result& result : command.results) {
    if (result.name == "endbutton") {
      use.asksUser = true;
      for (const auto& value : result.values) use.buttons.push_back(value.value);
    } else if (result.name == "ecode") {
      for (const auto& value : result.values) {
        if (value.text.find(kCancel) != std::string::npos) use.asksUser = true;
      }
    }
  }
}

}  // namespace

const CommandAttribute* Given(const script::CommandElement* element, std::string_view name) {
  for (const auto* attribute = element->attributes; attribute; attribute = attribute->next) {
    if (attribute->name == name) return attribute;
  }
  return nullptr;
}

bool TellsOutcome(const reference::Result& result) {
  return result.name == "endbutton" || result.name == "ecode";
}

CommandUse DescribeUse(const script::Statement* statement, const reference::Command& command) {
  CommandUse use;
  use.statement = statement;
  use.command = &command;
  for (const reference::Result& result : command.results) {
    if (!result.namedBy.empty()) FindOwnResults(statement->element, result, use);
  }
  if (!command.window.empty()) FindButtons(statement->element, command, use);
  return use;
}

}  // namespace check
