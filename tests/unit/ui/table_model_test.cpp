#include "tavhost/ui/table/table_model.h"

#include <gtest/gtest.h>

#include "tavhost/ui/table/table_arrangement.h"
#include "tavhost/ui/table/table_search.h"
#include "tavhost/ui/table/table_sort.h"
#include "tavhost/ui/table/table_write.h"

namespace {

using ui::TableArrangement;
using ui::TableModel;

struct Table : TableModel {
  explicit Table(std::string_view text, bool handles = false) : TableModel(handles) {
    EXPECT_TRUE(Read(text, nullptr, ';', '\n'));
  }
};

std::string Column(const TableModel& table, std::uint32_t column) {
  std::string joined;
  for (std::uint32_t row = 0; row < table.Rows(); ++row) joined += table.Text(row, column) + ' ';
  return joined;
}

std::string Column(const TableArrangement& seen, std::uint32_t column) {
  std::string joined;
  for (std::uint32_t place = 0; place < seen.Rows(); ++place) {
    joined += seen.Table().Text(seen.RowAt(place), column) + ' ';
  }
  return joined;
}

TEST(TableModel, NumbersColumnsFromOneWithoutHandlesFromZeroWithThem) {
  Table plain("a;b");
  EXPECT_EQ(plain.ColumnOfNumber(0), std::nullopt);
  EXPECT_EQ(plain.ColumnOfNumber(1), 0u);
  EXPECT_EQ(plain.ColumnOfNumber(2), 1u);
  EXPECT_EQ(plain.ColumnOfNumber(3), std::nullopt);
  Table handles("h;b", true);
  EXPECT_EQ(handles.ColumnOfNumber(0), 0u);
  EXPECT_EQ(handles.ColumnOfNumber(1), 1u);
  EXPECT_EQ(handles.ColumnOfNumber(2), std::nullopt);
}

TEST(TableModel, WritesBackWhatItRead) {
  for (const char* text : {"", "a", "a;b\n1;2", "a;b\n\"1;2\";\"say \"\"no\"\"\"",
                           "\"a\nb\"\n\"c\rd\"", "a\n\"\"", "\"\"", "a;b\n;\n1;2"}) {
    EXPECT_EQ(Table(text).Write(';'), text);
  }
  EXPECT_EQ(Table("a;b;c\n1\n").Write(';'), "a;b;c\n1;;");
  EXPECT_EQ(Table("a\r\nb\r\n").Write(';'), "a\nb");
  TableModel bars(false);
  ASSERT_TRUE(bars.Read("a|b\n1;2|3", nullptr, '|', '\n'));
  EXPECT_EQ(bars.Write(';'), "a;b\n\"1;2\";3");
}

TEST(TableModel, ChangesCellsAndTakesThemBack) {
  Table table("a;b\n1;2\n3;4");
  EXPECT_TRUE(table.SetCell(1, 1, "x;y"));
  EXPECT_TRUE(table.SetCell(1, 1, "z"));
  EXPECT_EQ(table.Write(';'), "a;b\n1;2\n3;z");
  ASSERT_TRUE(table.Undo());
  EXPECT_EQ(table.Text(1, 1), "x;y");
  ASSERT_TRUE(table.Undo());
  EXPECT_EQ(table.Text(1, 1), "4");
  EXPECT_FALSE(table.Undo());
  EXPECT_TRUE(table.Unchanged());
  ASSERT_TRUE(table.Redo());
  ASSERT_TRUE(table.Redo());
  EXPECT_FALSE(table.Redo());
  EXPECT_EQ(table.Text(1, 1), "z");
}

TEST(TableModel, SettingWhatACellHoldsIsNoChange) {
  Table table("a\n1");
  EXPECT_TRUE(table.SetCell(0, 0, "1"));
  EXPECT_FALSE(table.CanUndo());
}

TEST(TableModel, ANewChangeForgetsWhatWasUndone) {
  Table table("a\n1");
  table.SetCell(0, 0, "2");
  table.Undo();
  table.SetCell(0, 0, "3");
  EXPECT_FALSE(table.CanRedo());
}

TEST(TableModel, HandlesAndPlacesOutsideCannotBeChanged) {
  Table table("h;a\n1;2", true);
  EXPECT_FALSE(table.SetCell(0, 0, "x"));
  EXPECT_FALSE(table.SetCell(1, 1, "x"));
  EXPECT_FALSE(table.SetCell(0, 2, "x"));
  EXPECT_FALSE(table.DeleteRow(1));
  EXPECT_FALSE(table.InsertRow(2));
  EXPECT_FALSE(table.SortRows(2, false));
  EXPECT_FALSE(table.CanUndo());
  EXPECT_FALSE(Table("").InsertRow(0));
}

TEST(TableModel, InsertsAndDeletesRows) {
  Table table("a\n1\n2\n3");
  EXPECT_TRUE(table.InsertRow(1));
  EXPECT_TRUE(table.SetCell(1, 0, "new"));
  EXPECT_TRUE(table.DeleteRow(0));
  EXPECT_TRUE(table.InsertRow(3));
  EXPECT_TRUE(table.SetCell(3, 0, "last"));
  EXPECT_EQ(table.Write(';'), "a\nnew\n2\n3\nlast");
  while (table.Undo()) {
  }
  EXPECT_EQ(table.Write(';'), "a\n1\n2\n3");
  while (table.Redo()) {
  }
  EXPECT_EQ(table.Write(';'), "a\nnew\n2\n3\nlast");
}

TEST(TableModel, ADeletedRowComesBackWithItsChanges) {
  Table table("a\n1\n2");
  table.SetCell(0, 0, "x");
  table.DeleteRow(0);
  table.Undo();
  EXPECT_EQ(Column(table, 0), "x 2 ");
}

TEST(TableModel, SortingIsAChange) {
  Table table("a\n10\n9\nb\n");
  table.SetCell(0, 0, "11");
  EXPECT_TRUE(table.SortRows(0, true));
  EXPECT_EQ(Column(table, 0), "b 11 9 ");
  EXPECT_TRUE(table.SetCell(1, 0, "12"));
  table.Undo();
  table.Undo();
  EXPECT_EQ(Column(table, 0), "11 9 b ");
  table.Redo();
  EXPECT_EQ(Column(table, 0), "b 11 9 ");
}

TEST(TableModel, SortsAreTakenBackTogether) {
  Table table("a;b\n2;x\n1;y\n3;x");
  EXPECT_FALSE(table.UnsortRows());
  EXPECT_FALSE(table.LastSort());
  table.SetCell(0, 1, "z");
  table.SortRows(0, false);
  ASSERT_TRUE(table.LastSort());
  EXPECT_EQ(table.LastSort()->column, 0u);
  EXPECT_FALSE(table.LastSort()->descending);
  table.SortRows(1, true);
  EXPECT_TRUE(table.LastSort()->descending);
  EXPECT_EQ(Column(table, 0), "2 1 3 ");
  EXPECT_TRUE(table.UnsortRows());
  EXPECT_EQ(table.Write(';'), "a;b\n2;z\n1;y\n3;x");
  EXPECT_FALSE(table.LastSort());
  EXPECT_FALSE(table.UnsortRows()) << "they are as they were";
  table.Undo();
  EXPECT_EQ(Column(table, 1), "z y x ");
  EXPECT_TRUE(table.LastSort());
  table.Redo();
  EXPECT_EQ(Column(table, 0), "2 1 3 ");
}

TEST(TableModel, ChangesDoAgainWhatWasDoneWithSortsThatWereTakenBack) {
  const char* const text = "a\n2\n1\n3";
  Table table(text);
  table.SetCell(0, 0, "5");
  table.SortRows(0, false);
  table.SortRows(0, true);
  table.UnsortRows();
  EXPECT_EQ(table.Changes().size(), 1u);
  table.SetCell(0, 0, "0");
  EXPECT_EQ(table.Changes().size(), 1u) << "nothing has moved between them";
  table.SortRows(0, true);
  table.UnsortRows();
  table.SortRows(0, false);
  table.SetCell(1, 0, "9");
  Table again(text);
  for (const ui::TableChange& change : table.Changes()) {
    if (change.kind == ui::TableChange::Kind::kSort) {
      again.SortRows(change.column, change.descending);
    } else {
      again.SetCell(change.row, change.column, change.text);
    }
  }
  EXPECT_EQ(again.Write(';'), table.Write(';'));
  EXPECT_EQ(table.Write(';'), "a\n0\n9\n3");
}

TEST(TableModel, ASortIsOnlyTheLastWhileNothingElseHasChanged) {
  Table table("a\n2\n1");
  table.SortRows(0, false);
  table.SetCell(0, 0, "7");
  EXPECT_FALSE(table.LastSort());
  EXPECT_FALSE(table.UnsortRows());
  table.Undo();
  EXPECT_TRUE(table.LastSort());
}

TEST(TableModel, AStepIsUndoneAsAWhole) {
  Table table("a\n1\n2\n3");
  table.SetCell(0, 0, "x");
  {
    const TableModel::Step step(table);
    table.DeleteRow(2);
    table.DeleteRow(1);
  }
  table.SetCell(0, 0, "y");
  table.Undo();
  table.Undo();
  EXPECT_EQ(Column(table, 0), "x 2 3 ");
  table.Redo();
  EXPECT_EQ(Column(table, 0), "x ");
}

TEST(TableModel, ListsItsChanges) {
  Table table("a;b\n1;2\n3;4");
  table.SetCell(0, 0, "x");
  table.SetCell(1, 0, "y");
  table.SetCell(0, 0, "z");
  table.InsertRow(1);
  table.SetCell(0, 0, "w");
  table.SetCell(0, 1, "undone");
  table.Undo();
  const std::vector<ui::TableChange> changes = table.Changes();
  Table again("a;b\n1;2\n3;4");
  for (const ui::TableChange& change : changes) {
    if (change.kind == ui::TableChange::Kind::kCell) {
      EXPECT_TRUE(again.SetCell(change.row, change.column, change.text));
    } else {
      EXPECT_TRUE(again.InsertRow(change.row));
    }
  }
  EXPECT_EQ(changes.size(), 4u);
  EXPECT_EQ(again.Write(';'), table.Write(';'));
}

TEST(TableModel, CountsLinesAndExpands) {
  Table table("a;b\n1;\"x\ny\nz\"\n2;3");
  EXPECT_EQ(table.LineCount(0), 3u);
  EXPECT_EQ(table.LineCount(1), 1u);
  EXPECT_FALSE(table.IsExpanded(0));
  table.Expand(0, true);
  EXPECT_TRUE(table.IsExpanded(0));
  EXPECT_FALSE(table.IsExpanded(1));
  table.ExpandAll(true);
  table.Expand(0, false);
  EXPECT_FALSE(table.IsExpanded(0));
  EXPECT_TRUE(table.IsExpanded(1));
}

TEST(TableModel, ShowsLinksOnlyWhenToldTo) {
  Table table("a\nmodel:Engine\nobj:7.Piston");
  table.modelFormat = "model:%n";
  table.objectFormat = "obj:%v.%n";
  EXPECT_FALSE(table.LinkAt(0, 0));
  table.showsLinks = true;
  const auto model = table.LinkAt(0, 0);
  ASSERT_TRUE(model);
  EXPECT_TRUE(model->isModel);
  EXPECT_EQ(model->name, "Engine");
  const auto object = table.LinkAt(1, 0);
  ASSERT_TRUE(object);
  EXPECT_FALSE(object->isModel);
  EXPECT_EQ(object->name, "Piston");
  EXPECT_EQ(object->version, "7");
}

TEST(ReferenceFormat, MatchesWholeFields) {
  const auto match = [](const char* pattern, const char* field) {
    const auto reference = ui::MatchReference(pattern, field);
    return reference ? reference->name + '/' + reference->type + '/' + reference->version
                     : std::string("none");
  };
  EXPECT_EQ(match("%n (%t) %v", "Engine (part) 3"), "Engine/part/3");
  EXPECT_EQ(match("%n (%t)", "a (b) (c)"), "a/b) (c/");
  EXPECT_EQ(match("%n", "x"), "x//");
  EXPECT_EQ(match("%n", ""), "none");
  EXPECT_EQ(match("%n:%v", "a:"), "none");
  EXPECT_EQ(match("%n:%v", ":1"), "none");
  EXPECT_EQ(match("%n.", "a"), "none");
  EXPECT_EQ(match("%n.", "a.b."), "a.b//");
  EXPECT_EQ(match("100%% %n", "100% x"), "x//");
  EXPECT_EQ(match("%x %n", "%x y"), "y//");
  EXPECT_EQ(match("plain", "plain"), "none");
  EXPECT_EQ(match("", ""), "none");
  EXPECT_EQ(match("%n%v", "äb"), "ä//b");
}

TEST(TableSort, KnowsNumbers) {
  using ui::table_sort::NumberOf;
  EXPECT_EQ(NumberOf("12"), 12);
  EXPECT_EQ(NumberOf(" -1.5 "), -1.5);
  EXPECT_EQ(NumberOf("+.5"), 0.5);
  EXPECT_EQ(NumberOf("1."), 1);
  EXPECT_EQ(NumberOf("1e3"), 1000);
  EXPECT_EQ(NumberOf("12345678901234567890"), 12345678901234567890.0);
  for (const char* text : {"", " ", ".", "-", "+-1", "1x", "x1", "inf", "nan", "0x10", "1 2", "--1",
                           "1,5", "1e", "-nan"}) {
    EXPECT_EQ(NumberOf(text), std::nullopt) << text;
  }
}

TEST(TableSort, NumbersComeFirstThenTextsThenEmptyOnes) {
  Table table("a;b\n10;0\nb;1\n;2\n9;3\nA;4\n-1.5;5\na;6\n1e1;7");
  TableArrangement seen(table);
  seen.SortBy(0, false);
  EXPECT_EQ(Column(seen, 1), "5 3 0 7 4 6 1 2 ");
  seen.SortBy(0, true);
  EXPECT_EQ(Column(seen, 1), "1 4 6 0 7 3 5 2 ");
  seen.Unsort();
  EXPECT_EQ(Column(seen, 1), "0 1 2 3 4 5 6 7 ");
}

TEST(TableSort, LongTextsAreToldApartBehindTheirBeginnings) {
  Table table("a\nsamePrefix2\nsamePrefix10\nsameprefix1\nsamePref\n");
  TableArrangement seen(table);
  seen.SortBy(0, false);
  EXPECT_EQ(Column(seen, 0), "samePref sameprefix1 samePrefix10 samePrefix2 ");
}

TEST(TableArrangement, FiltersAndKeepsTheOrder) {
  Table table("a;b\nx1;3\ny;x\nX2;1\nz;2");
  TableArrangement seen(table);
  seen.SetFilter("x");
  EXPECT_EQ(Column(seen, 1), "3 x 1 ");
  seen.SortBy(1, false);
  EXPECT_EQ(Column(seen, 1), "1 3 x ");
  EXPECT_EQ(seen.PlaceOf(0), 1u);
  EXPECT_EQ(seen.PlaceOf(3), std::nullopt);
  seen.SetFilter("nothing");
  EXPECT_EQ(seen.Rows(), 0u);
  seen.SetFilter("");
  EXPECT_EQ(Column(seen, 1), "1 2 3 x ");
}

TEST(TableArrangement, TitlesAreNotFound) {
  Table table("title;b\n1;2");
  TableArrangement seen(table);
  seen.SetFilter("title");
  EXPECT_EQ(seen.Rows(), 0u);
}

TEST(TableArrangement, SearchesForwardsAndBackwardsAndGoesRound) {
  Table table("a;b\nfoo;bar\nx;FOO\nfoo;foo");
  TableArrangement seen(table);
  const auto find = [&](std::optional<TableArrangement::Place> from, bool backwards) {
    const auto place = seen.Find("foo", from, backwards);
    return place ? std::to_string(place->row) + std::to_string(place->column) : "none";
  };
  EXPECT_EQ(find(std::nullopt, false), "00");
  EXPECT_EQ(find({{0, 0}}, false), "11");
  EXPECT_EQ(find({{1, 1}}, false), "20");
  EXPECT_EQ(find({{2, 0}}, false), "21");
  EXPECT_EQ(find({{2, 1}}, false), "00");
  EXPECT_EQ(find({{0, 0}}, true), "21");
  EXPECT_EQ(find({{2, 1}}, true), "20");
  EXPECT_EQ(find(std::nullopt, true), "21");
  EXPECT_EQ(seen.CountMatches("foo"), 3u);
  EXPECT_FALSE(seen.Find("none", std::nullopt, false));
  EXPECT_FALSE(seen.Find("", std::nullopt, false));
}

TEST(TableArrangement, TheOnlyMatchIsFoundAgain) {
  Table table("a;b\nx;foo");
  TableArrangement seen(table);
  const auto place = seen.Find("foo", TableArrangement::Place{0, 1}, false);
  ASSERT_TRUE(place);
  EXPECT_EQ(place->column, 1u);
}

TEST(TableSearch, LooksIntoFieldsNotAcrossThem) {
  Table table("a;b\nab;cd\n\"x;y\";\"q\"\"r\"\nl;\"m\nn\"");
  const auto rows = [&](const char* text) {
    std::string found;
    for (const bool match : ui::table_search::MatchingRows(table, text)) found += match ? '1' : '0';
    return found;
  };
  EXPECT_EQ(rows("b;c"), "000");
  EXPECT_EQ(rows("x;y"), "010");
  EXPECT_EQ(rows("q\"r"), "010");
  EXPECT_EQ(rows("q\"\"r"), "000");
  EXPECT_EQ(rows("CD"), "100");
  EXPECT_EQ(rows("m"), "001");
  EXPECT_EQ(rows("m\nn"), "001");
  table.SetCell(0, 0, "q");
  EXPECT_EQ(rows("q"), "110");
}

TEST(TableSearch, FindsMatchesAcrossBlocksAndAtTheEnd) {
  std::string text = "t\n";
  for (int row = 0; row < 500; ++row)
    text += std::string(row % 90, '-') + (row % 7 ? "no\n" : "Yes\n");
  text.pop_back();
  Table table(text);
  const std::vector<bool> found = ui::table_search::MatchingRows(table, "yES");
  for (std::uint32_t row = 0; row < table.Rows(); ++row) ASSERT_EQ(found[row], row % 7 == 0) << row;
}

TEST(TableWrite, EscapesHtml) {
  Table table("<a>;b\n1 & 2;\"x\ny\"");
  table.header = "\"H\"";
  table.SetAlignment(1, ui::TableAlignment::kRight);
  const std::string html = ui::table_write::Html(table, {0}, {0, 1}, "T<");
  EXPECT_NE(html.find("<title>T&lt;</title>"), std::string::npos);
  EXPECT_NE(html.find("<h1>&quot;H&quot;</h1>"), std::string::npos);
  EXPECT_NE(html.find("<th>&lt;a&gt;</th><th class=\"r\">b</th>"), std::string::npos);
  EXPECT_NE(html.find("<td>1 &amp; 2</td><td class=\"r\">x<br>y</td>"), std::string::npos);
}

}  // namespace
