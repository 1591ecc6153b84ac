#include "host/base/string.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

using SV::String;

String Str(std::string_view text) { return String(text.data(), static_cast<long>(text.size())); }

TEST(String, Construction) {
  EXPECT_EQ(String().Len(), 0);
  EXPECT_STREQ(String().GetStr(), "");
  EXPECT_EQ(String("abc").Len(), 3);
  EXPECT_EQ(String(static_cast<const char*>(nullptr)).Len(), 0);
  EXPECT_EQ(String("a\0b", 3).View(), std::string_view("a\0b", 3));
  EXPECT_EQ(String("abc", 2), "ab");
  EXPECT_EQ(String("abc", 0).Len(), 0);
  EXPECT_EQ(String("abc", -1).Len(), 0);
  EXPECT_EQ(String(nullptr, 0).Len(), 0);
}

TEST(String, Numbers) {
  EXPECT_EQ(String(0), "0");
  EXPECT_EQ(String(-1), "-1");
  EXPECT_EQ(String(std::numeric_limits<int>::min()), "-2147483648");
  EXPECT_EQ(String(std::numeric_limits<int>::max()), "2147483647");
  EXPECT_EQ(String(-42L), "-42");
  EXPECT_EQ(std::string(String(std::numeric_limits<long>::min()).GetStr()),
            std::to_string(std::numeric_limits<long>::min()));
}

TEST(String, EndsWithANulThatDoesNotCount) {
  String text("ab");
  text += 'c';
  EXPECT_EQ(text.GetStr()[3], '\0');
  text.Erase(1, 1);
  EXPECT_EQ(text.GetStr()[2], '\0');
  char* buffer = text.AllocBuffer(5);
  EXPECT_EQ(buffer[5], '\0');
}

TEST(String, CopiesShareUntilOneChanges) {
  const String first("some text");
  String second(first);
  EXPECT_EQ(first.GetStr(), second.GetStr());
  String third;
  third = second;
  EXPECT_EQ(first.GetStr(), third.GetStr());
  second += '!';
  EXPECT_EQ(first, "some text");
  EXPECT_EQ(second, "some text!");
  third.Erase(0, 5);
  EXPECT_EQ(first, "some text");
  EXPECT_EQ(third, "text");
  String upper(first);
  upper.ToUpper();
  EXPECT_EQ(first, "some text");
  EXPECT_EQ(upper, "SOME TEXT");
  String written(first);
  written.AllocBuffer(4)[0] = 'x';
  EXPECT_EQ(first, "some text");
}

TEST(String, SharedRoomIsNotWrittenTwice) {
  String first("abc");
  first += 'd';  // has room for more now
  String second(first);
  second += 'X';
  first += 'Y';
  EXPECT_EQ(first, "abcdY");
  EXPECT_EQ(second, "abcdX");
}

TEST(String, Moves) {
  String first("text");
  const char* const bytes = first.GetStr();
  String second(std::move(first));
  EXPECT_EQ(second.GetStr(), bytes);
  EXPECT_EQ(first.Len(), 0);  // NOLINT: the point of the test
  String third("other");
  third = std::move(second);
  EXPECT_EQ(third, "text");
}

TEST(String, AssigningItself) {
  String text("text");
  String& self = text;
  text = self;
  EXPECT_EQ(text, "text");
  text = std::move(self);
  EXPECT_EQ(text, "text");
}

TEST(String, AppendsItself) {
  String text("ab");
  for (int round = 0; round < 10; ++round) text += text;
  EXPECT_EQ(text.Len(), 2048);
  for (long i = 0; i < text.Len(); ++i) ASSERT_EQ(text.GetChar(i), "ab"[i % 2]);
  String part("0123456789");
  part.Append(part.GetStr() + 3, 4);
  EXPECT_EQ(part, "01234567893456");
  part.Append(part.GetStr() + 1, 2);  // inside, with room
  EXPECT_EQ(part, "0123456789345612");
  String empty;
  empty += empty;
  EXPECT_EQ(empty.Len(), 0);
}

