#include "tavhost/ui/models/result_tool_model.h"

#include <gtest/gtest.h>

namespace {

using ui::ResultToolModel;
using ui::TableModel;

struct Counter final : ui::ResultToolObserver {
  void ResultsChanged(ResultToolModel&) override { ++results; }
  void ButtonsChanged(ResultToolModel&) override { ++buttons; }
  int results = 0;
  int buttons = 0;
};

TEST(ResultTool, ShowsTheResultThatCameLast) {
  ResultToolModel tool;
  TableModel a(false);
  TableModel b(false);
  EXPECT_EQ(tool.Current(), nullptr);
  tool.Add(a);
  EXPECT_EQ(tool.Current(), &a);
  tool.Add(b);
  EXPECT_EQ(tool.Current(), &b);
  tool.GoTo(0);
  EXPECT_EQ(tool.Current(), &a);
  tool.GoTo(2);
  EXPECT_EQ(tool.CurrentIndex(), 0u) << "there is no third one";
}

TEST(ResultTool, ARemovedResultGivesWayToItsNeighbour) {
  ResultToolModel tool;
  TableModel tables[3] = {TableModel(false), TableModel(false), TableModel(false)};
  for (TableModel& table : tables) tool.Add(table);
  tool.Remove(2);
  EXPECT_EQ(tool.Current(), &tables[1]);
  tool.GoTo(0);
  tool.Remove(0);
  EXPECT_EQ(tool.Current(), &tables[1]);
  tool.Add(tables[2]);
  tool.Remove(0);
  EXPECT_EQ(tool.Current(), &tables[2]);
  tool.Remove(0);
  EXPECT_EQ(tool.Current(), nullptr);
}

TEST(ResultTool, TheOwnerClosesWhatTheUserWantsClosed) {
  ResultToolModel tool;
  TableModel table(false);
  int closed = -1;
  tool.closeResult = [&](std::size_t index) { closed = static_cast<int>(index); };
  tool.CloseCurrent();
  EXPECT_EQ(closed, -1);
  tool.Add(table);
  tool.CloseCurrent();
  EXPECT_EQ(closed, 0);
  EXPECT_EQ(tool.Count(), 1u);
}

TEST(ResultTool, ObserversAreTold) {
  ResultToolModel tool;
  Counter counter;
  tool.AddObserver(counter);
  TableModel table(false);
  tool.Add(table);
  tool.Remove(0);
  tool.ShowButton(ResultToolModel::kSave, true);
  EXPECT_TRUE(tool.ShowsButton(ResultToolModel::kSave));
  EXPECT_FALSE(tool.ShowsButton(ResultToolModel::kPrint));
  tool.RemoveObserver(counter);
  tool.Add(table);
  EXPECT_EQ(counter.results, 2);
  EXPECT_EQ(counter.buttons, 1);
}

}  // namespace
