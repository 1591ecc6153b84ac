#include "tavhost/ui/models/workbench_model.h"

#include <gtest/gtest.h>

namespace {

using ui::Tool;
using ui::ToolLocation;
using ui::ToolSide;
using ui::WorkbenchModel;

class Recorder final : public ui::WorkbenchObserver {
 public:
  void ToolAdded(Tool& tool) override { told.push_back("added " + tool.id); }
  void ToolRemoved(Tool& tool) override { told.push_back("removed " + tool.id); }
  void ToolChanged(Tool& tool, ui::ToolChange change) override {
    told.push_back("changed " + tool.id + " " + std::to_string(static_cast<int>(change)));
  }
  void FocusWanted(Tool& tool) override { told.push_back("focus " + tool.id); }

  std::vector<std::string> told;
};

std::vector<std::string> Order(const WorkbenchModel& model) {
  std::vector<std::string> ids;
  for (const Tool* const tool : model.InOrder()) ids.push_back(tool->id);
  return ids;
}

TEST(WorkbenchModel, ToolsStandBySideIndexSubIndexAndId) {
  WorkbenchModel model;
  const auto add = [&](const char* id, ToolSide side, long index, long subIndex) {
    model.SetLocation(model.Add(id, nullptr, 0), {side, index, subIndex});
  };
  add("e", ToolSide::kBottom, 1, 0);
  add("d", ToolSide::kBottom, 0, 4711);
  add("c", ToolSide::kBottom, 0, 1);
  add("b", ToolSide::kBottom, 0, 1);
  add("z", ToolSide::kLeft, 9, 9);
  add("a", ToolSide::kTop, -1, 0);
  EXPECT_EQ(Order(model), (std::vector<std::string>{"z", "a", "b", "c", "d", "e"}));
}

TEST(WorkbenchModel, ANewToolIsHiddenAndTitledByItsId) {
  WorkbenchModel model;
  const Tool& tool = model.Add("log", nullptr, 32 | 1);
  EXPECT_FALSE(tool.visible);
  EXPECT_EQ(tool.title, "log");
  EXPECT_TRUE(tool.HasFlag(ui::tool_flags::kNotMovable));
  EXPECT_FALSE(tool.HasFlag(ui::tool_flags::kNoCloseButton));
  EXPECT_FALSE(model.HasVisible());
}

TEST(WorkbenchModel, AHiddenToolStaysKnown) {
  WorkbenchModel model;
  Tool& tool = model.Add("log", nullptr, 0);
  model.SetVisible(tool, true);
  EXPECT_TRUE(model.HasVisible());
  model.SetVisible(tool, false);
  EXPECT_FALSE(model.HasVisible());
  EXPECT_EQ(model.Find("log"), &tool);
}

TEST(WorkbenchModel, ASecondToolOfAnIdReplacesTheFirst) {
  WorkbenchModel model;
  Recorder recorder;
  model.AddObserver(recorder);
  model.SetTitle(model.Add("log", nullptr, 0), "Log");
  ui::WindowModel content;
  EXPECT_EQ(model.Add("log", &content, 0).title, "log");
  EXPECT_EQ(model.InOrder().size(), 1u);
  EXPECT_EQ(model.Find("log")->content, &content);
  EXPECT_EQ(recorder.told,
            (std::vector<std::string>{"added log", "changed log 0", "removed log", "added log"}));
  model.RemoveObserver(recorder);
}

TEST(WorkbenchModel, OnlyRealChangesOfVisibilityAreTold) {
  WorkbenchModel model;
  Tool& tool = model.Add("log", nullptr, 0);
  Recorder recorder;
  model.AddObserver(recorder);
  int heard = 0;
  model.AddListener(tool, [&heard] { ++heard; });
  model.WantFocus(tool);  // hidden
  model.SetVisible(tool, false);
  EXPECT_TRUE(recorder.told.empty());
  EXPECT_EQ(heard, 0);
  model.SetVisible(tool, true);
  model.SetVisible(tool, true);
  model.WantFocus(tool);
  EXPECT_EQ(recorder.told, (std::vector<std::string>{"changed log 3", "focus log"}));
  EXPECT_EQ(heard, 2);
  model.RemoveObserver(recorder);
  model.SetVisible(tool, false);
  EXPECT_EQ(recorder.told.size(), 2u);
  EXPECT_EQ(heard, 3);
}

TEST(WorkbenchModel, AListenerMayRemoveItsTool) {
  WorkbenchModel model;
  Tool& tool = model.Add("log", nullptr, 0);
  int heard = 0;
  model.AddListener(tool, [&] {
    ++heard;
    model.Remove("log");
  });
  model.AddListener(tool, [&heard] { ++heard; });
  model.SetVisible(tool, true);
  EXPECT_EQ(heard, 2);
  EXPECT_EQ(model.Find("log"), nullptr);
}

TEST(WorkbenchModel, SizesAreKeptAsGiven) {
  WorkbenchModel model;
  Tool& tool = model.Add("log", nullptr, 0);
  model.SetSize(tool, &Tool::verticalSize, {200, 250});
  model.SetSize(tool, &Tool::horizontalSize, {250, 120});
  EXPECT_EQ(tool.verticalSize->Height(), 250);
  EXPECT_EQ(tool.horizontalSize->Height(), 120);
  EXPECT_FALSE(tool.floatingSize);
}

}  // namespace
