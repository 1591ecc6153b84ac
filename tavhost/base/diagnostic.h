#pragma once

#include <cstdint>
#include <string>

namespace base {

enum class Severity : std::uint8_t {
  kError,  // goes wrong, or cannot mean anything
  kHint,   // looks odd; may be meant so
};

// What is to be said about a place in a script: a mistake that shows without running it, or the
// error that ended it. The same from where it is found to where it is shown.
struct Diagnostic {
  std::string file;          // the script's name
  std::uint32_t line = 0;    // from 1; 0: there is nothing to be said
  std::uint32_t column = 0;  // from 1, in code points
  std::uint32_t length = 1;  // code points that it is about, on that line
  Severity severity = Severity::kError;
  std::string message;
  std::string replacement;  // what is likely meant in the place of these characters; or empty
  // `FILE:LINE:COL: error: MESSAGE`, the source line and a caret, each ended by a line feed.
  std::string text;
  // The text ended too early: more lines could mend it. For prompts.
  bool incomplete = false;
};

}  // namespace base
