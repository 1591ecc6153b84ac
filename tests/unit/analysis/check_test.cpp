#include "tavhost/analysis/check.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Repeated(std::string_view text, std::size_t times) {
  std::string all;
  for (std::size_t i = 0; i < times; ++i) all += text;
  return all;
}

// The messages, one a line.
std::string Findings(const std::string& script) {
  std::string all;
  const SV::String text(script.data(), static_cast<long>(script.size()));
  for (const base::Diagnostic& finding : check::CheckScript(text, "test.tav")) {
    all += finding.message + '\n';
  }
  return all;
}

TEST(Check, WalksWhatNoRunComesTo) {
  EXPECT_EQ(Findings("exit\nif 1{}t[0]=\"\""), "");
  EXPECT_EQ(Findings("exit\nif 1{}\nfor i in t { push(t, 1) }\ntry { t = u } catch e { print e }"),
            "");
  EXPECT_EQ(Findings("func f() { global g; g = 1 }\nexit\nif 1 { }\nf()\nprint g"), "");
  EXPECT_EQ(Findings("exit\nif 1 { }\nINFOBOX \"a\" ok -> r\nFILE_EXISTS file:\"a\"\nprint exists"),
            Findings("exit\nINFOBOX \"a\" ok -> r\nFILE_EXISTS file:\"a\"\nprint exists"));
  EXPECT_EQ(Findings("if 1 { exit } else { exit }\nprint t"), "");
  EXPECT_NE(Findings("if 1 { exit } else { }\nprint t"), "");
}

TEST(Check, TakesParenthesesForAList) {
  const std::string wrong =
      "the index of a list must be an integer, not a string; the empty record is (:)\n";
  EXPECT_EQ(Findings("r = ()\nr.x = 1"), wrong);
  EXPECT_EQ(Findings("r = ()\nfor w in args { r[\"x\"] = 1 }"), wrong);
  EXPECT_EQ(Findings("r = ()\nr[\"x\"] += 1"), wrong);
  EXPECT_EQ(Findings("r = (:)\nr.x = 1\nr[\"y\"] += 1"), "");
  EXPECT_EQ(Findings("r = ()\nif len(args) { r = (:) }\nr.x = 1"), "");
  EXPECT_EQ(Findings("FILE_EXISTS file:\"a\" -> r\nfor w in args { r.x = 1 }\nprint r.x"), "");
}

TEST(Check, KnowsUpdates) {
  EXPECT_EQ(Findings("n += 1"), "the variable \"n\" has no value\n");
  EXPECT_EQ(Findings("n = 1\nn += m"), "the variable \"m\" has no value\n");
  EXPECT_EQ(Findings("n = \"a\"\nn += 1\nprint n == 1"), "a string never equals an integer\n");
  EXPECT_EQ(Findings("l = () + (1,)\nprint l == 1"), "a list never equals an integer\n");
}

TEST(Check, TakesLongPathsWithoutStack) {
  for (const char* link : {"[0]", ".a"}) {
    const std::string path = Repeated(link, 120'000);
    EXPECT_EQ(Findings("t = 1\nprint t" + path), "") << link;
    EXPECT_NE(Findings("print t" + path), "") << link;
    EXPECT_NE(Findings("t = 1\nprint t" + path + "[u]"), "") << link;
  }
}

TEST(Check, FollowsLongChainsOfCallsWithoutStack) {
  std::string script = "f0()\nx = f1()" + Repeated("[0]", 120'000) + "\n";
  for (int i = 0; i < 20'000; ++i) {
    script += "func f" + std::to_string(i) + "() { return f" + std::to_string(i + 1) + "() }\n";
  }
  script += "func f20000() { INFOBOX \"a\" }\n";
  const check::AnswersFile answers{"answers.kel", "MESSAGE_BOX"};
  const SV::String text(script.data(), static_cast<long>(script.size()));
  for (const base::Diagnostic& finding : check::CheckScript(text, "test.tav", &answers)) {
    ADD_FAILURE() << finding.message;
  }
}

}  // namespace
