#include "tavhost/notation/kel_text.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <limits>
#include <string>

#include "host/notation/kel_parser.h"
#include "tavhost/base/string_of.h"
#include "tavhost/notation/scan.h"
#include "tests/support/counting_meter.h"
#include "tests/unit/notation/parsing.h"
#include "tests/unit/notation/random_kel.h"

using parsing::Parse;
using parsing::Str;

namespace {

std::string Text(const kel::Value& value, bool quoted) {
  SV::String out;
  kel::AppendText(out, value, quoted);
  return std::string(out.View());
}

std::string RealText(double real) {
  char room[kel::kLongestReal];
  return std::string(room, kel::WriteReal(real, room));
}

std::string Kel(const kel::Value& value) {
  SV::String out;
  kel::AppendKel(out, value);
  return std::string(out.View());
}

// Equal in kind and content; reals by their bits.
void ExpectSame(const kel::Value& a, const kel::Value& b) {
  ASSERT_EQ(a.Kind(), b.Kind());
  switch (a.Kind()) {
    case TavKelString:
    case TavKelWord:
      ASSERT_EQ(a.Text().View(), b.Text().View());
      break;
    case TavKelInteger:
      ASSERT_EQ(a.Integer(), b.Integer());
      break;
    case TavKelReal:
      ASSERT_EQ(a.Real(), b.Real());
      ASSERT_EQ(std::signbit(a.Real()), std::signbit(b.Real()));
      break;
    case TavKelList:
      ASSERT_EQ(a.AsList().items.size(), b.AsList().items.size());
      for (std::size_t i = 0; i < a.AsList().items.size(); ++i) {
        ExpectSame(a.AsList().items[i], b.AsList().items[i]);
      }
      break;
    case TavKelRecord:
      ASSERT_EQ(a.AsRecord().fields.size(), b.AsRecord().fields.size());
      for (std::size_t i = 0; i < a.AsRecord().fields.size(); ++i) {
        ASSERT_EQ(a.AsRecord().fields[i].name.View(), b.AsRecord().fields[i].name.View());
        ExpectSame(a.AsRecord().fields[i].value, b.AsRecord().fields[i].value);
      }
      break;
    default:
      break;
  }
}

TEST(Literal, EscapesQuoteBackslashAndControlBytes) {
  EXPECT_EQ(kel::Literal("").View(), "\"\"");
  EXPECT_EQ(kel::Literal("a\"b\\c").View(), R"("a\"b\\c")");
  EXPECT_EQ(kel::Literal(std::string_view("\n\r\t\0\x01\x1f\x7f", 7)).View(),
            R"("\n\r\t\0\x01\x1f\x7f")");
  EXPECT_EQ(kel::Literal("\xC3\xA4\xFF").View(), "\"\xC3\xA4\xFF\"");
  EXPECT_EQ(TavKelParser::GetKelTextOfStrValue("a\nb") == "\"a\\nb\"", true);
  EXPECT_EQ(TavKelParser::GetKelTextOfStrValue(SV::String("a\0b", 3)) == "\"a\\0b\"", true);
  EXPECT_EQ(TavKelParser::GetKelTextOfStrValue(static_cast<const char*>(nullptr)) == "\"\"", true);
}

TEST(Literal, EveryByteReadsBack) {
  for (int first = 0; first < 256; ++first) {
    for (const int second :
         std::initializer_list<int>{0, '0', '1', 'A', 'x', '"', '\\', '\n', 255}) {
      const char bytes[] = {static_cast<char>(first), static_cast<char>(second)};
      const SV::String text(bytes, 2);
      const SV::String literal = kel::Literal(text.View());
      EXPECT_EQ(Text(kel::Value(text), true), literal.View());
      TavKelParser parser(SV::String("A x:") += literal);
      ASSERT_EQ(parser.Parse(), 0);
      EXPECT_EQ(parser.GetStrValue("x"), text);
    }
  }
}

TEST(Literal, RandomBytesReadBack) {
  SCOPED_TRACE(random_kel::SeedText());
  random_kel::Maker maker(random_kel::Seed());
  for (int round = 0; round < 5000; ++round) {
    const SV::String text = Str(maker.Bytes());
    TavKelParser parser(SV::String("A ") += TavKelParser::GetKelTextOfStrValue(text));
    ASSERT_EQ(parser.Parse(), 0);
    EXPECT_EQ(parser.GetStrValue(), text);
  }
}

TEST(Real, KeepsAPointOrAnExponent) {
  EXPECT_EQ(RealText(0.0), "0.0");
  EXPECT_EQ(RealText(-0.0), "-0.0");
  EXPECT_EQ(RealText(1.0), "1.0");
  EXPECT_EQ(RealText(-2.5), "-2.5");
  EXPECT_EQ(RealText(0.1), "0.1");
  EXPECT_EQ(RealText(100000.0), "100000.0");
  EXPECT_EQ(RealText(1e15), "1000000000000000.0");
  EXPECT_EQ(RealText(1e16), "1e+16");
  EXPECT_EQ(RealText(1e-5), "0.00001");
  EXPECT_EQ(RealText(1e-7), "1e-07");
  EXPECT_EQ(RealText(std::numeric_limits<double>::max()), "1.7976931348623157e+308");
  EXPECT_EQ(RealText(5e-324), "5e-324");
  EXPECT_EQ(RealText(HUGE_VAL), "inf");
  EXPECT_EQ(RealText(-HUGE_VAL), "-inf");
  EXPECT_EQ(RealText(std::nan("")), "nan");
}

TEST(Real, ReadsBackToTheSameValue) {
  SCOPED_TRACE(random_kel::SeedText());
  random_kel::Maker maker(random_kel::Seed());
  for (int round = 0; round < 50000; ++round) {
    const double real = maker.Real();
    const std::string text = RealText(real);
    EXPECT_NE(text.find_first_of(".e"), std::string::npos) << text;
    const kel::ScannedNumber number = kel::ScanNumber(text.data(), text.data() + text.size());
    ASSERT_EQ(number.error, nullptr) << text;
    EXPECT_TRUE(number.isReal);
    EXPECT_EQ(number.real, real) << text;
  }
}

// As short as the standard library's shortest, whichever way it was found.
TEST(Real, IsTheShortest) {
  SCOPED_TRACE(random_kel::SeedText());
  random_kel::Maker maker(random_kel::Seed());
  for (int round = 0; round < 50000; ++round) {
    double real = static_cast<double>(maker.Below(0xFFFFFFFF)) * (maker.Below(2) ? 1.0 : 3e5);
    for (std::uint32_t n = maker.Below(8); n > 0; --n) real /= 10;
    if (maker.Below(2)) real = -real;
    if (real != 0 && std::fabs(real) < 1e-5) continue;
    char shortest[64];
    const auto end =
        std::to_chars(shortest, shortest + sizeof shortest, real, std::chars_format::fixed).ptr;
    std::string expected(shortest, end);
    if (expected.find('.') == std::string::npos) expected += ".0";
    ASSERT_EQ(RealText(real), expected);
  }
}

TEST(Text, OfPlainValues) {
  const kel::Value string(SV::String("a\"b"));
  EXPECT_EQ(Text(string, false), "a\"b");
  EXPECT_EQ(Text(string, true), "\"a\\\"b\"");
  EXPECT_EQ(Text(kel::Value(-5), false), "-5");
  EXPECT_EQ(Text(kel::Value(2.0), false), "2.0");
  EXPECT_EQ(Text(kel::Value(SV::String("word"), TavKelWord), true), "word");
  EXPECT_EQ(Text(kel::Value(SV::String("no word"), TavKelWord), true), "\"no word\"");
  EXPECT_EQ(Text(kel::Value(), true), "");
}

TEST(Text, OfListsAndRecordsIsTheirInside) {
  kel::Value inner = kel::Value::List();
  inner.MutableList().items = {kel::Value(1), kel::Value(SV::String("x"))};
  kel::Value record = kel::Value::Record();
  record.MutableRecord().At("a") = inner;
  record.MutableRecord().At("b c") = kel::Value(2.5);
  EXPECT_EQ(Text(inner, false), "1, \"x\"");
  EXPECT_EQ(Text(record, false), "a: (1, \"x\"), \"b c\": 2.5");
  EXPECT_EQ(Kel(record), "(a: (1, \"x\"), \"b c\": 2.5)");
  EXPECT_EQ(Text(kel::Value::List(), false), "");
  EXPECT_EQ(Kel(kel::Value::List()), "()");
  EXPECT_EQ(Text(kel::Value::Record(), false), "");
  EXPECT_EQ(Kel(kel::Value::Record()), "(:)");
}

TEST(Text, RandomValuesReadBack) {
  SCOPED_TRACE(random_kel::SeedText());
  random_kel::Maker maker(random_kel::Seed());
  for (int round = 0; round < 3000; ++round) {
    const kel::Value value = maker.Value(4);
    const std::string text = "A x:" + Kel(value);
    const auto document = Parse(text);
    ASSERT_TRUE(document) << text << "\n" << parsing::ErrorOf(text);
    ExpectSame(kel::ToValue(document->Elements()[0].attributes[0].operand, document), value);
    ASSERT_EQ(parsing::Reparsed(text), text);
  }
}

TEST(Text, RandomElementsReadBack) {
  SCOPED_TRACE(random_kel::SeedText());
  random_kel::Maker maker(random_kel::Seed());
  for (int round = 0; round < 2000; ++round) {
    const std::string text = maker.Element(3);
    const std::string once = parsing::Reparsed(text);
    ASSERT_TRUE(Parse(text)) << text << "\n" << once;
    ASSERT_EQ(parsing::Reparsed(once), once);
  }
}

TEST(ToValue, BodyLivesOnWithoutItsDocument) {
  kel::Value body;
  {
    const auto document = Parse("A b:{X 1; Y \"t\\n\" z}");
    body = kel::ToValue(document->Elements()[0].attributes[0].operand, document);
  }
  EXPECT_EQ(Kel(body), "{X 1; Y \"t\\n\" z}");
}

TEST(ToValue, BodyWithoutOwnerBecomesADocumentOfItsOwn) {
  kel::Value body;
  {
    const auto document = Parse("A b:{X 1 y:(1, {Z \"}\"}); W}");
    body = kel::ToValue(document->Elements()[0].attributes[0].operand, nullptr);
  }
  EXPECT_EQ(Kel(body), "{X 1 y:(1, {Z \"}\"}); W}");
}

TEST(ToValue, BorrowedValuesAreShared) {
  const kel::Value text(SV::String("a long enough text"));
  const kel::Operand operand = kel::Borrow(text);
  EXPECT_EQ(kel::TextOf(operand).GetStr(), text.Text().GetStr());
  EXPECT_EQ(kel::ToValue(operand, nullptr).Text().GetStr(), text.Text().GetStr());
  EXPECT_TRUE(kel::Borrow(kel::Value()).IsNone());
  EXPECT_EQ(kel::Borrow(kel::Value(7)).integer, 7);
  EXPECT_EQ(kel::Borrow(kel::Value(7.5)).real, 7.5);
}

TEST(KelText, TellsAMeterOfItsWork) {
  using kel::Value;
  Value value = Value::List();
  for (int i = 0; i < 12; ++i) {
    Value outer = Value::List();
    outer.MutableList().items = {value, value};
    value = outer;
  }
  CountingMeter meter;
  SV::String text;
  kel::AppendKel(text, value, &meter);
  EXPECT_GT(meter.Work(), 4096);
  SV::String same;
  kel::AppendKel(same, value);
  EXPECT_TRUE(text == same);

  const std::string bytes(300'000, '\n');
  SV::String metered;
  SV::String plain;
  const int polls = meter.Polls();
  const Value list = [&bytes] {
    Value one = Value::List();
    one.MutableList().items = {Value(base::StringOf(bytes))};
    return one;
  }();
  kel::AppendKel(metered, list, &meter);
  kel::AppendKel(plain, list);
  EXPECT_TRUE(metered == plain);
  EXPECT_GT(meter.Polls(), polls + 3);
}

}  // namespace
