#include "tavhost/ide/history.h"

#include <gtest/gtest.h>

namespace ide {
namespace {

TEST(HistoryTest, KeepsEntriesInOrderWithoutRepeatsAndBlanks) {
  History history;
  EXPECT_TRUE(history.Add("a"));
  EXPECT_FALSE(history.Add("a"));
  EXPECT_FALSE(history.Add("  \n"));
  EXPECT_TRUE(history.Add("b"));
  EXPECT_TRUE(history.Add("a"));
  EXPECT_EQ(history.Entries(), (std::vector<std::string>{"a", "b", "a"}));
}

TEST(HistoryTest, AFileReadsBackWhateverWasEntered) {
  History history;
  history.Add("print \"a\\n\"");
  history.Add("if x {\n  A\n}");
  history.Add("\\");
  EXPECT_EQ(History::LineOf("a\nb\\"), "a\\nb\\\\\n");
  History again;
  again.Read(history.Text());
  EXPECT_EQ(again.Entries(), history.Entries());
  again.Read("no line feed at the end");
  EXPECT_EQ(again.Entries(), (std::vector<std::string>{"no line feed at the end"}));
}

TEST(HistoryTest, WalksThroughEntriesThatBeginAsTyped) {
  History history;
  for (const char* entry : {"print 1", "OUT x", "print 2"}) history.Add(entry);
  EXPECT_EQ(history.Older("print"), "print 2");
  EXPECT_EQ(history.Older("print 2"), "print 1");
  EXPECT_EQ(history.Older("print 1"), "print 1");  // the oldest stays
  EXPECT_EQ(history.Newer("print 1"), "print 2");
  EXPECT_EQ(history.Newer("print 2"), "print");  // what was typed
  history.EndWalk();
  EXPECT_EQ(history.Older(""), "print 2");
  EXPECT_EQ(history.Older("print 2"), "OUT x");
}

TEST(HistoryTest, TheOldestGoWhenThereAreTooMany) {
  History history;
  for (std::size_t i = 0; i <= History::kMostEntries; ++i) history.Add(std::to_string(i));
  EXPECT_EQ(history.Entries().size(), History::kMostEntries);
  EXPECT_EQ(history.Entries().front(), "1");
  EXPECT_EQ(history.Entries().back(), std::to_string(History::kMostEntries));
}

}  // namespace
}  // namespace ide
