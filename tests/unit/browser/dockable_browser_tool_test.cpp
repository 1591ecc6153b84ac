#include "host/browser/dockable_browser_tool.h"

#include "host/browser/shrink_expand_browser_objects.h"
#include "host/dialog/app_work_window.h"
#include "host/dialog/workbench.h"
#include "tavhost/ui/models/result_tool_model.h"
#include "tavhost/ui/models/work_window_model.h"
#include "tavhost/ui/table/table_model.h"
#include "tests/support/host_fixture.h"

namespace {

class BrowserTool : public HostTest {
 protected:
  void SetUp() override {
    HostTest::SetUp();
    window_ = std::make_unique<TavAppWorkWindow>(main_frames::Work());
    workbench_ = window_->GetWorkbench();
    tool_ = new TavDockableBrowserTool(workbench_, main_frames::Work(), "w", 80, 80);
    workbench_->AddTool("w", tool_, 0);
    workbench_->SetToolVisible("w", true);
  }
  void TearDown() override {
    window_.reset();
    HostTest::TearDown();
  }

  void AddResult(const char* content) {
    auto* const objects = new TavShrinkExpandBrowserObjects(0, 0);
    ASSERT_TRUE(objects->ReadFromText(content, ';', '\n'));
    tool_->AddResult(objects);
  }
  ui::ResultToolModel& Model() { return static_cast<ui::ResultToolModel&>(tool_->Model()); }
  bool IsVisible() {
    return static_cast<ui::WorkWindowModel&>(window_->Model()).workbench.Find("w")->visible;
  }

  std::unique_ptr<TavAppWorkWindow> window_;
  TavWorkbench* workbench_ = nullptr;
  TavDockableBrowserTool* tool_ = nullptr;  // the workbench's
};

TEST_F(BrowserTool, KeepsItsResultsUntilTheyAreClosed) {
  AddResult("a");
  AddResult("b");
  EXPECT_EQ(Model().Count(), 2u);
  EXPECT_EQ(Model().CurrentIndex(), 1u);
  tool_->CloseAllResults();
  EXPECT_EQ(Model().Count(), 0u);
  EXPECT_TRUE(IsVisible());
}

TEST_F(BrowserTool, IsHiddenWhenTheUserClosesTheLastResult) {
  AddResult("a");
  AddResult("b");
  Model().CloseCurrent();
  EXPECT_EQ(Model().Count(), 1u);
  EXPECT_TRUE(IsVisible());
  Model().CloseCurrent();
  EXPECT_EQ(Model().Count(), 0u);
  EXPECT_FALSE(IsVisible());
}

TEST_F(BrowserTool, ExpandsTheRowsOfTheTableThatIsShown) {
  AddResult("a\n1");
  AddResult("b\n1");
  tool_->AdjustAllRows();
  EXPECT_TRUE(Model().Current()->IsExpanded(0));
  Model().GoTo(0);
  EXPECT_FALSE(Model().Current()->IsExpanded(0));
  tool_->CloseAllResults();
  tool_->AdjustAllRows();
}

TEST_F(BrowserTool, ShowsTheButtonsItIsToldTo) {
  tool_->ShowPrevButton(true);
  tool_->ShowSearchButton(true);
  tool_->ShowPrevButton(false);
  EXPECT_FALSE(Model().ShowsButton(ui::ResultToolModel::kPrevious));
  EXPECT_TRUE(Model().ShowsButton(ui::ResultToolModel::kSearch));
  EXPECT_FALSE(Model().ShowsButton(ui::ResultToolModel::kClose));
}

TEST_F(BrowserTool, AFollowedLinkIsTraced) {
  AddResult("a\nmodel Engine v3");
  ui::TableModel& table = *Model().Current();
  table.modelFormat = "model %n v%v";
  table.showsLinks = true;
  table.linkActivated(*table.LinkAt(0, 0));
  EXPECT_EQ(Trace().back(),
            "TavShrinkExpandBrowserObjects#::LinkActivated(\"model\", \"Engine\", \"\", \"3\")");
}

}  // namespace
