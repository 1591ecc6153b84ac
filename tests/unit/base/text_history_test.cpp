#include "tavhost/base/text_history.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace {

using SV::String;
using SV::TextHistory;

std::string Text(const String& text) { return std::string(text.View()); }

// What a script does: get, append, drop lines, set.
TextHistory::Change Write(TextHistory& history, const char* added, int drop = 0) {
  String text = history.Get();
  text += String(added);
  for (; drop > 0; --drop) text.Erase(0, text.Search("\n") + 1);
  return history.Set(text);
}

TEST(TextHistory, TellsWhatWasAddedAndDropped) {
  TextHistory history;
  TextHistory::Change change = Write(history, "one\ntwo\n");
  EXPECT_TRUE(change.continues);
  EXPECT_EQ(change.added, "one\ntwo\n");
  change = Write(history, "three\n", 1);
  EXPECT_TRUE(change.continues);
  EXPECT_EQ(change.dropped, 4u);
  EXPECT_EQ(change.added, "three\n");
  EXPECT_EQ(history.View(), "two\nthree\n");
}

TEST(TextHistory, EqualLinesAreToldApart) {
  TextHistory history;
  Write(history, "x\n");
  const TextHistory::Change change = Write(history, "x\n", 1);
  EXPECT_TRUE(change.continues);
  EXPECT_EQ(change.dropped, 2u);
  EXPECT_EQ(change.added, "x\n");
}

TEST(TextHistory, LinesThatComeAndGoAtOnceAreAddedToo) {
  TextHistory history;
  Write(history, "a\nb");
  const TextHistory::Change change = Write(history, "1\n2\n3\n", 4);
  EXPECT_TRUE(change.continues);
  EXPECT_EQ(change.dropped, 9u);
  EXPECT_EQ(change.added, "1\n2\n3\n");
  EXPECT_EQ(history.View(), "");
  EXPECT_EQ(Write(history, "again").added, "again");
}

TEST(TextHistory, AnotherTextIsNoContinuation) {
  TextHistory history;
  Write(history, "one\ntwo\n");
  EXPECT_FALSE(history.Set("two").continues);
  EXPECT_FALSE(history.Set("").continues);
  EXPECT_TRUE(history.Set("new").continues) << "anything continues an empty text";
  String upper = history.Get();
  upper.ToUpper();
  EXPECT_FALSE(history.Set(upper).continues);
  EXPECT_EQ(history.View(), "NEW");
}

TEST(TextHistory, StringsMadeByOtherMeansAreCompared) {
  TextHistory history;
  Write(history, "one\ntwo\n");
  TextHistory::Change change = history.Set("one\ntwo\nthree\n");
  EXPECT_TRUE(change.continues);
  EXPECT_EQ(change.dropped, 0u);
  EXPECT_EQ(change.added, "three\n");
  change = history.Set("three\nfour");
  EXPECT_TRUE(change.continues);
  EXPECT_EQ(change.dropped, 8u);
  EXPECT_EQ(change.added, "four");
  EXPECT_FALSE(history.Set("our\n").continues) << "half a line went";
}

TEST(TextHistory, WhatWasGotStaysAsItWas) {
  TextHistory history;
  Write(history, "one\n");
  const String first = history.Get();
  String grown = history.Get();
  grown += "two\n";
  const String second = history.Get();
  EXPECT_EQ(Text(first), "one\n");
  EXPECT_EQ(Text(second), "one\n");
  EXPECT_EQ(history.View(), "one\n");
  history.Set(grown);
  EXPECT_EQ(Text(first), "one\n");
  EXPECT_EQ(history.View(), "one\ntwo\n");
}

TEST(TextHistory, AStringThatIsNeverSetIsForgotten) {
  TextHistory history;
  Write(history, "one\n");
  {
    String lost = history.Get();
    lost += "lost";
    lost.Erase(0, 2);
  }
  EXPECT_EQ(Text(history.Get()), "one\n");
  String kept = history.Get();
  kept += "kept";
  EXPECT_EQ(Text(history.Get()), "one\n");
  EXPECT_EQ(Text(kept), "one\nkept");
  EXPECT_STREQ(history.Get().GetStr(), "one\n");
}

