#include "host/dialog/workbench.h"

#include "host/dialog/app_work_window.h"
#include "host/dialog/percentage_window.h"
#include "host/dialog/save_hide.h"
#include "host/dialog/top_window.h"
#include "host/sv/multi_line_edit.h"
#include "host/system/sysdepen.h"
#include "host/windows/windows.h"
#include "tavhost/dialog/work_window.h"
#include "tavhost/sv/window_handles.h"
#include "tavhost/ui/models/percentage_window_model.h"
#include "tavhost/ui/models/text_model.h"
#include "tests/support/host_fixture.h"

namespace {

using Lines = std::vector<std::string>;

class Workbench : public HostTest {
 protected:
  void SetUp() override {
    HostTest::SetUp();
    work_window::Create();
  }
  void TearDown() override {
    work_window::Destroy();
    HostTest::TearDown();
  }

  static TavWorkbench& Tools() { return *TavAppWorkWindow::GetGlobal()->GetWorkbench(); }
  static SV::MultiLineEdit* Add(const char* id) {
    auto* const edit = new SV::MultiLineEdit(TavAppWorkWindow::GetGlobal(), 8577);
    Tools().AddTool(id, edit, 0);
    return edit;
  }
};

TEST_F(Workbench, TheWorkWindowIsTheTopWindow) {
  const SV::Window* const top = Tav_GetTopWindow(0);
  EXPECT_EQ(top, TavAppWorkWindow::GetGlobal());
  EXPECT_EQ(TavAppWorkWindow::GetGlobal()->GetParent(), main_frames::App());
  TavAppWorkWindow::GetGlobal()->GetWorkbench();
  EXPECT_EQ(Trace(),
            (Lines{"Tav_GetTopWindow(0) -> top", "TavAppWorkWindow::GetGlobal() -> top",
                   "TavAppWorkWindow::GetGlobal() -> top", "TavAppWorkWindow::GetGlobal() -> top",
                   "top::GetWorkbench() -> TavWorkbench"}));
}

TEST_F(Workbench, ShowsTheWorkWindowWhileAToolIsVisible) {
  Add("a");
  Add("b");
  const TavAppWorkWindow& window = *TavAppWorkWindow::GetGlobal();
  EXPECT_FALSE(window.IsVisible());
  Tools().SetToolVisible("a", true);
  Tools().SetToolVisible("b", true);
  Tools().SetToolVisible("a", false);
  EXPECT_TRUE(window.IsVisible());
  Tools().SetToolVisible("b", false);
  EXPECT_FALSE(window.IsVisible());
  EXPECT_NE(Tools().GetToolWindow("a"), nullptr) << "hidden tools stay known";
}

TEST_F(Workbench, OperationsOnUnknownToolsDoNothing) {
  Tools().SetToolLocation("x", ToolBoxAlignTop, 1, 2);
  Tools().SetToolTitle("x", "t");
  Tools().SetToolSubtitle("x", "t");
  Tools().SetToolPrefFloatingSizePixel("x", {1, 2});
  Tools().SetToolMinVerticalSizePixel("x", {1, 2});
  Tools().SetToolMinHorizontalSizePixel("x", {1, 2});
  Tools().SetToolVisible("x", true);
  Tools().SetToolDefaultVisible("x", true);
  Tools().AddToolListener("x", SV::Link());
  Tools().ToolGrabFocus("x");
  EXPECT_EQ(Tools().GetToolWindow("x"), nullptr);
  EXPECT_FALSE(TavAppWorkWindow::GetGlobal()->IsVisible());
}

TEST_F(Workbench, ASecondToolOfAnIdReplacesTheFirst) {
  SV::MultiLineEdit* const first = Add("log");
  first->SetText("old");
  SV::MultiLineEdit* const second = Add("log");
  EXPECT_EQ(Tools().GetToolWindow("log"), second);
  EXPECT_EQ(second->GetText(), "");
  Tools().AddTool("log", second, 4);
  EXPECT_EQ(Tools().GetToolWindow("log"), second) << "its own window again is not deleted";
  EXPECT_EQ(second->GetText(), "");
}

TEST_F(Workbench, ListenersHearOfTheirTool) {
  Add("log");
  struct Heard {
    int count = 0;
    void* caller = nullptr;
  } heard;
  Tools().AddToolListener("log", SV::Link(&heard, [](void* object, void* caller) {
                            ++static_cast<Heard*>(object)->count;
                            static_cast<Heard*>(object)->caller = caller;
                          }));
  Tools().SetToolVisible("log", true);
  Tools().ToolGrabFocus("log");
  EXPECT_EQ(heard.count, 2);
  EXPECT_EQ(heard.caller, &Tools());
}

TEST_F(Workbench, ATextControlTellsItsModelWhatIsNew) {
  SV::MultiLineEdit& edit = *Add("log");
  const auto& model = static_cast<const ui::TextModel&>(edit.Model());
  SV::String text = edit.GetText();
  text += "one\ntwo\n";
  edit.SetText(text);
  const std::uint64_t end = model.End();
  const std::uint64_t version = model.Version();
  text = edit.GetText();
  text += "three\n";
  text.Erase(0, 4);
  edit.SetText(text);
  EXPECT_EQ(model.Version(), version);
  EXPECT_EQ(model.DroppedLines(), 1u);
  EXPECT_EQ(model.Since(end), "three\n");
  EXPECT_EQ(model.Text(), "two\nthree\n");
  edit.SetText("other");
  EXPECT_NE(model.Version(), version);
  EXPECT_EQ(model.DroppedLines(), 0u);
  EXPECT_EQ(edit.GetText(), "other");
}

TEST_F(Workbench, TheModelOutlastsWhatAStringDoes) {
  SV::MultiLineEdit& edit = *Add("log");
  const auto& model = static_cast<const ui::TextModel&>(edit.Model());
  edit.SetText("one\n");
  SV::String kept = edit.GetText();
  for (int i = 0; i < 1000; ++i) kept += "more";
  const SV::String again = edit.GetText();
  kept = "";
  EXPECT_EQ(again, "one\n");
  EXPECT_EQ(model.Text(), "one\n");
}

TEST_F(Workbench, TheScrollMessageReachesTheModelByTheHandle) {
  SV::MultiLineEdit& edit = *Add("log");
  const auto& model = static_cast<const ui::TextModel&>(edit.Model());
  edit.SetText("one\n");
  edit.ChangeSelection(SV::Selection(3, 3));
  EXPECT_EQ(model.SelectionTo(), 3);
  const HWND handle = SV::Sysdepen::GethWnd(&edit);
  EXPECT_NE(handle, nullptr);
  EXPECT_EQ(handle, SV::Sysdepen::GethWnd(&edit));
  SendMessageA(handle, EM_SCROLLCARET, 0, 0);
  EXPECT_EQ(model.ShowRequests(), 1u);
  SendMessageA(handle, 12345, 0, 0);
  EXPECT_EQ(model.ShowRequests(), 1u);
}

TEST_F(Workbench, AHandleEndsWithItsWindow) {
  HWND handle = nullptr;
  {
    SV::MultiLineEdit edit(nullptr, 8577);
    handle = SV::Sysdepen::GethWnd(&edit);
    EXPECT_EQ(window_handles::Find(handle), &edit);
  }
  EXPECT_EQ(window_handles::Find(handle), nullptr);
  EXPECT_EQ(SendMessageA(handle, EM_SCROLLCARET, 0, 0), 0);
  EXPECT_EQ(SV::Sysdepen::GethWnd(nullptr), nullptr);
  // Messages to what is no text do nothing.
  EXPECT_NE(SV::Sysdepen::GethWnd(TavAppWorkWindow::GetGlobal()), nullptr);
  SendMessageA(SV::Sysdepen::GethWnd(TavAppWorkWindow::GetGlobal()), EM_SCROLLCARET, 0, 0);
}

TEST_F(Workbench, ThePercentageWindow) {
  {
    TavPercentageWindow window(main_frames::App(), "t", "", 9);
    window.Show();
    window.SetPercentage(12.5);
    window.SetMessage2("m");
    EXPECT_FALSE(window.IsCancelled());
    static_cast<ui::PercentageWindowModel&>(window.Model()).Cancel();
    EXPECT_TRUE(window.IsCancelled());
    Tav_SaveHide(&window);
    EXPECT_FALSE(window.IsVisible());
  }
  Tav_SaveHide(nullptr);
  EXPECT_EQ(
      Trace(),
      (Lines{"TavPercentageWindow::TavPercentageWindow(app, \"t\", \"\", 9) -> "
             "TavPercentageWindow#",
             "TavPercentageWindow#::Show(true)", "TavPercentageWindow#::SetPercentage(12.5)",
             "TavPercentageWindow#::SetMessage2(\"m\")",
             "TavPercentageWindow#::IsCancelled() -> false",
             "TavPercentageWindow#::IsCancelled() -> true", "Tav_SaveHide(TavPercentageWindow#)",
             "TavPercentageWindow#::~TavPercentageWindow()", "Tav_SaveHide(null)"}));
}

}  // namespace
