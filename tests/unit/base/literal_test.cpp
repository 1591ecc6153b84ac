#include "tavhost/base/literal.h"

#include <gtest/gtest.h>

namespace {

constexpr std::string_view kText{"a\"\\\n\r\t\0\x01\x1F\x7F\xC3", 11};

TEST(Literal, ValuesAndTracesDifferInTheirHexDigitsAlone) {
  std::string text;
  base::AppendLiteral(text, kText);
  EXPECT_EQ(text, "\"a\\\"\\\\\\n\\r\\t\\0\\x01\\x1f\\x7f\xC3\"");
  SV::String traced;
  base::AppendLiteral(traced, kText, base::kUpperHex);
  EXPECT_EQ(traced.View(), "\"a\\\"\\\\\\n\\r\\t\\0\\x01\\x1F\\x7F\xC3\"");
}

TEST(Literal, IsAppended) {
  std::string text = "text:";
  base::AppendLiteral(text, "");
  EXPECT_EQ(text, "text:\"\"");
}

}  // namespace
