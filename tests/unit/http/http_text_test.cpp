#include "tavhost/http/http_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/base/wstring.h"
#include "tavhost/base/stop.h"
#include "tavhost/base/string_of.h"
#include "tavhost/base/utf16.h"
#include "tavhost/http/http_converter.h"

namespace {

using http::TextOf;

constexpr std::string_view kUnknown = "\xEF\xBF\xBD";  // U+FFFD

// However the body is cut, the text is the same.
void ExpectText(std::string_view charset, std::string_view body, std::string_view expected) {
  const SV::String bytes = base::StringOf(body);
  for (std::size_t slice = 1; slice <= body.size() + 1; ++slice) {
    EXPECT_EQ(TextOf(charset, bytes, slice).View(), expected) << charset << ", cut by " << slice;
  }
  SV::String taken(bytes);
  EXPECT_EQ(http::TakeTextOf(charset, taken).View(), expected) << charset;
}

std::string Unknown(int count) {
  std::string text;
  while (count-- > 0) text += kUnknown;
  return text;
}

TEST(BodyText, NamedCharsets) {
  const std::string_view greeting = "a gr\xC3\xBC\xC3\x9F, \xE2\x82\xAC and \xF0\x9F\x98\x80!";
  ExpectText("utf-8", greeting, greeting);
  ExpectText("UTF8", greeting, greeting);
  ExpectText("windows-1252", "long ascii text, gr\xFC\xDF \x80\x81",
             "long ascii text, gr\xC3\xBC\xC3\x9F \xE2\x82\xAC\xC2\x81");
  ExpectText("ISO-8859-1", "gr\xFC\xDF \x80", "gr\xC3\xBC\xC3\x9F \xC2\x80");
  ExpectText("utf-16le", std::string_view("g\0r\0\xFC\0\x3D\xD8\0\xDE", 10),
             "gr\xC3\xBC\xF0\x9F\x98\x80");
  ExpectText("utf-16be", std::string_view("\0g\0r\0\xFC\xD8\x3D\xDE\0", 10),
             "gr\xC3\xBC\xF0\x9F\x98\x80");
  ExpectText("utf-16", std::string_view("\0g\0r", 4), "gr");
}

TEST(BodyText, Utf32) {
  const std::string_view big("\0\0\0g\0\0\0\xFC\0\1\xF6\0", 12);
  const std::string_view little("g\0\0\0\xFC\0\0\0\0\xF6\1\0", 12);
  const std::string_view expected = "g\xC3\xBC\xF0\x9F\x98\x80";
  ExpectText("utf-32be", big, expected);
  ExpectText("UTF-32LE", little, expected);
  ExpectText("utf-32", big, expected);  // big-endian without a mark
  ExpectText("utf-32", std::string("\0\0\xFE\xFF", 4).append(big), expected);
  ExpectText("utf-32", std::string("\xFF\xFE\0\0", 4).append(little), expected);
  for (const char* const said : {"", "x-unknown"}) {  // a mark alone tells it too
    ExpectText(said, std::string("\0\0\xFE\xFF", 4).append(big), expected);
    ExpectText(said, std::string("\xFF\xFE\0\0", 4).append(little), expected);
  }
  ExpectText("utf-16", std::string_view("\xFF\xFE\0\0a\0", 6), std::string("\0a", 2));
  ExpectText("utf-32", "", "");
  ExpectText("utf-32", std::string_view("\0\0\0", 3), Unknown(1));
  ExpectText("utf-32be", std::string_view("\0\0\xD8\0\0\x11\0\0\xFF\xFF\xFF\xFF\0\0\0a\0", 17),
             Unknown(3) + "a" + Unknown(1));
}

TEST(BodyText, ByteOrderMarks) {
  ExpectText("", "\xEF\xBB\xBFgr\xC3\xBC", "gr\xC3\xBC");
  ExpectText("utf-8", "\xEF\xBB\xBFgr\xC3\xBC", "gr\xC3\xBC");
  ExpectText("", "\xEF\xBB\xBFgr\xFC", "gr" + Unknown(1));
  ExpectText("", std::string_view("\xFF\xFEg\0r\0", 6), "gr");
  ExpectText("", std::string_view("\xFE\xFF\0g\0r", 6), "gr");
  ExpectText("utf-16", std::string_view("\xFF\xFEg\0", 4), "g");
  ExpectText("no-such-set", "\xEF\xBB\xBFx", "x");
  ExpectText("", "\xEF\xBB\xBF", "");
  ExpectText("", "\xFF\xFE", "");
  ExpectText("", "\xEF\xBB", "\xC3\xAF\xC2\xBB");
}

TEST(BodyText, WithoutACharset) {
  ExpectText("", "", "");
  ExpectText("", "x", "x");
  ExpectText("", "gr\xC3\xBC\xC3\x9F", "gr\xC3\xBC\xC3\x9F");
  ExpectText("", "gr\xFC\xDF", "gr\xC3\xBC\xC3\x9F");
  ExpectText("", "gr\xC3\xBC\xC3", "gr\xC3\x83\xC2\xBC\xC3\x83");  // not UTF-8 to its end
  ExpectText("no-such-set", "gr\xC3\xBC", "gr\xC3\xBC");
}

TEST(BodyText, WhatIsNotAllowed) {
  ExpectText("utf-8",
             "a\xFF"
             "b",
             "a" + Unknown(1) + "b");
  ExpectText("utf-8", "a\xC3", "a" + Unknown(1));
  ExpectText("utf-16le", std::string_view("a\0b", 3), "a" + Unknown(1));
  ExpectText("utf-16le",
             std::string_view("\x3D\xD8"
                              "a\0",
                              4),
             Unknown(1) + "a");
  ExpectText("utf-16le", std::string_view("\0\xDE\x3D\xD8", 4), Unknown(2));
  ExpectText("utf-16le", std::string_view("\x3D\xD8x", 3), Unknown(2));
}

// Many units are taken at once where nothing stands against it: whatever stands among them, at each
// place, must come out as it does unit by unit.
TEST(BodyText, Utf16InEveryCombination) {
  struct Part {
    char16_t unit;
    std::string_view text;
  };
  const std::string_view broken = kUnknown;
  const Part parts[] = {{u'a', "a"},
                        {u'\x7F', "\x7F"},
                        {u'\x80', "\xC2\x80"},
                        {u'\u07FF', "\xDF\xBF"},
                        {u'\u0800', "\xE0\xA0\x80"},
                        {u'\uFFFF', "\xEF\xBF\xBF"},
                        {char16_t{0xD83D}, broken},
                        {char16_t{0xDE00}, broken}};
  constexpr std::size_t kLength = 19;
  for (const Part& around : parts) {
    for (std::size_t at = 0; at + 1 < kLength; ++at) {
      for (const Part& first : parts) {
        for (const Part& second : parts) {
          std::vector<Part> all(kLength, around);
          all[at] = first;
          all[at + 1] = second;
          std::string little;
          std::string big;
          std::string expected;
          for (std::size_t i = 0; i < kLength; ++i) {
            const char16_t unit = all[i].unit;
            (little += static_cast<char>(unit & 0xFF)) += static_cast<char>(unit >> 8);
            (big += static_cast<char>(unit >> 8)) += static_cast<char>(unit & 0xFF);
            const bool isPair = unit == 0xD83D && i + 1 < kLength && all[i + 1].unit == 0xDE00;
            expected += isPair ? "\xF0\x9F\x98\x80" : all[i].text;
            if (!isPair) continue;
            const char16_t low = all[++i].unit;
            (little += static_cast<char>(low & 0xFF)) += static_cast<char>(low >> 8);
            (big += static_cast<char>(low >> 8)) += static_cast<char>(low & 0xFF);
          }
          for (const std::size_t slice : {std::size_t{1000}, std::size_t{17}, std::size_t{2}}) {
            EXPECT_EQ(TextOf("utf-16le", base::StringOf(little), slice).View(), expected);
            EXPECT_EQ(TextOf("utf-16be", base::StringOf(big), slice).View(), expected);
          }
        }
      }
    }
  }
}

// The same as of the whole, whatever stands beside what.
TEST(BodyText, BrokenUtf8InEveryCombination) {
  const std::string_view parts[] = {"a",        "\x80", "\xBF",         "\xC2",         "\xC3\xBC",
                                    "\xE2\x82", "\xE0", "\xED\xA0\x80", "\xF0\x9F\x98", "\xF4\x90",
                                    "\xFF"};
  for (const std::string_view first : parts) {
    for (const std::string_view second : parts) {
      for (const std::string_view third : parts) {
        const std::string body = std::string(first) + std::string(second) + std::string(third);
        std::string room;
        const std::string expected(utf16::WellFormed(body, room));
        ExpectText("utf-8", body, expected);
      }
    }
  }
}

TEST(BodyText, TheCheckFindsWhatIsUtf8) {
  const std::string_view parts[] = {"a",
                                    "\x80",
                                    "\xC1\x80",
                                    "\xC2\x80",
                                    "\xDF\xBF",
                                    "\xE0\x9F\x80",
                                    "\xE0\xA0\x80",
                                    "\xED\x9F\xBF",
                                    "\xED\xA0\x80",
                                    "\xEF\xBF\xBF",
                                    "\xF0\x8F\x80\x80",
                                    "\xF0\x90\x80\x80",
                                    "\xF4\x8F\xBF\xBF",
                                    "\xF4\x90\x80\x80",
                                    "\xF5\x80\x80\x80",
                                    "\xE2\x82",
                                    "ascii ascii ascii"};
  for (const std::string_view first : parts) {
    for (const std::string_view second : parts) {
      const std::string bytes = std::string(first) + std::string(second);
      std::string room;
      const bool isGood = utf16::WellFormed(bytes, room).data() == bytes.data();
      http::Utf8Check check;
      EXPECT_EQ(check.Append(first) && check.Append(second) && check.IsComplete(), isGood)
          << testing::PrintToString(bytes);
    }
  }
}

TEST(BodyText, ABodyThatIsItsTextIsNotCopied) {
  const SV::String body = base::StringOf(std::string(100000, 'x') + "\xC3\xBC");
  const SV::String whole = TextOf("", body);
  EXPECT_EQ(whole.GetStr(), body.GetStr());
  EXPECT_EQ(SV::ConvertWStringToUTF8String(SV::WString::OfUtf8(whole)).GetStr(), body.GetStr());
}

TEST(BodyText, AStopEndsTheWork) {
  const SV::String body = base::StringOf(std::string(3 << 20, '\xFF'));
  for (const char* charset : {"utf-8", "windows-1252", "utf-16le", "shift_jis"}) {
    stop::Request(stop::Reason::kUser);
    EXPECT_THROW(TextOf(charset, body), stop::Stopped) << charset;
    stop::Clear();
  }
  EXPECT_EQ(TextOf("utf-8", body).Len(), 3 * body.Len());
}

// So long that parts of it are given back on the way.
TEST(BodyText, LongBodiesAreUsedUp) {
  std::string text;
  while (text.size() < (std::size_t{9} << 20)) text += "gr\xFC\xDF";
  SV::String body = base::StringOf(text);
  const SV::String kept = TextOf("iso-8859-1", body);
  EXPECT_EQ(kept.Len(), body.Len() / 4 * 6);
  EXPECT_TRUE(body.View() == text);
  EXPECT_TRUE(http::TakeTextOf("iso-8859-1", body).View() == kept.View());
  EXPECT_EQ(body.Len(), 0);
}

}  // namespace
