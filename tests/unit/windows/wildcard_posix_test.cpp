#include "tavhost/windows/wildcard.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using windows::MatchesWildcard;

TEST(Wildcard, StarAndStarDotStarMatchEveryName) {
  for (const char* name : {"a", "a.b", ".dot", "a.b.c", "no dot", "."}) {
    EXPECT_TRUE(MatchesWildcard(name, "*")) << name;
    EXPECT_TRUE(MatchesWildcard(name, "*.*")) << name;
  }
}

TEST(Wildcard, CaseOfAsciiLettersDoesNotMatter) {
  EXPECT_TRUE(MatchesWildcard("Report.TXT", "*.txt"));
  EXPECT_TRUE(MatchesWildcard("report.txt", "REPORT.*"));
  EXPECT_FALSE(MatchesWildcard("\xC3\xA4.txt", "\xC3\x84.txt"));
}

TEST(Wildcard, AQuestionMarkTakesExactlyOneCharacter) {
  EXPECT_TRUE(MatchesWildcard("b.txt", "?.txt"));
  EXPECT_FALSE(MatchesWildcard("bb.txt", "?.txt"));
  EXPECT_FALSE(MatchesWildcard(".txt", "?.txt"));
  EXPECT_FALSE(MatchesWildcard("a", "a?"));
}

TEST(Wildcard, BracketsAreLiteral) {
  EXPECT_TRUE(MatchesWildcard("[a]", "[a]"));
  EXPECT_FALSE(MatchesWildcard("a", "[a]"));
  EXPECT_TRUE(MatchesWildcard("x[1].txt", "*[1]*"));
}

TEST(Wildcard, ALeadingDotIsAnOrdinaryCharacter) {
  EXPECT_TRUE(MatchesWildcard(".dot", "*"));
  EXPECT_TRUE(MatchesWildcard(".dot", "?dot"));
  EXPECT_TRUE(MatchesWildcard("..", ".*"));
  EXPECT_FALSE(MatchesWildcard(".", "*.x"));
}

TEST(Wildcard, SeveralStarsGoBackOverTheName) {
  EXPECT_TRUE(MatchesWildcard("aXbXcX", "*X*X"));
  EXPECT_TRUE(MatchesWildcard("mississippi", "m*iss*ip*i"));
  EXPECT_FALSE(MatchesWildcard("mississippi", "m*iss*ipx*"));
  EXPECT_TRUE(MatchesWildcard("abc", "***a***c***"));
}

TEST(Wildcard, ManyStarsCostNoMoreThanTheirProduct) {
  const std::string name(255, 'a');
  std::string pattern;
  for (int i = 0; i < 120; ++i) pattern += "a*";
  EXPECT_FALSE(MatchesWildcard(name, pattern + "b"));
}

TEST(Wildcard, WithoutWildcardsTheWholeNameMustFit) {
  EXPECT_TRUE(MatchesWildcard("a", "A"));
  EXPECT_FALSE(MatchesWildcard("ab", "a"));
  EXPECT_FALSE(MatchesWildcard("a", ""));
}

}  // namespace
