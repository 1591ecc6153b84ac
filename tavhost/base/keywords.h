#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// The words of TavScript that are no names. The list is here, below the language, since the rules
// of the editor know no parser. A word may still name a command's parameter or a record's field;
// where each is a keyword, the parser and the editor's rules decide by its role.
namespace keywords {

enum class Role : std::uint8_t {
  kStatement,  // begins a statement
  kInclude,    // the same where a file's name in quotes follows
  kGoesOn,     // begins a further block of a statement
  kInFor,      // stands in the head of a loop
  kOperator,   // stands in expressions; no variable has this name
  kConstant,   // a value; no variable has this name
};

struct Keyword {
  std::string_view word;
  Role role;
};

// What comes first is suggested first for a misspelt word.
inline constexpr Keyword kAll[] = {
    {"if", Role::kStatement},    {"else", Role::kGoesOn},        {"while", Role::kStatement},
    {"for", Role::kStatement},   {"func", Role::kStatement},     {"return", Role::kStatement},
    {"break", Role::kStatement}, {"continue", Role::kStatement}, {"try", Role::kStatement},
    {"catch", Role::kGoesOn},    {"throw", Role::kStatement},    {"print", Role::kStatement},
    {"exit", Role::kStatement},  {"global", Role::kStatement},   {"send", Role::kStatement},
    {"include", Role::kInclude}, {"in", Role::kInFor},           {"from", Role::kInFor},
    {"to", Role::kInFor},        {"step", Role::kInFor},         {"and", Role::kOperator},
    {"or", Role::kOperator},     {"not", Role::kOperator},       {"true", Role::kConstant},
    {"false", Role::kConstant},
};

// The keyword, or null.
template <typename Char>
constexpr const Keyword* Find(std::basic_string_view<Char> word) {
  for (const Keyword& keyword : kAll) {
    if (keyword.word.size() != word.size()) continue;
    std::size_t i = 0;
    while (i < word.size() && word[i] == static_cast<Char>(keyword.word[i])) ++i;
    if (i == word.size()) return &keyword;
  }
  return nullptr;
}

// What a statement may begin with, a further block of one included.
constexpr bool StandsFirst(Role role) {
  return role == Role::kStatement || role == Role::kInclude || role == Role::kGoesOn;
}

// What stands in expressions and can be no variable.
constexpr bool IsReserved(Role role) { return role == Role::kOperator || role == Role::kConstant; }

}  // namespace keywords
