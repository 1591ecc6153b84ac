#include "tavhost/ui/models/line_ends.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using ui::LineEnd;
using ui::LineEnds;

// The text as a text edit has it.
std::u16string Shown(std::u16string_view text) {
  std::u16string shown;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t unit = text[i];
    const bool isPair = unit == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n';
    if (isPair) ++i;
    const bool isEnd = unit == u'\n' || unit == u'\r' || unit == char16_t{0xFDD0} ||
                       unit == char16_t{0xFDD1} || unit == u'\u2029';
    shown += isEnd ? u'\u2029' : unit;
  }
  return shown;
}

const std::u16string kAll = std::u16string(u"a\nb\r\nc\rd\u2029\u2029e\n\r\nf\r\r\n") +
                            char16_t{0xFDD0} + u"g" + char16_t{0xFDD1};

TEST(LineEnds, AreKnownOneByOne) {
  const LineEnds ends(u"a\nb\r\nc\rd\u2029e\r");
  ASSERT_EQ(ends.Count(), 5u);
  EXPECT_EQ(ends.At(0), LineEnd::kLineFeed);
  EXPECT_EQ(ends.At(1), LineEnd::kReturnLineFeed);
  EXPECT_EQ(ends.At(2), LineEnd::kReturn);
  EXPECT_EQ(ends.At(3), LineEnd::kParagraph);
  EXPECT_EQ(ends.At(4), LineEnd::kReturn);
}

TEST(LineEnds, OfATextThatNobodyTouchedStay) {
  EXPECT_EQ(LineEnds(kAll).Written(Shown(kAll)), kAll);
  EXPECT_EQ(LineEnds(u"").Written(u""), u"");
  EXPECT_EQ(LineEnds(u"no end").Written(u"no end"), u"no end");
}

TEST(LineEnds, OfOtherLinesStayWhenOneIsTypedIn) {
  LineEnds ends(u"a\nb\rc\u2029d");
  ends.Edit(1, 0, 0, 1);
  EXPECT_EQ(ends.Written(u"a\u2029bx\u2029c\u2029d"), u"a\nbx\rc\u2029d");
}

TEST(LineEnds, OfWhatIsPutInComeAlong) {
  LineEnds ends(u"a\nb\rc\nd");
  ends.Edit(1, 0, 3, 1);  // in "b"
  ends.Put(1, u"x\r\ny\u2029z\r", 1);
  EXPECT_EQ(ends.Written(u"a\u2029bx\u2029y\u2029z\u2029\u2029c\u2029d"),
            u"a\nbx\r\ny\u2029z\r\rc\nd");
  EXPECT_EQ(ends.Written(u"y\u2029z\u2029\u2029c", 2), u"y\u2029z\r\rc") << "a part";
  ASSERT_TRUE(ends.GoTo(0, 3));
  EXPECT_EQ(ends.Written(u"a\u2029b\u2029c\u2029d"), u"a\nb\rc\nd");
  ASSERT_TRUE(ends.GoTo(1, 6));
  EXPECT_EQ(ends.At(2), LineEnd::kParagraph) << "done again";
  ends.Put(5, u"\r\r\r", 2);
  EXPECT_EQ(ends.Count(), 6u) << "no more than there are";
}

TEST(LineEnds, ThatAreNewAreThoseOfTheBrokenLine) {
  LineEnds ends(u"a\nb\r\nc\rd");
  ends.Edit(1, 0, 2, 1);  // in "b"
  EXPECT_EQ(ends.Written(u"a\u2029b\u2029\u2029b\u2029c\u2029d"), u"a\nb\r\n\r\nb\r\nc\rd");
  LineEnds last(u"a\nb\rc");
  last.Edit(2, 0, 1, 1);  // in "c", which has no end
  EXPECT_EQ(last.Written(u"a\u2029b\u2029c\u2029x"), u"a\nb\rc\rx");
  LineEnds none(u"c");
  none.Edit(0, 0, 1, 1);
  EXPECT_EQ(none.Written(u"c\u2029x"), u"c\nx");
}

TEST(LineEnds, GoWithTheirLines) {
  LineEnds ends(u"a\nb\r\nc\rd\u2029e");
  ends.Edit(1, 2, 0, 1);
  EXPECT_EQ(ends.Written(u"a\u2029bd\u2029e"), u"a\nbd\u2029e");
  ends.Edit(0, 2, 0, 2);
  EXPECT_EQ(ends.Count(), 0u);
  EXPECT_EQ(ends.Written(u""), u"");
}

TEST(LineEnds, ThatReplaceOthersAreOfTheirKind) {
  LineEnds ends(u"a\nb\r\nc\rd\u2029e");
  ends.Edit(1, 2, 1, 1);
  EXPECT_EQ(ends.Written(u"a\u2029x\u2029d\u2029e"), u"a\nx\r\nd\u2029e");
  LineEnds more(u"a\nb\rc");
  more.Edit(0, 1, 3, 1);
  EXPECT_EQ(more.Written(u"1\u20292\u20293\u2029b\u2029c"), u"1\n2\n3\nb\rc");
}

TEST(LineEnds, ComeBackWithWhatIsTakenBack) {
  LineEnds ends(kAll);
  const std::size_t count = ends.Count();
  ends.Edit(0, count, 0, 1);
  ends.Edit(0, 0, 1, 2);
  ASSERT_TRUE(ends.GoTo(1, 0));
  EXPECT_EQ(ends.Count(), 0u);
  ASSERT_TRUE(ends.GoTo(0, count));
  EXPECT_EQ(ends.Written(Shown(kAll)), kAll);
  ASSERT_TRUE(ends.GoTo(2, 1));
  EXPECT_EQ(ends.Written(u"x\u2029y"), u"x\ny");
}

TEST(LineEnds, OfEditsThatAreTakenBackTogetherAreOneState) {
  LineEnds ends(u"a\rb\nc");
  ends.Edit(0, 1, 0, 1);
  ends.Edit(0, 1, 0, 1);
  ASSERT_TRUE(ends.GoTo(0, 2));
  EXPECT_EQ(ends.At(0), LineEnd::kReturn);
  EXPECT_EQ(ends.At(1), LineEnd::kLineFeed);
}

TEST(LineEnds, DoNotComeBackFromAnotherPast) {
  LineEnds ends(u"a\rb\nc");
  ends.Edit(0, 1, 0, 1);
  ends.Edit(0, 1, 0, 2);
  ASSERT_TRUE(ends.GoTo(0, 2));
  ends.Edit(1, 1, 0, 1);  // instead of the two
  EXPECT_FALSE(ends.GoTo(2, 0)) << "that was another past";
  EXPECT_FALSE(ends.GoTo(1, 7));
  EXPECT_EQ(ends.Count(), 1u);
  EXPECT_EQ(ends.At(0), LineEnd::kReturn);
}

TEST(LineEnds, ThatAreNotThereAreNotMissed) {
  LineEnds ends(u"a\rb");
  ends.Edit(9, 9, 1, 1);
  EXPECT_EQ(ends.Written(u"a\u2029b\u2029c\u2029d"), u"a\rb\rc\nd");
}

}  // namespace
