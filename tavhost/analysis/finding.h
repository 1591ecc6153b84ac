#pragma once

#include <cstdint>
#include <string>
#include <vector>

// What can be said about a script without running it.
namespace check {

enum class Severity : std::uint8_t {
  kError,  // goes wrong, or cannot mean anything
  kHint,   // looks odd; may be meant so
};

struct Finding {
  std::string file;
  std::uint32_t line = 1;    // from 1
  std::uint32_t column = 1;  // from 1, in code points
  std::uint32_t length = 1;  // code points that the finding is about, on that line
  Severity severity = Severity::kError;
  std::string message;
  std::string replacement;  // what is likely meant in the place of these characters; or empty
  std::string text;         // `FILE:LINE:COL: error: MESSAGE`, the source line and a caret
};

}  // namespace check
