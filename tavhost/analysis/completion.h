#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace check {

// The words that can stand in place of the name that `before` ends with, in order: at the start
// of a statement commands, keywords and variables; behind a command its parameters (with their
// colon) and modifiers; inside parentheses and behind keywords functions and variables. None in
// strings and comments. `variables` are the names that have values.
std::vector<std::string> CompleteScript(std::string_view before,
                                        const std::vector<std::string>& variables);

// The part of `before` that CompleteScript's words replace.
std::string_view WordToComplete(std::string_view before);

}  // namespace check