TEST(String, AppendToEmptyShares) {
  const String text("text");
  String to;
  to += text;
  EXPECT_EQ(to.GetStr(), text.GetStr());
}

TEST(String, AppendNothing) {
  String text("a");
  text.Append("bcd", 0).Append(nullptr, 0).Append("x", -5);
  EXPECT_EQ(text, "a");
  text += String();
  EXPECT_EQ(text, "a");
  text += '\0';
  EXPECT_EQ(text.Len(), 2);
}

TEST(String, ComparesEveryByteUnsigned) {
  EXPECT_TRUE(Str(std::string_view("a\0b", 3)) == Str(std::string_view("a\0b", 3)));
  EXPECT_FALSE(Str(std::string_view("a\0b", 3)) == Str(std::string_view("a\0c", 3)));
  EXPECT_FALSE(Str(std::string_view("a\0b", 3)) == "a");
  EXPECT_TRUE(String() == "");
  EXPECT_TRUE(String() == static_cast<const char*>(nullptr));
  EXPECT_TRUE(String("a") < String("b"));
  EXPECT_TRUE(String("a") < String("aa"));
  EXPECT_TRUE(String("") < String("a"));
  EXPECT_FALSE(String("a") < String("a"));
  EXPECT_TRUE(String("z") < String("\xFF"));
  EXPECT_TRUE(Str(std::string_view("a\0", 2)) < String("a\1"));
}

TEST(String, Characters) {
  const String text("abc");
  EXPECT_EQ(text.GetChar(0), 'a');
  EXPECT_EQ(text.GetChar(2), 'c');
  EXPECT_EQ(text.GetChar(3), '\0');
  EXPECT_EQ(text.GetChar(-1), '\0');
  EXPECT_EQ(String().GetChar(0), '\0');
}

TEST(String, AllocBuffer) {
  String text("before");
  char* buffer = text.AllocBuffer(3);
  std::copy_n("xyz", 3, buffer);
  EXPECT_EQ(text, "xyz");
  text.AllocBuffer(0);
  EXPECT_EQ(text.Len(), 0);
  text.AllocBuffer(-3);
  EXPECT_EQ(text.Len(), 0);
  const long large = 5L << 20;  // from the system's huge pages
  char* bytes = text.AllocBuffer(large);
  bytes[0] = 'f';
  bytes[large - 1] = 'l';
  const String shared(text);
  text += '!';
  EXPECT_EQ(text.Len(), large + 1);
  EXPECT_EQ(text.GetChar(large - 1), 'l');
  EXPECT_EQ(shared.Len(), large);
  EXPECT_EQ(shared.GetChar(0), 'f');
}

TEST(String, TooLongThrowsAndChangesNothing) {
  String text("text");
  EXPECT_THROW(text.Append("x", String::kMaxLength), std::length_error);
  EXPECT_EQ(text, "text");
  if constexpr (sizeof(long) > 4) {
    const auto tooLong = static_cast<long>(std::int64_t{String::kMaxLength} + 1);
    EXPECT_THROW(text.AllocBuffer(tooLong), std::length_error);
    EXPECT_THROW(String("x", tooLong), std::length_error);
    EXPECT_EQ(text, "text");
  }
}

TEST(String, Erase) {
  EXPECT_EQ(String("abcdef").Erase(0, 2), "cdef");
  EXPECT_EQ(String("abcdef").Erase(4, 2), "abcd");
  EXPECT_EQ(String("abcdef").Erase(4, 100), "abcd");
  EXPECT_EQ(String("abcdef").Erase(2, std::numeric_limits<long>::max()), "ab");
  EXPECT_EQ(String("abcdef").Erase(0, 6), "");
  EXPECT_EQ(String("abcdef").Erase(6, 1), "abcdef");
  EXPECT_EQ(String("abcdef").Erase(-1, 1), "abcdef");
  EXPECT_EQ(String("abcdef").Erase(1, 0), "abcdef");
  EXPECT_EQ(String("abcdef").Erase(1, -1), "abcdef");
  EXPECT_EQ(String().Erase(0, 1), "");
}

