#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "host/export.h"

// A script's text as an editor sees it: a line at a time, in UTF-16, as it is typed. It never
// fails; what is wrong is coloured as what it looks like.
namespace ide {

enum class TokenKind : std::uint8_t {
  kComment,
  kString,
  kNumber,
  kKeyword,
  kCommand,    // the word that a command begins with, known or not
  kFunction,   // the name in front of a call's parenthesis
  kParameter,  // with its colon; also a record's key
  kModifier,   // a bare word in a command, or a parameter's word
  kVariable,
  kBracket,  // one of ( ) [ ] { }
};

struct Token {
  TokenKind kind;
  std::size_t begin;  // in the line, in UTF-16 units
  std::size_t length;
};

// What the line above leaves open. The start of a text is 0.
using LineState = int;

// Appends the line's tokens, in order, and returns what it leaves open.
TAV_HOST_API LineState TokenizeLine(std::u16string_view line, LineState before,
                                    std::vector<Token>& tokens);

// The partner of the bracket at `offset`; none when there is no bracket there or it has none.
// Brackets in strings and comments do not count.
TAV_HOST_API std::optional<std::size_t> MatchingBracket(std::u16string_view text,
                                                        std::size_t offset);

// The variables that a script names, sorted: assigned to, loop variables, arguments of functions,
// the functions themselves.
TAV_HOST_API std::vector<std::u16string_view> NamesIn(std::u16string_view text);

}  // namespace ide
