#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tavhost/reference/reference.h"
#include "tavhost/script/syntax/syntax.h"

namespace check {

// One command of a script, and what becomes of its results.
struct CommandUse {
  const script::Statement* statement = nullptr;
  const reference::Command* command = nullptr;
  std::vector<std::string_view> ownResults;  // named by the script: `result-var:"sub"`
  bool hasHiddenResults = false;             // named by an expression
  std::vector<std::string> buttons;          // what `endbutton` can be; empty when not known
  bool asksUser = false;     // its results tell whether the user cancelled its window
  bool outcomeRead = false;  // the script looks at a result that tells it, or may do so
};

// What a variable may hold: a result of a command, or with `-> name` the record of them all.
struct ResultSource {
  CommandUse* use = nullptr;
  const reference::Result* result = nullptr;  // null for the record and for results of own names
  bool isRecord = false;

  bool operator==(const ResultSource&) const = default;
};

// A parameter of a command by its name; null when it is not given.
const script::CommandAttribute* Given(const script::CommandElement* element, std::string_view name);

// Whether reading this result tells that the user cancelled.
bool TellsOutcome(const reference::Result& result);

// The command of a statement as described, its buttons and the names that the script gives results.
CommandUse DescribeUse(const script::Statement* statement, const reference::Command& command);

}  // namespace check