TEST(String, Copy) {
  const String text("abcdef");
  EXPECT_EQ(text.Copy(1, 2), "bc");
  EXPECT_EQ(text.Copy(4, 100), "ef");
  EXPECT_EQ(text.Copy(1, std::numeric_limits<long>::max()), "bcdef");
  EXPECT_EQ(text.Copy(0, 6).GetStr(), text.GetStr()) << "the whole is shared";
  EXPECT_EQ(text.Copy(6, 1), "");
  EXPECT_EQ(text.Copy(-1, 3), "");
  EXPECT_EQ(text.Copy(0, -1), "");
}

TEST(String, Search) {
  EXPECT_EQ(String("abcabc").Search("bc"), 1);
  EXPECT_EQ(String("abc").Search("x"), -1);
  EXPECT_EQ(String("abc").Search("abcd"), -1);
  EXPECT_EQ(String("abc").Search(""), 0);
  EXPECT_EQ(Str(std::string_view("a\0b", 3)).Search(String("\0b", 2)), 1);
}

TEST(String, Tokens) {
  EXPECT_EQ(String().GetTokenCount(' '), 0);
  EXPECT_EQ(String("a").GetTokenCount(' '), 1);
  EXPECT_EQ(String(" ").GetTokenCount(' '), 2);
  EXPECT_EQ(String("a b  c").GetTokenCount(' '), 4);
  const String text("a*bc**d");
  EXPECT_EQ(text.GetToken(0, '*'), "a");
  EXPECT_EQ(text.GetToken(1, '*'), "bc");
  EXPECT_EQ(text.GetToken(2, '*'), "");
  EXPECT_EQ(text.GetToken(3, '*'), "d");
  EXPECT_EQ(text.GetToken(4, '*'), "");
  EXPECT_EQ(text.GetToken(-1, '*'), "");
  EXPECT_EQ(String().GetToken(0, '*'), "");
  EXPECT_EQ(Str(std::string_view("a\0b", 3)).GetToken(1, '\0'), "b");
}

TEST(String, CaseOfAsciiLettersOnly) {
  EXPECT_EQ(String("aZ[`{@\xC3\x84").ToLower(), "az[`{@\xC3\x84");
  EXPECT_EQ(String("aZ[`{@\xC3\xA4").ToUpper(), "AZ[`{@\xC3\xA4");
  EXPECT_EQ(String().ToUpper(), "");
}

// Random operations on strings that share, beside std::string.
TEST(String, BehavesLikeAPlainString) {
  const char* const given = std::getenv("TAVHOST_TEST_SEED");
  const std::uint32_t seed =
      given ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10)) : std::random_device()();
  SCOPED_TRACE("TAVHOST_TEST_SEED=" + std::to_string(seed));
  std::mt19937 random(seed);
  String strings[4];
  std::string models[4];
  for (int step = 0; step < 20000; ++step) {
    const std::size_t to = random() % 4;
    const std::size_t from = random() % 4;
    const long at = static_cast<long>(random() % 40) - 2;
    const long count = static_cast<long>(random() % 40) - 2;
    switch (random() % 8) {
      case 0:
        strings[to] = strings[from];
        models[to] = models[from];
        break;
      case 1:
        if (models[to].size() > 4000) break;
        strings[to] += strings[from];
        models[to] += std::string(models[from]);
        break;
      case 2: {
        const char byte = static_cast<char>(random());
        strings[to] += byte;
        models[to] += byte;
        break;
      }
      case 3:
        strings[to].Erase(at, count);
        if (at >= 0 && count > 0 && at < static_cast<long>(models[to].size())) {
          models[to].erase(static_cast<std::size_t>(at), static_cast<std::size_t>(count));
        }
        break;
      case 4: {
        strings[to] = strings[from].Copy(at, count);
        const bool inside = at >= 0 && count > 0 && at < static_cast<long>(models[from].size());
        models[to] = inside ? models[from].substr(static_cast<std::size_t>(at),
                                                  static_cast<std::size_t>(count))
                            : std::string();
        break;
      }
      case 5:
        strings[to] = String(models[from].data(), static_cast<long>(models[from].size()));
        models[to] = models[from];
        break;
      case 6: {
        String taken(std::move(strings[from]));
        strings[from] = String();
        const std::string model = std::exchange(models[from], std::string());
        strings[to] = std::move(taken);
        models[to] = model;
        break;
      }
      default:
        strings[to].ToLower();
        for (char& byte : models[to]) {
          if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte + 32);
        }
        break;
    }
    for (int i = 0; i < 4; ++i) {
      ASSERT_EQ(strings[i].View(), models[i]);
      ASSERT_EQ(strings[i].GetStr()[strings[i].Len()], '\0');
    }
  }
}

