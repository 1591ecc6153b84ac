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
