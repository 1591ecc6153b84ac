#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tavhost/script/engine.h"
#include "tavhost/script/runner.h"

namespace {

using Steps = std::vector<std::pair<std::uint32_t, std::uint32_t>>;  // line and depth

TEST(StepTest, EachStatementIsToldBeforeItRuns) {
  Steps steps;
  std::string printed;
  std::string locals;
  script::RunOptions options;
  options.name = "s";
  options.sinks.print = [&printed](std::string_view text) { printed += text; };
  options.step = [&](const script::StepPlace& place) {
    steps.emplace_back(place.line, place.depth);
    script::Engine::Current().ForEachLocal(
        [&locals](std::string_view name, const kel::Value& value) {
          if (!value.IsNone()) locals += name;
        });
    locals += ' ';
    if (steps.size() == 1) {
      EXPECT_EQ(printed, "");
    }
  };
  const script::Outcome outcome = script::RunText(SV::String("func f(n) {\n"
                                                             "  m = n\n"
                                                             "  return m }\n"
                                                             "for i from 1 to 2 {\n"
                                                             "  print f(i); x = 1\n"
                                                             "}\n"
                                                             "if x { print 3 }"),
                                                  options);
  EXPECT_EQ(outcome.exitType, TavScriptExitEnd);
  EXPECT_EQ(printed, "1\n2\n3\n");
  const std::uint32_t top = steps.front().second;
  EXPECT_EQ(steps, (Steps{{4, top},
                          {5, top},
                          {2, top + 1},
                          {3, top + 1},
                          {5, top},
                          {5, top},
                          {2, top + 1},
                          {3, top + 1},
                          {5, top},
                          {7, top},
                          {7, top}}));
  EXPECT_EQ(locals, "  n nm   n nm    ");
}

TEST(StepTest, AStopAskedForInAStepEndsTheScript) {
  script::RunOptions options;
  int steps = 0;
  options.step = [&steps](const script::StepPlace&) {
    if (++steps == 3) stop::Request(stop::Reason::kUser);
  };
  const script::Outcome outcome = script::RunText(SV::String("while 1 { x = 1 }"), options);
  EXPECT_EQ(outcome.exitType, TavScriptExitStop);
  EXPECT_EQ(steps, 3);
}

TEST(StepTest, WithoutAStepNothingIsTold) {
  script::RunOptions options;
  options.sinks.print = [](std::string_view) {};
  EXPECT_EQ(script::RunText(SV::String("print 1"), options).exitType, TavScriptExitEnd);
}

}  // namespace
