#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tavhost/notation/value.h"

// What the prompt and the workbench's console have in common: how they show values, and what they
// answer themselves.
namespace app {

std::string_view Trimmed(std::string_view text);
// The name at the start; empty when there is none.
std::string_view FirstName(std::string_view text);

// The global variables that have a value.
using Variables = std::map<std::string, kel::Value>;
Variables AllVariables();
std::vector<std::string> VariableNames();

// A value in notation, cut where it is too long for a prompt.
std::string ShownText(const kel::Value& value);

// What a command has changed: a line for each variable that has another value now than in `before`.
std::string ChangesSince(const Variables& before);

struct OwnAnswer {
  std::string text;
  bool isError = false;
};
// The answer to a line that needs no running: help, or the value of the variable that it names.
// None when the line is to be run.
std::optional<OwnAnswer> AnswerOf(std::string_view line);

// The script that an entry means: `= EXPRESSION` prints the expression, all else is one already.
std::string ScriptOf(const std::string& entry);

}  // namespace app
