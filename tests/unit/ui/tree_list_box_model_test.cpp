#include "tavhost/ui/models/tree_list_box_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>

namespace {

using ui::TreeListBoxModel;
using Handle = TreeListBoxModel::Handle;

TreeListBoxModel::Options Multiple() {
  TreeListBoxModel::Options options;
  options.multiple = true;
  return options;
}

std::vector<std::int32_t> Ids(const TreeListBoxModel& tree, const std::vector<Handle>& items) {
  std::vector<std::int32_t> ids;
  for (const Handle item : items) ids.push_back(tree.Id(item));
  return ids;
}

std::vector<std::int32_t> AllIds(const TreeListBoxModel& tree) {
  std::vector<Handle> items;
  for (Handle item = tree.Next(TreeListBoxModel::kRoot); item != TreeListBoxModel::kNone;
       item = tree.Next(item)) {
    items.push_back(item);
  }
  return Ids(tree, items);
}

TEST(TreeListBoxModel, AnIdStandsOnceUnderEachParent) {
  TreeListBoxModel tree{Multiple()};
  EXPECT_TRUE(tree.Add(1, -1, "a", false));
  EXPECT_FALSE(tree.Add(1, -1, "b", false));
  EXPECT_TRUE(tree.Add(1, 1, "c", false));
  EXPECT_FALSE(tree.Add(1, 1, "d", false));
  EXPECT_FALSE(tree.Add(2, 9, "e", false));
  EXPECT_EQ(tree.Count(), 2u);
}

TEST(TreeListBoxModel, OneIdMeansTheFirstItemFromTopToBottom) {
  TreeListBoxModel tree{Multiple()};
  tree.Add(1, -1, "first", false);
  tree.Add(2, -1, "second", false);
  tree.Add(5, 2, "under the second", false);
  tree.Add(5, 1, "under the first", false);
  tree.Add(5, -1, "at the end", false);
  EXPECT_EQ(tree.Text(tree.Find(5)), "under the first");
  EXPECT_EQ(tree.Text(tree.Find(5, 2)), "under the second");
  EXPECT_EQ(tree.Text(tree.Find(5, -1)), "at the end");
  tree.Remove(tree.Find(5));
  EXPECT_EQ(tree.Text(tree.Find(5)), "under the second");
}

TEST(TreeListBoxModel, RemovingTakesAllBelow) {
  TreeListBoxModel tree{Multiple()};
  tree.Add(1, -1, "a", false);
  tree.Add(2, 1, "b", false);
  tree.Add(3, 2, "c", false);
  tree.Add(4, -1, "d", false);
  tree.SelectAll();
  EXPECT_TRUE(tree.Remove(tree.Find(1)));
  EXPECT_EQ(tree.Count(), 1u);
  EXPECT_EQ(tree.SelectedCount(), 1u);
  EXPECT_EQ(tree.Find(3), TreeListBoxModel::kNone);
  EXPECT_TRUE(tree.Add(3, -1, "again", false));
  EXPECT_EQ(AllIds(tree), (std::vector<std::int32_t>{4, 3}));
}

TEST(TreeListBoxModel, OrderStaysWhenItemsGo) {
  for (const bool sorted : {false, true}) {
    auto options = Multiple();
    options.sorted = sorted;
    TreeListBoxModel tree(options);
    for (int i = 0; i < 10; ++i) tree.Add(i, -1, std::string(1, static_cast<char>('a' + i)), false);
    tree.Remove(tree.Find(3));
    tree.Remove(tree.Find(0));
    EXPECT_EQ(AllIds(tree), (std::vector<std::int32_t>{1, 2, 4, 5, 6, 7, 8, 9})) << sorted;
  }
}

TEST(TreeListBoxModel, SingleSelectionReplaces) {
  TreeListBoxModel tree{TreeListBoxModel::Options()};
  tree.Add(1, -1, "a", false);
  tree.Add(2, -1, "b", false);
  EXPECT_TRUE(tree.Select(tree.Find(1), true));
  EXPECT_TRUE(tree.Select(tree.Find(2), true));
  EXPECT_EQ(Ids(tree, tree.Selected()), (std::vector<std::int32_t>{2}));
  EXPECT_FALSE(tree.SelectAll());
  EXPECT_TRUE(tree.Select(tree.Find(2), false));
  EXPECT_TRUE(tree.Selected().empty());
}

TEST(TreeListBoxModel, AnItemThatBecomesAParentLosesASelectionItMayNotHave) {
  auto options = Multiple();
  options.parentsSelectable = false;
  TreeListBoxModel tree(options);
  tree.Add(1, -1, "a", false);
  EXPECT_TRUE(tree.Select(tree.Find(1), true));
  tree.Add(2, 1, "b", false);
  EXPECT_FALSE(tree.IsSelected(tree.Find(1)));
  EXPECT_FALSE(tree.Select(tree.Find(1), true));
}

TEST(TreeListBoxModel, LeavesDoNotExpand) {
  TreeListBoxModel tree{Multiple()};
  tree.Add(1, -1, "plain", false);
  tree.Add(2, -1, "parent", true);
  EXPECT_FALSE(tree.Expand(tree.Find(1), true));
  EXPECT_TRUE(tree.Expand(tree.Find(2), true));
  EXPECT_TRUE(tree.IsExpanded(tree.Find(2)));
}

TEST(TreeListBoxModel, ColumnsAreCutAtTabs) {
  TreeListBoxModel tree{Multiple()};
  tree.Add(1, -1, "a\tb\t\td", false);
  const Handle item = tree.Find(1);
  EXPECT_EQ(tree.ColumnText(item, 0), "a");
  EXPECT_EQ(tree.ColumnText(item, 1), "b");
  EXPECT_EQ(tree.ColumnText(item, 2), "");
  EXPECT_EQ(tree.ColumnText(item, 3), "d");
  EXPECT_EQ(tree.ColumnText(item, 4), "");
}

TEST(TreeListBoxModel, TheDefaultButtonIsOkWhereverItStands) {
  TreeListBoxModel tree{TreeListBoxModel::Options()};
  tree.AddButton({"First", "first", 1, false});
  EXPECT_EQ(tree.Buttons().front().name, "first");
  EXPECT_EQ(tree.DefaultButton(), "ok");
}

TEST(TreeListBoxModel, ButtonsStandAtTheirIndex) {
  TreeListBoxModel tree{Multiple()};
  tree.AddButton({"Last", "last", -1, false});
  tree.AddButton({"First", "first", 1, false});
  tree.AddButton({"Third", "third", 3, true});
  tree.AddButton({"Far", "far", 99, false});
  std::string names;
  for (const ui::ModalButton& button : tree.Buttons()) names += button.name + ' ';
  EXPECT_EQ(names, "first ok third cancel last far ");
  EXPECT_FALSE(tree.IsButtonEnabled("ok"));
  EXPECT_FALSE(tree.IsButtonEnabled("third"));
  EXPECT_TRUE(tree.IsButtonEnabled("far"));
  tree.Add(1, -1, "a", false);
  tree.Select(tree.Find(1), true);
  EXPECT_TRUE(tree.IsButtonEnabled("ok"));
  EXPECT_TRUE(tree.IsButtonEnabled("third"));
}

// Answers tell buttons of one name apart, scripts read the name that they gave.
TEST(TreeListBoxModel, ButtonsOfOneName) {
  TreeListBoxModel tree{Multiple()};
  tree.AddButton({"Stop", "cancel", -1, false});
  tree.AddButton({"Fine", "ok", -1, false});
  tree.AddButton({"D", "d", -1, true});
  tree.AddButton({"Other", "d", -1, false});
  tree.AddButton({"Taken", "d#2", -1, false});
  tree.AddButton({"", "", -1, false});
  std::string names;
  for (const ui::ModalButton& button : tree.Buttons()) names += button.name + ' ';
  EXPECT_EQ(names, "ok cancel cancel#2 ok#2 d d#2 d#2#2  ");
  EXPECT_FALSE(tree.IsButtonEnabled("d"));
  EXPECT_TRUE(tree.IsButtonEnabled("d#2")) << "one that needs no selection";
  EXPECT_TRUE(tree.IsButtonEnabled("ok#2"));
  const auto press = [&tree](const char* button) {
    tree.Begin();
    EXPECT_TRUE(tree.End(button));
    return tree.EndName() + ' ' + std::to_string(tree.Result());
  };
  EXPECT_EQ(press("cancel"), "cancel 0");
  EXPECT_EQ(press("cancel#2"), "cancel 1") << "a button that the script has added";
  EXPECT_EQ(press("ok"), "ok 1");
  EXPECT_EQ(press("d#2"), "d 1");
}

TEST(TreeListBoxModel, DepthCostsNoStack) {
  constexpr std::int32_t kLevels = 200000;
  TreeListBoxModel tree{Multiple()};
  tree.Add(0, -1, "top", false);
  for (std::int32_t i = 1; i < kLevels; ++i) ASSERT_TRUE(tree.Add(i, i - 1, "x", false));
  EXPECT_TRUE(tree.ExpandTo(tree.Find(kLevels - 1)));
  EXPECT_TRUE(tree.SelectAll());
  EXPECT_EQ(tree.Selected().size(), static_cast<std::size_t>(kLevels));
  EXPECT_TRUE(tree.Remove(tree.Find(0)));
  EXPECT_EQ(tree.Count(), 0u);
}

// Against a plain model with a list of pairs.
TEST(TreeListBoxModel, BehavesAsAPlainModelUnderRandomOperations) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  TreeListBoxModel tree{Multiple()};
  std::map<std::int32_t, std::int32_t> parents;  // ids are unique here
  for (int step = 0; step < 3000; ++step) {
    const auto id = static_cast<std::int32_t>(random() % 60);
    if (random() % 3 != 0) {
      const auto parentId = static_cast<std::int32_t>(random() % 61) - 1;
      if (parents.count(id)) continue;
      const bool can = parentId == -1 || parents.count(parentId);
      EXPECT_EQ(tree.Add(id, parentId, "t", false), can);
      if (can) parents[id] = parentId;
    } else {
      EXPECT_EQ(tree.Remove(tree.Find(id)), parents.count(id) == 1);
      std::vector<std::int32_t> gone{id};
      while (!gone.empty()) {
        const std::int32_t next = gone.back();
        gone.pop_back();
        parents.erase(next);
        for (const auto& [child, above] : parents) {
          if (above == next) gone.push_back(child);
        }
      }
    }
    ASSERT_EQ(tree.Count(), parents.size());
  }
  std::vector<std::int32_t> ids = AllIds(tree);
  std::sort(ids.begin(), ids.end());
  std::vector<std::int32_t> wanted;
  for (const auto& [id, above] : parents) wanted.push_back(id);
  EXPECT_EQ(ids, wanted);
}

}  // namespace