TEST(Number, Atoi) {
  EXPECT_EQ(SV::h_atoi("12"), 12);
  EXPECT_EQ(SV::h_atoi("-12"), -12);
  EXPECT_EQ(SV::h_atoi("+12"), 12);
  EXPECT_EQ(SV::h_atoi(" \t\n12abc"), 12);
  EXPECT_EQ(SV::h_atoi("abc"), 0);
  EXPECT_EQ(SV::h_atoi(""), 0);
  EXPECT_EQ(SV::h_atoi("-"), 0);
  EXPECT_EQ(SV::h_atoi("+-1"), 0);
  EXPECT_EQ(SV::h_atoi("0x10"), 0);
  EXPECT_EQ(SV::h_atoi("1.9"), 1);
  EXPECT_EQ(SV::h_atoi("2147483647"), 2147483647);
  EXPECT_EQ(SV::h_atoi("2147483648"), 2147483647);
  EXPECT_EQ(SV::h_atoi("-2147483648"), std::numeric_limits<int>::min());
  EXPECT_EQ(SV::h_atoi("-2147483649"), std::numeric_limits<int>::min());
  EXPECT_EQ(SV::h_atoi("99999999999999999999999999"), 2147483647);
  EXPECT_EQ(SV::h_atoi(String("1\0"
                              "2",
                              3)),
            1);
}

TEST(Number, Atoui) {
  EXPECT_EQ(SV::h_atoui("12"), 12u);
  EXPECT_EQ(SV::h_atoui("4294967295"), 4294967295u);
  EXPECT_EQ(SV::h_atoui("4294967296"), 4294967295u);
  EXPECT_EQ(SV::h_atoui("99999999999999999999999999"), 4294967295u);
  EXPECT_EQ(SV::h_atoui("-1"), 4294967295u);
  EXPECT_EQ(SV::h_atoui("-2147483648"), 2147483648u);
  EXPECT_EQ(SV::h_atoui("x"), 0u);
  EXPECT_EQ(SV::h_atoui(""), 0u);
}

// Memory of long texts is used again, cut or grown: each must still be its own.
TEST(LongStrings, KeepTheirBytesWhileOthersComeAndGo) {
  constexpr long kMiB = 1L << 20;
  String kept;
  std::memset(kept.AllocBuffer(9 * kMiB), 'k', static_cast<std::size_t>(9 * kMiB));
  char fill = 'a';
  for (const long length : {5 * kMiB, 40 * kMiB, 4 * kMiB, 7 * kMiB + 3, 64 * kMiB, 5000L, 4095L}) {
    String text;
    std::memset(text.AllocBuffer(length), ++fill, static_cast<std::size_t>(length));
    String copy = text;
    copy.Append("END", 3);
    ASSERT_EQ(copy.Len(), length + 3);
    EXPECT_EQ(text.View().find_first_not_of(fill), std::string_view::npos);
    EXPECT_EQ(copy.View().find_first_not_of(fill), static_cast<std::size_t>(length));
    EXPECT_EQ(copy.GetStr()[length + 3], '\0');
  }
  EXPECT_EQ(kept.View().find_first_not_of('k'), std::string_view::npos);
}

}  // namespace
