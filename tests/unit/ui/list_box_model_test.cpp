#include "tavhost/ui/models/list_box_model.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using ui::ListBoxModel;
using Indices = std::vector<std::uint32_t>;

void Fill(ListBoxModel& list, std::initializer_list<std::string_view> entries) {
  for (const std::string_view entry : entries) list.Insert(entry);
}

TEST(ListBoxModel, KeepsEntriesByteForByte) {
  using namespace std::string_view_literals;
  ListBoxModel list(false);
  const std::string_view entries[] = {
      "a",        "",         "\"quoted\"",   "two\nlines", "nul\0inside"sv,
      "\xFF\xFE", "<b>&amp;", "שלום 🙂"};
  for (const std::string_view entry : entries) list.Insert(entry);
  const std::string large(1 << 20, 'x');
  list.Insert(large);
  ASSERT_EQ(list.Count(), 9u);
  for (std::uint32_t i = 0; i < 8; ++i) EXPECT_EQ(list.Entry(i), entries[i]) << i;
  EXPECT_EQ(list.Entry(8), large);
}

TEST(ListBoxModel, OneSelectionReplacesTheOther) {
  ListBoxModel list(false);
  Fill(list, {"a", "b", "c"});
  EXPECT_TRUE(list.Selected().empty());
  EXPECT_TRUE(list.Select("b"));
  EXPECT_TRUE(list.Select("c"));
  EXPECT_EQ(list.Selected(), Indices{2});
  EXPECT_FALSE(list.IsSelected(1));
  EXPECT_FALSE(list.Select("d"));
  EXPECT_EQ(list.Selected(), Indices{2}) << "an unknown entry changes nothing";
  list.SetSelected(2, false);
  EXPECT_TRUE(list.Selected().empty());
}

TEST(ListBoxModel, SeveralSelectionsStandInTheListsOrder) {
  ListBoxModel list(true);
  Fill(list, {"a", "b", "c"});
  EXPECT_TRUE(list.Select("c"));
  EXPECT_TRUE(list.Select("a"));
  EXPECT_EQ(list.Selected(), (Indices{0, 2}));
  list.ClearSelection();
  EXPECT_TRUE(list.Selected().empty());
}

TEST(ListBoxModel, EqualEntriesAreSelectedOneByOne) {
  ListBoxModel list(true);
  Fill(list, {"x", "", "x", "", "x"});
  EXPECT_TRUE(list.Select("x"));
  EXPECT_EQ(list.Selected(), Indices{0});
  EXPECT_TRUE(list.Select("x"));
  EXPECT_EQ(list.Selected(), (Indices{0, 2}));
  EXPECT_TRUE(list.Select(""));
  EXPECT_EQ(list.Selected(), (Indices{0, 1, 2}));
  EXPECT_TRUE(list.Select("x"));
  EXPECT_FALSE(list.Select("x"));
}

TEST(ListBoxModel, AnEntryInsertedLaterIsFound) {
  ListBoxModel list(true);
  Fill(list, {"a"});
  EXPECT_FALSE(list.Select("b"));
  list.Insert("b");
  EXPECT_TRUE(list.Select("b"));
  EXPECT_EQ(list.Selected(), Indices{1});
}

TEST(ListBoxModel, CheckBoxesOfOneTextCountAsOne) {
  ListBoxModel list(false);
  list.AddCheckBox("Sub-folders", true);
  list.AddCheckBox("Hidden", false);
  list.AddCheckBox("Sub-folders", false);
  EXPECT_TRUE(list.IsChecked("Sub-folders"));
  EXPECT_FALSE(list.IsChecked("Hidden"));
  EXPECT_FALSE(list.IsChecked("nothing"));
  EXPECT_TRUE(list.SetChecked("Sub-folders", false));
  EXPECT_FALSE(list.IsChecked("Sub-folders"));
  EXPECT_FALSE(list.SetChecked("nothing", true));
}

}  // namespace
