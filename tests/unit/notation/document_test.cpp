#include "tavhost/notation/document.h"

#include <gtest/gtest.h>

#include <ctime>
#include <string>

#include "tavhost/notation/scan.h"
#include "tests/unit/notation/parsing.h"

using parsing::ErrorOf;
using parsing::Parse;
using parsing::Reparsed;

namespace {

std::string Repeat(std::string_view text, std::size_t count) {
  std::string repeated;
  repeated.reserve(text.size() * count);
  while (count-- > 0) repeated += text;
  return repeated;
}

TEST(Document, KeepsEveryKindOfValue) {
  const std::string text =
      "CMD \"main\" s:\"a\\nb\" i:-12 r:1.5 w:some-word l:(1, 2.0, \"x\", word, (1, 2)) "
      "rec:(a: 1, \"b c\": (d: 2)) b:{X 1 y:2; Z} modifier";
  EXPECT_EQ(Reparsed(text), text);
}

TEST(Document, SharesTheText) {
  const SV::String text("A x:\"abc\"");
  const auto document = kel::Document::Parse(text).value_or(nullptr);
  ASSERT_TRUE(document);
  EXPECT_EQ(document->Text().GetStr(), text.GetStr());
  EXPECT_EQ(document->Elements()[0].name, text.GetStr());
}

TEST(Document, EmptyTextHasNoElements) {
  for (const char* text : {"", " ", "\n\n;;\n", "# nothing", "\xEF\xBB\xBF", "\\\n", " \t\r\n"}) {
    const auto document = Parse(text);
    ASSERT_TRUE(document) << text;
    EXPECT_EQ(document->Count(), 0u) << text;
  }
}

TEST(Document, ElementsEndAtLineFeedSemicolonAndEnd) {
  EXPECT_EQ(Reparsed("A\nB;C ; D\n;\nE"), "A | B | C | D | E");
  EXPECT_EQ(Reparsed("A b:{X;Y\nZ} c\nB"), "A b:{X; Y; Z} c | B");
  EXPECT_EQ(Reparsed("A b:{X y}"), "A b:{X y}");
}

TEST(Document, LineFeedInParenthesesOrBehindBackslashGoesOn) {
  EXPECT_EQ(Reparsed("A (1,\n2\n,\n3) x\nB"), "A (1, 2, 3) x | B");
  EXPECT_EQ(Reparsed("A 1 \\\n x:2 \\\r\n y\nB"), "A 1 x:2 y | B");
  EXPECT_EQ(Reparsed("A x: \\\n 2"), "A x:2");
  EXPECT_EQ(Reparsed("A x \\  \n y"), "A x y");
  EXPECT_EQ(Reparsed("A x \\"), "A x");
  EXPECT_EQ(Reparsed("A (k:\n1, # one\n l\n:2)"),
            "3:3: expected \":\" behind the key, found the end of the line");
  EXPECT_EQ(Reparsed("A ({X y\nZ}, 1)"), "A ({X y; Z}, 1)");
}

TEST(Document, LineFeedEndsElementElsewhere) {
  EXPECT_EQ(ErrorOf("A x:\n1"), "1:5: expected a value, found the end of the line");
  EXPECT_EQ(ErrorOf("A x:;"), "1:5: expected a value, found \";\"");
  EXPECT_EQ(ErrorOf("A x:"), "1:5: expected a value, found the end of the text");
  EXPECT_EQ(Reparsed("A ({X\n1})"), "2:1: expected an element or \"}\", found a number");
}

TEST(Document, CommentsReachToTheLinesEnd) {
  EXPECT_EQ(Reparsed("# first\nA x:1 # rest; B\nC#x\n#last"), "A x:1 | C");
  EXPECT_EQ(Reparsed("A (1, # one )\n 2)"), "A (1, 2)");
  EXPECT_EQ(Reparsed("A # no \\\nB"), "A | B");
  EXPECT_EQ(Reparsed("A x:\"# kept\""), "A x:\"# kept\"");
  EXPECT_EQ(Reparsed("A b:{ # in it }\n X }"), "A b:{X}");
}

TEST(Document, CarriageReturnAndByteOrderMarkAreBlanks) {
  EXPECT_EQ(Reparsed("\xEF\xBB\xBF"
                     "A 1\r\nB\r\n"),
            "A 1 | B");
  EXPECT_EQ(Reparsed("A (1,\r\n2)\r\nB"), "A (1, 2) | B");
  EXPECT_EQ(ErrorOf("A\rB"),
            "1:2: expected an attribute or the end of the element, found byte 0x0d");
  EXPECT_EQ(ErrorOf("A \xEF\xBB\xBF"),
            "1:3: expected an attribute or the end of the element, found \"\xEF\xBB\xBF\"");
}

TEST(Document, NamesHoldHyphensThatALetterOrDigitFollows) {
  EXPECT_EQ(
      ErrorOf("A-b_1-2 ok-cancel to-:1"),
      "1:21: a main value must stand before the attributes; expected an attribute, found \"-\"");
  EXPECT_EQ(Reparsed("A-b_1-2 ok-cancel"), "A-b_1-2 ok-cancel");
  EXPECT_EQ(Parse("A-b x")->Elements()[0].Name(), "A-b");
  EXPECT_NE(ErrorOf("A x->y"), "parsed");
  EXPECT_NE(ErrorOf("A x--y"), "parsed");
  EXPECT_NE(ErrorOf("A 1x"), "parsed");
  EXPECT_NE(ErrorOf("\xC3\xA4"), "parsed");
}

TEST(Document, ColonFollowsItsNameAtOnce) {
  EXPECT_EQ(ErrorOf("A x :1"), "1:5: a \":\" must follow its name at once");
  EXPECT_EQ(Reparsed("A x:  \t 1"), "A x:1");
  EXPECT_EQ(ErrorOf("A:1"),
            "1:2: an element's name takes no \":\"; expected a value or an attribute");
  EXPECT_EQ(ErrorOf("A (k :1)"), "1:6: expected \",\" or \")\" in the list, found \":\"");
  EXPECT_EQ(ErrorOf("A (k:1, l :2)"), "1:10: expected \":\" behind the key, found \" \"");
}

TEST(Document, MainValueStandsOnceAndFirst) {
  EXPECT_EQ(ErrorOf("A x 1"),
            "1:5: a main value must stand before the attributes; expected an attribute, found a "
            "number");
  EXPECT_EQ(ErrorOf("A x:1 \"t\""),
            "1:7: a main value must stand before the attributes; expected an attribute, found a "
            "string");
  EXPECT_EQ(ErrorOf("A 1 2"),
            "1:5: an element has one main value; expected an attribute, found a number");
  EXPECT_EQ(ErrorOf("A 1 (2)"),
            "1:5: an element has one main value; expected an attribute, found \"(\"");
  const auto document = Parse("A word");
  EXPECT_TRUE(document->Elements()[0].main.IsNone()) << "a word is a modifier there";
  EXPECT_EQ(document->Elements()[0].attributeCount, 1u);
}

TEST(Document, NoAttributeStandsTwice) {
  EXPECT_EQ(ErrorOf("A x:1 y x:2"), "1:9: attribute \"x\" stands twice");
  EXPECT_EQ(ErrorOf("A x x"), "1:5: attribute \"x\" stands twice");
  EXPECT_EQ(ErrorOf("A\nB m:{C d d}"), "2:10: attribute \"d\" stands twice");
  EXPECT_EQ(Reparsed("A x:{B x} y:(x: 1)"), "A x:{B x} y:(x: 1)");
  EXPECT_EQ(Reparsed("A x X"), "A x X");
  EXPECT_EQ(ErrorOf("A (a: 1, b: 2, a: 3)"), "1:16: key \"a\" stands twice");
  EXPECT_EQ(ErrorOf("A (a: 1, \"a\": 3)"), "1:11: key \"a\" stands twice");
  EXPECT_EQ(ErrorOf("A (\"\\x61\": 1, a: 3)"), "1:15: key \"a\" stands twice");
  EXPECT_EQ(ErrorOf("A (a: 1, \"\\x61\": 3)"), "1:19: key \"a\" stands twice");
}

TEST(Document, FindsRepeatedAmongAnyNumberOfAttributes) {
  for (const int count : {1, 2, 15, 16, 17, 31, 32, 33, 500}) {
    std::string text = "A";
    for (int i = 0; i < count; ++i) text += " n" + std::to_string(i) + ":" + std::to_string(i);
    EXPECT_EQ(Reparsed(text), text);
    for (const int repeated : {0, count / 2, count - 1}) {
      const std::string name = "n" + std::to_string(repeated);
      EXPECT_EQ(ErrorOf(text + " " + name), "1:" + std::to_string(text.size() + 2) +
                                                ": attribute \"" + name + "\" stands twice");
    }
  }
}

TEST(Document, ListsAndRecords) {
  EXPECT_EQ(Reparsed("A ()"), "A ()");
  EXPECT_EQ(Reparsed("A (1,)"), "A (1)");
  EXPECT_EQ(Reparsed("A ( 1 , 2 , )"), "A (1, 2)");
  EXPECT_EQ(Reparsed("A (a:1,)"), "A (a: 1)");
  EXPECT_EQ(Reparsed("A (\"a\":1, \"b c\": \"x\")"), "A (a: 1, \"b c\": \"x\")");
  EXPECT_EQ(Reparsed("A (word, \"s\")"), "A (word, \"s\")");
  EXPECT_EQ(Reparsed("A ((), (a: ()), {})"), "A ((), (a: ()), {})");
  EXPECT_EQ(Reparsed("A (:) b:( :\n )"), "A (:) b:(:)");
  EXPECT_EQ(Reparsed("A ((:), (a: (:)))"), "A ((:), (a: (:)))");
  EXPECT_EQ(ErrorOf("A (:"), "1:5: expected \")\" of the empty record, found the end of the text");
  EXPECT_EQ(ErrorOf("A (:1)"), "1:5: expected \")\" of the empty record, found a number");
  EXPECT_EQ(ErrorOf("A (1, :)"), "1:7: expected a value, found \":\"");
  EXPECT_EQ(ErrorOf("A (:,)"), "1:5: expected \")\" of the empty record, found \",\"");
  EXPECT_EQ(ErrorOf("A (,)"), "1:4: expected a value, found \",\"");
  EXPECT_EQ(ErrorOf("A (1,,2)"), "1:6: expected a value, found \",\"");
  EXPECT_EQ(ErrorOf("A (1 2)"), "1:6: expected \",\" or \")\" in the list, found a number");
  EXPECT_EQ(ErrorOf("A (1; 2)"), "1:5: expected \",\" or \")\" in the list, found \";\"");
  EXPECT_EQ(ErrorOf("A (1, a: 2)"), "1:7: a list holds no keys; expected a value, found \"a\"");
  EXPECT_EQ(ErrorOf("A (a: 1, 2)"), "1:10: expected a key or \")\", found a number");
  EXPECT_EQ(ErrorOf("A (a: 1, b)"), "1:11: expected \":\" behind the key, found \")\"");
  EXPECT_EQ(ErrorOf("A (a: 1 b: 2)"), "1:9: expected \",\" or \")\" in the record, found \"b\"");
  EXPECT_EQ(ErrorOf("A (1"), "1:5: expected \",\" or \")\" in the list, found the end of the text");
  EXPECT_EQ(ErrorOf("A ("), "1:4: expected a value, found the end of the text");
  EXPECT_EQ(ErrorOf("A (1}"), "1:5: expected \",\" or \")\" in the list, found \"}\"");
}

TEST(Document, Bodies) {
  EXPECT_EQ(Reparsed("A {}"), "A {}");
  EXPECT_EQ(Reparsed("A b:{\n X 1\n Y\n}\nB"), "A b:{X 1; Y} | B");
  EXPECT_EQ(Reparsed("A {B {C {D}}}"), "A {B {C {D}}}");
  EXPECT_EQ(ErrorOf("A {B"), "1:5: expected an element or \"}\", found the end of the text");
  EXPECT_EQ(ErrorOf("A {1}"), "1:4: expected an element or \"}\", found a number");
  EXPECT_EQ(ErrorOf("}"), "1:1: expected an element, found \"}\"");
  EXPECT_EQ(ErrorOf("A }"), "1:3: expected an element, found \"}\"");
  EXPECT_EQ(ErrorOf("A b:{X)"),
            "1:7: expected an attribute or the end of the element, found \")\"");
}

TEST(Document, BytesOutsideStringsHaveToMeanSomething) {
  EXPECT_EQ(ErrorOf(std::string_view("A \0", 3)),
            "1:3: expected an attribute or the end of the element, found byte 0x00");
  EXPECT_EQ(ErrorOf(std::string_view("\0", 1)), "1:1: expected an element, found byte 0x00");
  EXPECT_EQ(ErrorOf("1"), "1:1: expected an element, found a number");
  EXPECT_EQ(ErrorOf("A \\x"), "1:3: expected an attribute or the end of the element, found \"\\\"");
}

TEST(Document, StringsKeepEveryByte) {
  std::string bytes;
  for (int i = 0; i < 256; ++i) {
    if (i != '"' && i != '\\') bytes += static_cast<char>(i);
  }
  const auto document = Parse("A \"" + bytes + "\"");
  ASSERT_TRUE(document);
  EXPECT_EQ(kel::TextOf(document->Elements()[0].main).View(), bytes);
}

TEST(Document, StringErrorsTellTheirPlace) {
  EXPECT_EQ(ErrorOf("A \\\n \"abc"),
            "2:2: the string that begins here is not closed, expected \"\\\"\"");
  EXPECT_EQ(ErrorOf("A \"x\\"),
            "1:5: unknown escape; expected one of \\\" \\\\ \\n \\r \\t \\0 \\xHH");
  EXPECT_EQ(ErrorOf("A \"a\nb\\q\""),
            "2:2: unknown escape; expected one of \\\" \\\\ \\n \\r \\t \\0 \\xHH");
  EXPECT_NE(ErrorOf("A \"\\\""), "parsed");
}

TEST(Document, ColumnsCountCharacters) {
  EXPECT_EQ(ErrorOf("A x:\"\xC3\xA4\xF0\x9F\x98\x80\" ?"),
            "1:10: expected an attribute or the end of the element, found \"?\"");
  EXPECT_EQ(ErrorOf("\xEF\xBB\xBF?"), "1:1: expected an element, found \"?\"");
  EXPECT_EQ(ErrorOf("A\n\n  ?"), "3:3: expected an element, found \"?\"");
}

TEST(Document, NestingEndsAtItsLimit) {
  const auto nested = [](std::string_view open, std::string_view close, std::size_t depth) {
    return "A " + Repeat(open, depth) + Repeat(close, depth);
  };
  for (const std::size_t depth : {kel::kMaxNesting - 1, kel::kMaxNesting}) {
    EXPECT_EQ(ErrorOf(nested("(", ")", depth)), "parsed");
    EXPECT_EQ(ErrorOf(nested("(a:(", "))", depth / 2)), "parsed");
    EXPECT_EQ(ErrorOf(nested("{A ", "}", depth)), "parsed");
    EXPECT_EQ(Reparsed(nested("(", ")", depth)), nested("(", ")", depth));
  }
  EXPECT_EQ(ErrorOf(nested("(", ")", kel::kMaxNesting + 1)),
            "1:1003: nested deeper than 1000 levels");
  EXPECT_EQ(ErrorOf(nested("{A ", "}", kel::kMaxNesting + 1)),
            "1:3003: nested deeper than 1000 levels");
}

TEST(Document, AMillionOpenBracketsAreAnError) {
  EXPECT_EQ(ErrorOf("A " + Repeat("(", 1'000'000)), "1:1003: nested deeper than 1000 levels");
  EXPECT_EQ(ErrorOf("A " + Repeat("{A ", 1'000'000)), "1:3003: nested deeper than 1000 levels");
  EXPECT_EQ(ErrorOf("A " + Repeat("(k:", 1'000'000)), "1:3003: nested deeper than 1000 levels");
}

TEST(Document, TablesThatWouldBeTooLargeAreRefused) {
  const SV::String text = parsing::Str(Repeat("A x;", 10'000));
  const auto refused = kel::Document::Parse(text, 100'000);
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error().message, "the text is too large for the memory there is");
  EXPECT_TRUE(kel::Document::Parse(text, 100'000'000));
}

// Each of these is quadratic when done the simple way; a generous bound tells the two apart. The
// processor's time counts: a busy machine or a sanitizer must not look like the simple way.
TEST(Document, ParsingIsLinear) {
  std::string attributes = "A";
  std::string fields = "A (";
  for (int i = 0; i < 200'000; ++i) {
    attributes += " n" + std::to_string(i);
    fields += "n" + std::to_string(i) + ":1,";
  }
  const std::clock_t begin = std::clock();
  EXPECT_EQ(ErrorOf(attributes), "parsed");
  EXPECT_EQ(ErrorOf(fields + ")"), "parsed");
  EXPECT_EQ(ErrorOf("A (" + Repeat("1,", 1'000'000) + ")"), "parsed");
  EXPECT_EQ(ErrorOf(Repeat("A {B} (1)\n", 1) + Repeat("\n", 2'000'000)),
            "1:7: an element has one main value; expected an attribute, found \"(\"");
  EXPECT_EQ(ErrorOf(Repeat("A\n", 1'000'000)), "parsed");
  EXPECT_EQ(ErrorOf("A b:{" + Repeat("A x:(1);", 300'000) + "}"), "parsed");
  EXPECT_LT((std::clock() - begin) / CLOCKS_PER_SEC, 10);
}

TEST(Document, ManyElementsKeepTheirOrder) {
  std::string text;
  for (int i = 0; i < 100'000; ++i) {
    text +=
        "E" + std::to_string(i) + " " + std::to_string(i) + " x:\"" + std::to_string(i) + "\"\n";
  }
  const auto document = Parse(text);
  ASSERT_TRUE(document);
  ASSERT_EQ(document->Count(), 100'000u);
  for (std::uint32_t i = 0; i < document->Count(); ++i) {
    const kel::Element& element = document->Elements()[i];
    ASSERT_EQ(element.Name(), "E" + std::to_string(i));
    ASSERT_EQ(element.main.integer, static_cast<std::int32_t>(i));
    ASSERT_EQ(kel::TextOf(element.attributes[0].operand).View(), std::to_string(i));
  }
}

}  // namespace
