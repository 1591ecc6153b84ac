#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tavhost/script/code/code.h"
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

// `LINE:COLUMN: message`.
inline std::string Place(const script::Diagnostic& error) {
  return std::to_string(error.line) + ':' + std::to_string(error.column) + ": " + error.message;
}

// What keeps a script from being compiled; empty when nothing does.
inline std::string Mistake(std::string_view text) {
  try {
    script::Compile(Text(text), "test.tav");
  } catch (const script::SyntaxError& mistake) {
    return Place(script::Describe(mistake, Text(text), "test.tav"));
  }
  return "";
}

inline std::string Repeated(std::string_view text, std::size_t times) {
  std::string all;
  all.reserve(text.size() * times);
  for (std::size_t i = 0; i < times; ++i) all += text;
  return all;
}

}  // namespace script_test
