#include "tavhost/ui/table/table_text.h"

#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <vector>

#include "tavhost/ui/table/table_scan.h"

namespace {

using Lines = std::vector<std::vector<std::string>>;

// All columns of all lines; empty when the text cannot be read.
std::optional<Lines> Read(std::string_view text, char field = ';', char row = '\n') {
  ui::TableText table;
  if (!table.Read(text, nullptr, field, row)) return std::nullopt;
  Lines lines(table.Lines());
  std::string scratch;
  for (std::uint32_t line = 0; line < table.Lines(); ++line) {
    for (std::uint32_t column = 0; column < table.Columns(); ++column) {
      lines[line].emplace_back(table.Field(line, column, scratch));
    }
  }
  return lines;
}

TEST(TableText, ReadsTitlesAndRows) {
  EXPECT_EQ(Read("Name;Mass\nPiston;2.5\nValve;0.3"),
            (Lines{{"Name", "Mass"}, {"Piston", "2.5"}, {"Valve", "0.3"}}));
}

TEST(TableText, AnEmptyTextIsATableWithoutColumns) {
  ui::TableText table;
  ASSERT_TRUE(table.Read("", nullptr, ';', '\n'));
  EXPECT_EQ(table.Columns(), 0u);
  EXPECT_EQ(table.Lines(), 0u);
}

TEST(TableText, OneLineFeedIsAnEmptyTitle) { EXPECT_EQ(Read("\n"), (Lines{{""}})); }

TEST(TableText, ALastEmptyRowDoesNotCount) {
  EXPECT_EQ(Read("a;b\n1;2\n"), (Lines{{"a", "b"}, {"1", "2"}}));
  EXPECT_EQ(Read("a;b\n1;2\n\n"), (Lines{{"a", "b"}, {"1", "2"}, {"", ""}}));
}

TEST(TableText, ShortRowsAreFilledUp) {
  EXPECT_EQ(Read("a;b;c\n1\n1;2\n\n1;2;3"),
            (Lines{{"a", "b", "c"}, {"1", "", ""}, {"1", "2", ""}, {"", "", ""}, {"1", "2", "3"}}));
}

TEST(TableText, ALongRowCannotBeRead) {
  EXPECT_FALSE(Read("a;b\n1;2;3"));
  EXPECT_FALSE(Read("a\n;\n"));
}

TEST(TableText, EmptyFieldsAtTheEndCount) {
  EXPECT_EQ(Read("a;b\n1;"), (Lines{{"a", "b"}, {"1", ""}}));
  EXPECT_EQ(Read("a;"), (Lines{{"a", ""}}));
}

TEST(TableText, QuotedFieldsHoldSeparatorsAndQuotes) {
  EXPECT_EQ(Read("\"a;b\";\"c\nd\"\n\"say \"\"no\"\"\";\"\""),
            (Lines{{"a;b", "c\nd"}, {"say \"no\"", ""}}));
  EXPECT_EQ(Read("\"\"\"\""), (Lines{{"\""}}));
  EXPECT_EQ(Read("\"\"\"a\"\"\";x"), (Lines{{"\"a\"", "x"}}));
}

TEST(TableText, AQuoteElsewhereIsText) {
  EXPECT_EQ(Read("a\"b;5\" disk; \"c\""), (Lines{{"a\"b", "5\" disk", " \"c\""}}));
}

TEST(TableText, AQuotedFieldMustBeClosed) {
  EXPECT_FALSE(Read("\"a"));
  EXPECT_FALSE(Read("\""));
  EXPECT_FALSE(Read("\"\"\""));
  EXPECT_FALSE(Read("a;b\n1;\"2\n3;4"));
}

TEST(TableText, NoTextFollowsAClosingQuote) {
  EXPECT_FALSE(Read("\"a\"b"));
  EXPECT_FALSE(Read("\"a\" ;b"));
  EXPECT_FALSE(Read("\"a\"\rb"));
  EXPECT_FALSE(Read("\"a\"\r"));
}

TEST(TableText, AReturnBeforeALineFeedIsDropped) {
  EXPECT_EQ(Read("a;b\r\n\"1\";\"2\"\r\n3;4\r\n"), (Lines{{"a", "b"}, {"1", "2"}, {"3", "4"}}));
  // Only one carriage return, only at the end of a row, only where rows end at line feeds.
  EXPECT_EQ(Read("a\r\r\n1\r2\n3\r"), (Lines{{"a\r"}, {"1\r2"}, {"3\r"}}));
  EXPECT_EQ(Read("a\r|1\r\n|", ';', '|'), (Lines{{"a\r"}, {"1\r\n"}}));
  EXPECT_EQ(Read("\"a\r\nb\"\r\n"), (Lines{{"a\r\nb"}}));
}

TEST(TableText, TakesOtherSeparators) {
  EXPECT_EQ(Read("a,b|1,\"2,3|4\"", ',', '|'), (Lines{{"a", "b"}, {"1", "2,3|4"}}));
  EXPECT_EQ(Read(std::string_view("a\0b\n1\0002", 7), '\0'), (Lines{{"a", "b"}, {"1", "2"}}));
}

TEST(TableText, OneSeparatorForBothSeparatesRows) {
  EXPECT_EQ(Read("a;b;c", ';', ';'), (Lines{{"a"}, {"b"}, {"c"}}));
}

TEST(TableText, AQuoteThatSeparatesDoesNotQuote) {
  EXPECT_EQ(Read("a\"b\n\"x", '"'), (Lines{{"a", "b"}, {"", "x"}}));
  EXPECT_EQ(Read("a;b\"1;2", ';', '"'), (Lines{{"a", "b"}, {"1", "2"}}));
}

TEST(TableText, KeepsEveryByte) {
  const std::string text("\xFF\xFE;\0;ä\n\x80", 9);
  const auto lines = Read(text);
  ASSERT_TRUE(lines);
  EXPECT_EQ((*lines)[0], (std::vector<std::string>{"\xFF\xFE", std::string(1, '\0'), "ä"}));
}

TEST(TableText, ManyRowsWithFewFieldsCostNoMoreThanTheirText) {
  std::string text(10000, ';');
  text += std::string(10000, '\n');
  ui::TableText table;
  ASSERT_TRUE(table.Read(text, nullptr, ';', '\n'));
  EXPECT_EQ(table.Columns(), 10001u);
  EXPECT_EQ(table.Lines(), 10000u);
  EXPECT_LE(table.IndexBytes(), text.size() * 8 + 4096);
}

TEST(TableText, AFullTableCostsFourBytesAField) {
  std::string text;
  for (int row = 0; row < 10000; ++row) text += "1;2;3;4;5\n";
  ui::TableText table;
  ASSERT_TRUE(table.Read(text, nullptr, ';', '\n'));
  EXPECT_EQ(table.IndexBytes(), 50000u * 4);
}

TEST(TableText, AFailedReadChangesNothing) {
  ui::TableText table;
  ASSERT_TRUE(table.Read("a;b\n1", nullptr, ';', '\n'));
  EXPECT_FALSE(table.Read("\"", nullptr, ';', '\n'));
  std::string scratch;
  EXPECT_EQ(table.Lines(), 2u);
  EXPECT_EQ(table.Field(1, 0, scratch), "1");
}

TEST(TableText, FindsTheLineOfAPlace) {
  const std::string_view text = "ab;c\nd\n\ne;f";
  ui::TableText table;
  ASSERT_TRUE(table.Read(text, nullptr, ';', '\n'));
  for (std::size_t at = 0; at < text.size(); ++at) {
    std::uint32_t line = 0;
    for (std::size_t i = 0; i < at; ++i) line += text[i] == '\n' ? 1 : 0;
    EXPECT_EQ(table.LineAt(at), line) << at;
  }
}

// The straightforward way, character by character.
std::optional<Lines> ReadSlowly(const std::string& text, char field, char row) {
  Lines lines;
  std::vector<std::string> line;
  std::size_t i = 0;
  while (i < text.size() || !line.empty()) {
    std::string value;
    if (i < text.size() && text[i] == '"') {
      for (++i;; ++i) {
        if (i >= text.size()) return std::nullopt;
        if (text[i] != '"') {
          value += text[i];
        } else if (i + 1 < text.size() && text[i + 1] == '"') {
          value += text[i++];
        } else {
          break;
        }
      }
      ++i;
      if (i + 1 < text.size() && text[i] == '\r' && text[i + 1] == '\n' && row == '\n') ++i;
      if (i < text.size() && text[i] != field && text[i] != row) return std::nullopt;
    } else {
      while (i < text.size() && text[i] != field && text[i] != row) value += text[i++];
      if (i < text.size() && row == '\n' && text[i] == '\n' && !value.empty() &&
          value.back() == '\r') {
        value.pop_back();
      }
    }
    line.push_back(value);
    const bool endsLine = i >= text.size() || text[i] == row;
    const bool endsText = i >= text.size();
    ++i;
    if (endsLine) {
      if (!lines.empty() && line.size() > lines[0].size()) return std::nullopt;
      if (!lines.empty()) line.resize(lines[0].size());
      lines.push_back(std::move(line));
      line.clear();
    }
    if (endsText) break;
  }
  return lines;
}

TEST(TableText, AgreesWithTheStraightforwardWay) {
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  constexpr std::string_view kAlphabet = "ab;;\n\n\"\"\r|";
  int readable = 0;
  for (int round = 0; round < 20000; ++round) {
    std::string text(random() % (round % 100 == 0 ? 300 : 12), ' ');
    for (char& byte : text) byte = kAlphabet[random() % kAlphabet.size()];
    const char row = random() % 4 == 0 ? '|' : '\n';
    const auto expected = ReadSlowly(text, ';', row);
    ASSERT_EQ(Read(text, ';', row), expected) << testing::PrintToString(text);
    readable += expected ? 1 : 0;
  }
  EXPECT_GT(readable, 1000);
}

TEST(TableScan, VectorsAndPlainWordsFindTheSame) {
  if (!ui::table_scan::Sse2()) GTEST_SKIP();
  std::mt19937 random(7);
  const char wanted[3] = {';', '\x80', '\0'};
  for (int round = 0; round < 200; ++round) {
    char text[4 * ui::table_scan::kBlock];
    for (char& byte : text) byte = static_cast<char>(random() % (round % 2 ? 256 : 130));
    std::uint64_t vectors[4];
    std::uint64_t words[4];
    ui::table_scan::Sse2()(text, 4, wanted, vectors);
    ui::table_scan::Portable()(text, 4, wanted, words);
    for (std::size_t i = 0; i < sizeof text; ++i) {
      const bool is = text[i] == ';' || text[i] == '\x80' || text[i] == '\0';
      ASSERT_EQ((words[i / 64] >> (i % 64) & 1) != 0, is);
    }
    for (int i = 0; i < 4; ++i) ASSERT_EQ(vectors[i], words[i]);
  }
}

}  // namespace
