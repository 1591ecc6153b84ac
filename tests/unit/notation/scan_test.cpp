#include "tavhost/notation/scan.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "tavhost/notation/byte_block_portable.h"
#include "tavhost/notation/kel_text.h"
#include "tests/unit/notation/random_kel.h"

namespace {

kel::ScannedNumber Number(const std::string& text) {
  return kel::ScanNumber(text.data(), text.data() + text.size());
}

std::size_t NameLength(const std::string& text) {
  return static_cast<std::size_t>(kel::ScanName(text.data(), text.data() + text.size()) -
                                  text.data());
}

TEST(Scan, Names) {
  EXPECT_EQ(NameLength(""), 0u);
  EXPECT_EQ(NameLength("-a"), 0u);
  EXPECT_EQ(NameLength("1a"), 0u);
  EXPECT_EQ(NameLength("a"), 1u);
  EXPECT_EQ(NameLength("a-"), 1u);
  EXPECT_EQ(NameLength("a->d"), 1u);
  EXPECT_EQ(NameLength("a--b"), 1u);
  EXPECT_EQ(NameLength("a-b-1-_ "), 7u);
  EXPECT_EQ(NameLength("_9"), 2u);
  EXPECT_EQ(NameLength("a\xC3\xA4"), 1u);
}

// Names as long as a block, one shorter and longer, with a `-` at each place near its end.
TEST(Scan, NamesAcrossBlocks) {
  for (std::size_t length = 1; length < 70; ++length) {
    const std::string name(length, 'n');
    for (const char* rest : {"", ":", " more of the text behind it", "-", "-:", "--a"}) {
      EXPECT_EQ(NameLength(name + rest), length) << length << rest;
    }
    EXPECT_EQ(NameLength(name + "-x"), length + 2);
    EXPECT_EQ(NameLength(name + "-x and more than a block behind"), length + 2);
    EXPECT_TRUE(kel::IsName(name));
    EXPECT_TRUE(kel::IsName(name + "-9"));
    EXPECT_FALSE(kel::IsName(name + "-"));
    EXPECT_FALSE(kel::IsName(name + ":"));
  }
  EXPECT_FALSE(kel::IsName(""));
}

TEST(Scan, BlocksOfEitherKindAgree) {
  SCOPED_TRACE(random_kel::SeedText());
  std::mt19937 random(random_kel::Seed());
  for (int round = 0; round < 2000; ++round) {
    char bytes[16];
    for (char& byte : bytes) {
      byte = static_cast<char>(random() % 4 ? "az AZ_09@`[{/:-\"\\&<>\n\x7F"[random() % 22]
                                            : random());
    }
    for (int half = 0; half < 2; ++half) {
      const kel::portable::ByteBlock portable(bytes + 8 * half);
      const kel::ByteBlock block(bytes);
      const auto here = [half](std::uint32_t mask) { return (mask >> (8 * half)) & 0xFF; };
      if (kel::ByteBlock::kWidth == 16) {
        EXPECT_EQ(portable.Equal('-'), here(block.Equal('-')));
        EXPECT_EQ(portable.EitherOf('"', '\\'), here(block.EitherOf('"', '\\')));
        EXPECT_EQ(portable.NameBytes(), here(block.NameBytes()));
        EXPECT_EQ(portable.XmlSpecial(), here(block.XmlSpecial()));
      }
      for (int i = 0; i < 8; ++i) {
        const char byte = bytes[8 * half + i];
        EXPECT_EQ((portable.NameBytes() >> i) & 1, static_cast<unsigned>(kel::IsNameByte(byte)));
        EXPECT_EQ((portable.Equal('-') >> i) & 1, static_cast<unsigned>(byte == '-'));
      }
    }
  }
}

TEST(Scan, IntegersHave32Bits) {
  EXPECT_EQ(Number("0").integer, 0);
  EXPECT_EQ(Number("-0").integer, 0);
  EXPECT_EQ(Number("007").integer, 7);
  EXPECT_EQ(Number("2147483647").integer, 2147483647);
  EXPECT_EQ(Number("-2147483648").integer, std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(Number("00000000000000000000000000042").integer, 42);
  for (const char* text :
       {"2147483648", "-2147483649", "4294967296", "18446744073709551616",
        "99999999999999999999999999999999", "-99999999999999999999999999999999"}) {
    EXPECT_STREQ(Number(text).error,
                 "integer out of range; integers lie between -2147483648 and 2147483647");
  }
}

TEST(Scan, Reals) {
  const auto real = [](const char* text) {
    const kel::ScannedNumber number = Number(text);
    EXPECT_EQ(number.error, nullptr) << text;
    EXPECT_TRUE(number.isReal) << text;
    return number.real;
  };
  EXPECT_EQ(real("1.5"), 1.5);
  EXPECT_EQ(real("-0.25"), -0.25);
  EXPECT_EQ(real("1e3"), 1000.0);
  EXPECT_EQ(real("1E+3"), 1000.0);
  EXPECT_EQ(real("12.5e-2"), 0.125);
  EXPECT_EQ(real("0.1"), 0.1);
  EXPECT_EQ(real("123456789012345678901234567890.5"), 123456789012345678901234567890.5);
  EXPECT_EQ(real("1.7976931348623157e308"), std::numeric_limits<double>::max());
  EXPECT_EQ(real("5e-324"), std::numeric_limits<double>::denorm_min());
  EXPECT_EQ(real("1e-400"), 0.0);
  EXPECT_EQ(real("0e999999999999"), 0.0);
  EXPECT_EQ(real("0.0000000000000000000000000000000001e34"), 1.0);
  EXPECT_TRUE(std::signbit(real("-0.0")));
  EXPECT_TRUE(std::signbit(real("-1e-400")));
  for (const char* text : {"1e309", "-1e309", "1e99999999999999999999", "100000e304"}) {
    EXPECT_STREQ(Number(text).error, "real out of range") << text;
  }
}

TEST(Scan, RealsAreTheNearestDouble) {
  SCOPED_TRACE(random_kel::SeedText());
  std::mt19937 random(random_kel::Seed());
  for (int round = 0; round < 20000; ++round) {
    std::string text = random() % 2 ? "-" : "";
    for (unsigned n = 1 + random() % 12; n > 0; --n) text += static_cast<char>('0' + random() % 10);
    text += '.';
    for (unsigned n = 1 + random() % 26; n > 0; --n) text += static_cast<char>('0' + random() % 10);
    EXPECT_EQ(Number(text).real, std::strtod(text.c_str(), nullptr)) << text;
  }
}

TEST(Scan, MalformedNumbers) {
  for (const char* text : {"-", "-x", "1.", "1.e5", "1e", "1e+", "1.5.2", "1x", "1_", "0x10",
                           "1-2x", "1.5e3.2", "--1"}) {
    if (std::string(text) == "1-2x") {
      EXPECT_EQ(Number(text).error, nullptr) << "a `-` ends the number";
    } else {
      EXPECT_STREQ(Number(text).error, "malformed number") << text;
    }
  }
}

TEST(Scan, Escapes) {
  const std::string text = "\"a\\\"\\\\\\n\\r\\t\\0\\x41\\xfF\" rest";
  const kel::ScannedString string = kel::ScanString(text.data(), text.data() + text.size());
  EXPECT_EQ(string.error, nullptr);
  EXPECT_TRUE(string.isEscaped);
  EXPECT_EQ(std::string(string.end), " rest");
  const auto length = static_cast<std::size_t>(string.end - text.data()) - 2;
  EXPECT_EQ(kel::Unescape({text.data() + 1, length}).View(),
            std::string_view("a\"\\\n\r\t\0A\xFF", 9));
}

TEST(Scan, UnknownEscapes) {
  for (const std::string& inside :
       std::vector<std::string>{"\\q", "\\x", "\\x4", "\\xg0", "\\N", std::string("\\\0", 2)}) {
    const std::string text = "\"" + inside + "\"";
    EXPECT_NE(kel::ScanString(text.data(), text.data() + text.size()).error, nullptr) << text;
  }
}

// The closing quote and an escape at every place of a block.
TEST(Scan, StringsOfEveryLength) {
  for (std::size_t length = 0; length < 70; ++length) {
    const std::string plain(length, 'x');
    for (const std::string behind : {"", " rest", " a long rest of the text behind the string"}) {
      const std::string text = "\"" + plain + "\"" + behind;
      const auto string = kel::ScanString(text.data(), text.data() + text.size());
      EXPECT_EQ(string.error, nullptr);
      EXPECT_FALSE(string.isEscaped);
      EXPECT_EQ(static_cast<std::size_t>(string.end - text.data()), length + 2);
      const std::string escaped = "\"" + plain + "\\n" + "\"" + behind;
      const auto other = kel::ScanString(escaped.data(), escaped.data() + escaped.size());
      EXPECT_TRUE(other.isEscaped);
      EXPECT_EQ(static_cast<std::size_t>(other.end - escaped.data()), length + 4);
      const std::string open = "\"" + plain;
      EXPECT_NE(kel::ScanString(open.data(), open.data() + open.size()).error, nullptr);
    }
  }
}

}  // namespace