TEST(TextHistory, BranchesAreNotMistakenForEachOther) {
  TextHistory history;
  Write(history, "one\n");
  String left = history.Get();
  String right = history.Get();
  left += "left\n";
  right += "right\n";
  EXPECT_EQ(history.Set(left).added, "left\n");
  const TextHistory::Change change = history.Set(right);
  EXPECT_FALSE(change.continues);
  EXPECT_EQ(history.View(), "one\nright\n");
}

TEST(TextHistory, TwoHistoriesShareNoBuffer) {
  TextHistory one;
  TextHistory other;
  Write(one, "text\n");
  other.Set(one.Get());
  Write(one, "one\n");
  Write(other, "other\n");
  EXPECT_EQ(one.View(), "text\none\n");
  EXPECT_EQ(other.View(), "text\nother\n");
}

TEST(TextHistory, AStringOutlivesItsHistory) {
  String kept;
  {
    TextHistory history;
    Write(history, "text");
    kept = history.Get();
  }
  String copy = kept;
  copy += "!";
  EXPECT_EQ(Text(kept), "text");
  EXPECT_EQ(Text(copy), "text!");
}

// Anything at all done to strings that were got, against plain ones.
TEST(TextHistory, BehavesLikePlainStrings) {
  const auto seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  const auto upTo = [&random](std::size_t most) { return random() % (most + 1); };
  TextHistory history;
  std::string shown;
  std::string view = "";  // as an observer puts it together
  struct Pair {
    String string;
    std::string plain;
  };
  std::vector<Pair> pairs(5);
  for (int step = 0; step < 20000; ++step) {
    Pair& pair = pairs[upTo(4)];
    switch (upTo(7)) {
      case 0:
      case 1:
        pair = {history.Get(), shown};
        break;
      case 2:
      case 3: {
        const std::string added = std::string(upTo(3), 'a') + (upTo(1) ? "\n" : "b");
        pair.string.Append(added.data(), static_cast<long>(added.size()));
        pair.plain += added;
        break;
      }
      case 4: {
        const std::size_t count = std::min(upTo(4), pair.plain.size());
        pair.string.Erase(0, static_cast<long>(count));
        pair.plain.erase(0, count);
        break;
      }
      case 5:
        pair = pairs[upTo(4)];
        break;
      default: {
        const TextHistory::Change change = history.Set(pair.string);
        shown = pair.plain;
        if (change.continues) {
          std::string whole = view;
          whole += change.added;
          // What came and went between two settings may be missing from what was added.
          if (change.dropped <= view.size()) {
            ASSERT_EQ(whole.substr(change.dropped), shown);
          } else {
            ASSERT_TRUE(change.added.ends_with(shown));
          }
          ASSERT_TRUE(change.dropped == 0 || change.dropped > whole.size() ||
                      whole[change.dropped - 1] == '\n');
        }
        view = shown;
      }
    }
    ASSERT_EQ(history.View(), shown);
    for (const Pair& each : pairs) {
      ASSERT_EQ(Text(each.string), each.plain);
      ASSERT_EQ(each.string.GetStr()[each.plain.size()], '\0');
    }
  }
}

// A line costs the same however long the text is.
TEST(TextHistory, GrowsInPlace) {
  TextHistory history;
  Write(history, "first\n");
  int moved = 0;
  const char* before = history.View().data();
  for (int i = 0; i < 100000; ++i) {
    Write(history, "a line of some length\n");
    if (history.View().data() != before) ++moved;
    before = history.View().data();
  }
  EXPECT_LT(moved, 40);
  EXPECT_EQ(history.View().size(), 6u + 100000u * 22u);
}

}  // namespace
