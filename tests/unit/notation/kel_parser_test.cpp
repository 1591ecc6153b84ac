#include "host/notation/kel_parser.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "tavhost/notation/parser_access.h"
#include "tests/unit/notation/parsing.h"

using parsing::Str;

namespace {

// A parser over a text that is known to be right.
class Parsed : public TavKelParser {
 public:
  explicit Parsed(std::string_view text) : TavKelParser(Str(text)) { EXPECT_EQ(Parse(), 0); }
};

TEST(KelParser, ParseTellsSuccess) {
  TavKelParser good(SV::String("A x:1"));
  EXPECT_EQ(good.Parse(), 0);
  EXPECT_EQ(good.Parse(), 0) << "again";
  EXPECT_EQ(good.GetIntValue("x"), 1);
  TavKelParser bad(SV::String("A x:"));
  EXPECT_NE(bad.Parse(), 0);
  EXPECT_FALSE(bad.IsContained("x"));
  EXPECT_FALSE(bad.SetCurElemIndex(0));
}

TEST(KelParser, BeforeParseNothingIsThere) {
  TavKelParser parser(SV::String("A 1 x:1"));
  EXPECT_FALSE(parser.IsContained("x"));
  EXPECT_EQ(parser.GetStrValue().Len(), 0);
  EXPECT_EQ(parser.GetIntValue(), 0);
  EXPECT_EQ(parser.GetCurElemName().Len(), 0);
  EXPECT_EQ(parser.GetBodyParser("x"), nullptr);
}

TEST(KelParser, IsContainedForParametersAndModifiers) {
  const Parsed parser("A \"main\" x:1 mod other-mod");
  EXPECT_TRUE(parser.IsContained("x"));
  EXPECT_TRUE(parser.IsContained("mod"));
  EXPECT_TRUE(parser.IsContained("other-mod"));
  EXPECT_FALSE(parser.IsContained("X"));
  EXPECT_FALSE(parser.IsContained(""));
  EXPECT_FALSE(parser.IsContained("other"));
  EXPECT_FALSE(parser.IsContained(SV::String("x\0", 2)));
}

TEST(KelParser, GetStrValueGivesTheTextForm) {
  Parsed parser("A \"ma\\nin\" s:\"a\\x00b\" i:-3 r:2.0 w:word l:(1, \"x\") c:(k: 1) b:{X} m");
  EXPECT_EQ(parser.GetStrValue(), "ma\nin");
  EXPECT_EQ(parser.GetStrValue("s"), SV::String("a\0b", 3));
  EXPECT_EQ(parser.GetStrValue("i"), "-3");
  EXPECT_EQ(parser.GetStrValue("r"), "2.0");
  EXPECT_EQ(parser.GetStrValue("w"), "word");
  EXPECT_EQ(parser.GetStrValue("l"), "1, \"x\"");
  EXPECT_EQ(parser.GetStrValue("c"), "k: 1");
  EXPECT_EQ(parser.GetStrValue("b"), "{X}");
  EXPECT_EQ(parser.GetStrValue("m"), "");
  EXPECT_EQ(parser.GetStrValue("none"), "");
  EXPECT_EQ(Parsed("A").GetStrValue(), "");
  EXPECT_EQ(Parsed("A 12").GetStrValue(), "12");
}

TEST(KelParser, GetIntValueTruncatesReals) {
  Parsed parser("A 7 i:-3 r:-2.9 big:1e300 small:-1e300 edge:2147483647.5 s:\"5\" w:five m l:(1)");
  EXPECT_EQ(parser.GetIntValue(), 7);
  EXPECT_EQ(parser.GetIntValue("i"), -3);
  EXPECT_EQ(parser.GetIntValue("r"), -2);
  EXPECT_EQ(parser.GetIntValue("big"), std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(parser.GetIntValue("small"), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(parser.GetIntValue("edge"), std::numeric_limits<std::int32_t>::max());
  for (const char* name : {"s", "w", "m", "l", "none"}) EXPECT_EQ(parser.GetIntValue(name), 0);
  EXPECT_EQ(Parsed("A \"5\"").GetIntValue(), 0);
  EXPECT_EQ(Parsed("A 5.9").GetIntValue(), 5);
  EXPECT_EQ(Parsed("A").GetIntValue(), 0);
}

TEST(KelParser, TryGetLeavesTheTargetAloneUnlessItFits) {
  Parsed parser("A s:\"x\" i:4 r:1.5 w:word m l:(1) e:\"\"");
  SV::String text("before");
  for (const char* name : {"i", "r", "w", "m", "l", "none"}) {
    EXPECT_FALSE(parser.TryGetStrValue(name, text)) << name;
  }
  EXPECT_EQ(text, "before");
  EXPECT_TRUE(parser.TryGetStrValue("s", text));
  EXPECT_EQ(text, "x");
  EXPECT_TRUE(parser.TryGetStrValue("e", text));
  EXPECT_EQ(text, "");
  long integer = -99;
  for (const char* name : {"s", "r", "w", "m", "l", "none"}) {
    EXPECT_FALSE(parser.TryGetIntValue(name, integer)) << name;
  }
  EXPECT_EQ(integer, -99);
  EXPECT_TRUE(parser.TryGetIntValue("i", integer));
  EXPECT_EQ(integer, 4);
  double real = -99;
  for (const char* name : {"s", "w", "m", "l", "none"}) {
    EXPECT_FALSE(parser.TryGetRealValue(name, real)) << name;
  }
  EXPECT_EQ(real, -99);
  EXPECT_TRUE(parser.TryGetRealValue("r", real));
  EXPECT_EQ(real, 1.5);
  EXPECT_TRUE(parser.TryGetRealValue("i", real)) << "an integer is widened";
  EXPECT_EQ(real, 4);
}

TEST(KelParser, GetBoolValue) {
  Parsed parser(
      "A m t1:true t2:yes t3:on t4:1 t5:\"true\" t6:\"yes\" t7:\"on\" t8:\"1\" "
      "f1:false f2:no f3:off f4:0 f5:\"false\" f6:\"no\" f7:\"off\" f8:\"0\" "
      "d1:TRUE d2:2 d3:-1 d4:1.0 d5:\"\" d6:(1) d7:{X} d8:\"1 \"");
  for (const bool dflt : {false, true}) {
    EXPECT_TRUE(parser.GetBoolValue("m", dflt));
    for (int i = 1; i <= 8; ++i) {
      const std::string number = std::to_string(i);
      EXPECT_TRUE(parser.GetBoolValue(Str("t" + number), dflt)) << number;
      EXPECT_FALSE(parser.GetBoolValue(Str("f" + number), dflt)) << number;
      EXPECT_EQ(parser.GetBoolValue(Str("d" + number), dflt), dflt) << number;
    }
    EXPECT_EQ(parser.GetBoolValue("none", dflt), dflt);
  }
}

TEST(KelParser, GetModifier) {
  Parsed parser("A w:long s:\"a b\" m i:1 l:(x)");
  EXPECT_EQ(parser.GetModifier("w"), "long");
  EXPECT_EQ(parser.GetModifier("s"), "a b");
  for (const char* name : {"m", "i", "l", "none"}) EXPECT_EQ(parser.GetModifier(name), "");
}

TEST(KelParser, ElementsInTurn) {
  Parsed parser("A x:1\nB x:2; C");
  EXPECT_EQ(parser.GetCurElemName(), "A");
  EXPECT_TRUE(parser.SetCurElemIndex(1));
  EXPECT_EQ(parser.GetCurElemName(), "B");
  EXPECT_EQ(parser.GetIntValue("x"), 2);
  EXPECT_TRUE(parser.SetCurElemIndex(2));
  EXPECT_FALSE(parser.IsContained("x"));
  EXPECT_FALSE(parser.SetCurElemIndex(3));
  EXPECT_FALSE(parser.SetCurElemIndex(std::numeric_limits<unsigned long>::max()));
  EXPECT_EQ(parser.GetCurElemName(), "C") << "a wrong index changes nothing";
}

TEST(KelParser, BodyParsers) {
  Parsed parser("A extra:{CHECKBOX \"One\" checked:1\nCHECKBOX \"Two\" b:{X 1}} none:{} l:(1) m");
  TavKelParser* const body = parser.GetBodyParser("extra");
  ASSERT_NE(body, nullptr);
  EXPECT_EQ(body->GetCurElemName(), "CHECKBOX");
  EXPECT_EQ(body->GetStrValue(), "One");
  EXPECT_EQ(body->GetIntValue("checked"), 1);
  ASSERT_TRUE(body->SetCurElemIndex(1));
  EXPECT_EQ(body->GetStrValue(), "Two");
  ASSERT_NE(body->GetBodyParser("b"), nullptr);
  EXPECT_EQ(body->GetBodyParser("b")->GetIntValue(), 1);
  EXPECT_FALSE(body->SetCurElemIndex(2));
  EXPECT_EQ(parser.GetBodyParser("extra"), body) << "the same, from its first element again";
  EXPECT_EQ(body->GetStrValue(), "One");
  TavKelParser* const empty = parser.GetBodyParser("none");
  ASSERT_NE(empty, nullptr) << "an empty body is a body";
  EXPECT_FALSE(empty->SetCurElemIndex(0));
  for (const char* name : {"l", "m", "absent"}) EXPECT_EQ(parser.GetBodyParser(name), nullptr);
}

TEST(KelParser, DeepBodyParsersAreDestroyed) {
  std::string text = "A b:{}";
  for (int depth = 0; depth < 990; ++depth) text = "A b:{" + text + "}";
  Parsed parser(text);
  TavKelParser* body = &parser;
  int depth = 0;
  while (body->IsContained("b")) {
    body = body->GetBodyParser("b");
    ++depth;
  }
  EXPECT_EQ(depth, 991);
}

TEST(KelParser, BorrowedElements) {
  const auto bodyOwner = parsing::Parse("X 5; Y");
  const kel::Value text(SV::String("shared text"));
  const kel::Value list = kel::Value::List();
  const kel::Value body = kel::Value::Body(bodyOwner, bodyOwner->Elements(), bodyOwner->Count());
  const kel::Value word(SV::String("long"), TavKelWord);
  kel::Attribute attributes[6];
  const char* const names[] = {"t", "l", "b", "w", "i", "m"};
  const kel::Operand operands[] = {kel::Borrow(text), kel::Borrow(list),          kel::Borrow(body),
                                   kel::Borrow(word), kel::Borrow(kel::Value(9)), kel::Operand()};
  for (int i = 0; i < 6; ++i) {
    attributes[i].name = names[i];
    attributes[i].nameLength = 1;
    attributes[i].operand = operands[i];
  }
  kel::Element element;
  element.name = "CMD";
  element.nameLength = 3;
  element.attributes = attributes;
  element.attributeCount = 6;
  element.main = kel::Borrow(text);

  kel::BorrowedParser parser(&element);
  EXPECT_EQ(parser.GetCurElemName(), "CMD");
  EXPECT_EQ(parser.GetStrValue(), "shared text");
  EXPECT_EQ(parser.GetStrValue("t").GetStr(), text.Text().GetStr()) << "shared, not copied";
  EXPECT_EQ(parser.GetIntValue("i"), 9);
  EXPECT_EQ(parser.GetModifier("w"), "long");
  EXPECT_TRUE(parser.GetBoolValue("m", false));
  ASSERT_NE(parser.GetBodyParser("b"), nullptr);
  EXPECT_EQ(parser.GetBodyParser("b")->GetIntValue(), 5);
  EXPECT_EQ(parser.GetBodyParser("l"), nullptr);
  EXPECT_EQ(kel::ParserAccess::Find(parser, "i")->operand.kind, TavKelInteger);
  EXPECT_EQ(kel::ParserAccess::Find(parser, "none"), nullptr);
  EXPECT_EQ(kel::ParserAccess::Main(parser).kind, TavKelString);
  EXPECT_EQ(kel::ParserAccess::ElementName(parser), "CMD");
  EXPECT_FALSE(parser.SetCurElemIndex(1));
}

TEST(KelParser, AccessToNothing) {
  TavKelParser parser(SV::String(""));
  EXPECT_EQ(parser.Parse(), 0);
  EXPECT_EQ(kel::ParserAccess::Find(parser, "i"), nullptr);
  EXPECT_TRUE(kel::ParserAccess::Main(parser).IsNone());
  EXPECT_EQ(kel::ParserAccess::ElementName(parser), "");
}

}  // namespace
