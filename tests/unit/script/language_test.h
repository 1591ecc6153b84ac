#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tavhost/script/runner.h"

namespace script_test {

inline SV::String Text(std::string_view text) {
  return SV::String(text.data(), static_cast<long>(text.size()));
}

struct Ran {
  script::Outcome outcome;
  std::string printed;
  std::string errors;  // of executed texts
};

inline script::RunOptions Collecting(Ran& ran) {
  script::RunOptions options;
  options.name = "test.tav";
  options.sinks.print = [&ran](std::string_view text) { ran.printed += text; };
  options.sinks.error = [&ran](std::string_view text) { ran.errors += text; };
  return options;
}

inline Ran RunScript(std::string_view text) {
  Ran ran;
  ran.outcome = script::RunText(Text(text), Collecting(ran));
  return ran;
}

// What a script prints, or its error.
inline std::string Output(std::string_view text) {
  const Ran ran = RunScript(text);
  return ran.printed + ran.outcome.error.text;
}

// `LINE:COLUMN: message` of the first mistake.
inline std::string Mistake(std::string_view text) {
  const auto mistakes = script::Check(Text(text), "test.tav");
  if (mistakes.empty()) return "";
  return std::to_string(mistakes[0].line) + ':' + std::to_string(mistakes[0].column) + ": " +
         mistakes[0].message;
}

inline std::string Repeated(std::string_view text, std::size_t times) {
  std::string all;
  all.reserve(text.size() * times);
  for (std::size_t i = 0; i < times; ++i) all += text;
  return all;
}

}  // namespace script_test
