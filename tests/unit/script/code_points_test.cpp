#include "tavhost/script/code_points.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "tavhost/base/string_of.h"
#include "tests/support/counting_meter.h"

namespace {

using script::ByteOf;
using script::CodePoints;

bool IsContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

// Where each code point begins, found by walking from the start.
std::vector<std::size_t> Starts(const std::string& text) {
  std::vector<std::size_t> starts;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (i == 0 || !IsContinuation(text[i])) starts.push_back(i);
  }
  return starts;
}

void ExpectRight(const std::string& text) {
  CountingMeter meter;
  const SV::String string = base::StringOf(text);
  const std::vector<std::size_t> starts = Starts(text);
  ASSERT_EQ(CodePoints(string, meter), static_cast<std::int32_t>(starts.size()));
  for (std::size_t i = starts.size(); i-- > 0;) {
    ASSERT_EQ(ByteOf(string, static_cast<std::int32_t>(i), meter), starts[i]) << i;
  }
  EXPECT_EQ(ByteOf(string, static_cast<std::int32_t>(starts.size()), meter), text.size());
  EXPECT_EQ(ByteOf(string, static_cast<std::int32_t>(starts.size()) + 1000, meter), text.size());
}

TEST(CodePoints, AreFoundInTextsOfEveryKind) {
  const std::string parts[] = {"a",    "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80",
                               "\x80", "\xFF",     "plain text"};
  std::minstd_rand random(1);
  for (std::size_t length : {0, 1, 5, 16, 60, 64, 65, 127, 128, 129, 255, 256, 1000, 40'000}) {
    for (int round = 0; round < 4; ++round) {
      std::string text;
      while (text.size() < length) text += parts[random() % (round + 4)];
      ExpectRight(text.substr(0, length));
    }
  }
  ExpectRight(std::string(300, '\x80'));
  ExpectRight(std::string(300, '\x80') + "abc");
}

// Each place costs the same, in whatever order and in how many texts at once a script asks.
TEST(CodePoints, CostTheSameEverywhere) {
  std::string text;
  while (text.size() < 3'000'000) text += "a\xC3\xA9";
  const SV::String first = base::StringOf(text);
  const SV::String second = base::StringOf(text + "b");
  CountingMeter meter;
  ByteOf(first, 1, meter);
  ByteOf(second, 1, meter);
  const std::int64_t before = meter.Work();
  const std::int32_t count = CodePoints(first, meter);
  for (std::int32_t i = 0; i < 100'000; ++i) {
    const std::int32_t place = count - 1 - i * 19;
    ASSERT_EQ(ByteOf(first, place, meter), ByteOf(second, place, meter));
  }
  EXPECT_LT(meter.Work() - before, 2 * 100'000 * 4);
  script::ForgetTexts();
}

TEST(CodePoints, FollowATextThatChanges) {
  CountingMeter meter;
  std::string text(200, 'a');
  SV::String string = base::StringOf(text);
  EXPECT_EQ(ByteOf(string, 199, meter), 199u);
  string += "\xC3\xA9";
  string += "b";
  EXPECT_EQ(CodePoints(string, meter), 202);
  EXPECT_EQ(ByteOf(string, 201, meter), 202u);
  script::ForgetTexts();
}

}  // namespace
