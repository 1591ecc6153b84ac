#include "tavhost/base/file_names.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using file_names::MatchesWildcard;

TEST(FileNames, StarAndStarDotStarMatchEveryName) {
  for (const char* name : {"a", "a.b", ".dot", "a.b.c", "no dot", "."}) {
    EXPECT_TRUE(MatchesWildcard(name, "*")) << name;
    EXPECT_TRUE(MatchesWildcard(name, "*.*")) << name;
  }
}

TEST(FileNames, CaseOfAsciiLettersDoesNotMatter) {
  EXPECT_TRUE(MatchesWildcard("Report.TXT", "*.txt"));
  EXPECT_TRUE(MatchesWildcard("report.txt", "REPORT.*"));
  EXPECT_FALSE(MatchesWildcard("\xC3\xA4.txt", "\xC3\x84.txt"));
}

TEST(FileNames, AQuestionMarkTakesExactlyOneCharacter) {
  EXPECT_TRUE(MatchesWildcard("b.txt", "?.txt"));
  EXPECT_FALSE(MatchesWildcard("bb.txt", "?.txt"));
  EXPECT_FALSE(MatchesWildcard(".txt", "?.txt"));
  EXPECT_FALSE(MatchesWildcard("a", "a?"));
}

TEST(FileNames, BracketsAreLiteral) {
  EXPECT_TRUE(MatchesWildcard("[a]", "[a]"));
  EXPECT_FALSE(MatchesWildcard("a", "[a]"));
  EXPECT_TRUE(MatchesWildcard("x[1].txt", "*[1]*"));
}

TEST(FileNames, ALeadingDotIsAnOrdinaryCharacter) {
  EXPECT_TRUE(MatchesWildcard(".dot", "*"));
  EXPECT_TRUE(MatchesWildcard(".dot", "?dot"));
  EXPECT_TRUE(MatchesWildcard("..", ".*"));
  EXPECT_FALSE(MatchesWildcard(".", "*.x"));
}

TEST(FileNames, SeveralStarsGoBackOverTheName) {
  EXPECT_TRUE(MatchesWildcard("aXbXcX", "*X*X"));
  EXPECT_TRUE(MatchesWildcard("mississippi", "m*iss*ip*i"));
  EXPECT_FALSE(MatchesWildcard("mississippi", "m*iss*ipx*"));
  EXPECT_TRUE(MatchesWildcard("abc", "***a***c***"));
}

TEST(FileNames, ManyStarsCostNoMoreThanTheirProduct) {
  const std::string name(255, 'a');
  std::string pattern;
  for (int i = 0; i < 120; ++i) pattern += "a*";
  EXPECT_FALSE(MatchesWildcard(name, pattern + "b"));
}

TEST(FileNames, WithoutWildcardsTheWholeNameMustFit) {
  EXPECT_TRUE(MatchesWildcard("a", "A"));
  EXPECT_FALSE(MatchesWildcard("ab", "a"));
  EXPECT_FALSE(MatchesWildcard("a", ""));
}

}  // namespace
