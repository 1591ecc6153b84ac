#include <gtest/gtest.h>

#include "host/dialog/info_box.h"
#include "host/dialog/query_box.h"
#include "host/dialog/top_window.h"
#include "host/dialog/warning_box.h"
#include "host/sv/application.h"
#include "host/sv/error_box.h"
#include "tavhost/dialog/window_stack.h"
#include "tavhost/sv/modal.h"
#include "tavhost/ui/models/modal_model.h"
#include "tests/support/host_fixture.h"

namespace {

using Boxes = HostTest;
using Lines = std::vector<std::string>;

TEST_F(Boxes, AWrapperIsTheTopWindowForItsLife) {
  {
    TavQueryBox box(Tav_GetTopWindow(0), 0x1040, "Write?");
    EXPECT_EQ(window_stack::Top(), &box);
    box.SetText("");
    answer = [](ui::ModalModel& window) { window.End("no"); };
    EXPECT_EQ(box.Execute(), 3);
  }
  EXPECT_EQ(window_stack::Top(), main_frames::Work());
  EXPECT_EQ(Trace(), (Lines{
                         "Tav_GetTopWindow(0) -> top",
                         "Tav_PushParentWindow(TavQueryBox#)",
                         "TavQueryBox::TavQueryBox(top, 4160, \"Write?\") -> TavQueryBox#",
                         "TavQueryBox#::SetText(\"\")",
                         "TavQueryBox#::Execute() -> 3",
                         "TavQueryBox#::~TavQueryBox()",
                         "Tav_PopParentWindow(TavQueryBox#)",
                     }));
}

TEST_F(Boxes, AnErrorBoxIsNeverPushed) {
  {
    SV::ErrorBox box(Tav_GetTopWindow(0), 0x10, "No.");
    EXPECT_EQ(window_stack::Top(), main_frames::Work());
    EXPECT_EQ(box.Execute(), 1);
  }
  EXPECT_EQ(Trace(), (Lines{
                         "Tav_GetTopWindow(0) -> top",
                         "SV::ErrorBox::ErrorBox(top, 16, \"No.\") -> SV::ErrorBox#",
                         "SV::ErrorBox#::Execute() -> 1",
                         "SV::ErrorBox#::~ErrorBox()",
                     }));
}

TEST_F(Boxes, AWrapperDestroyedThroughItsBasePopsItself) {
  std::unique_ptr<SV::MessBox> box =
      std::make_unique<TavWarningBox>(main_frames::Work(), 0x10, "text");
  EXPECT_EQ(window_stack::Top(), box.get());
  box.reset();
  EXPECT_EQ(window_stack::Top(), main_frames::Work());
}

TEST_F(Boxes, AnInfoBoxShowsTheNormalCursorAndRestoresTheOther) {
  SV::GetpApp()->Wait(true);
  bool waitInside = true;
  answer = [&](ui::ModalModel& window) {
    waitInside = SV::GetpApp()->IsWait();
    window.End("cancel");
  };
  TavInfoBox box(main_frames::Work(), "Done");
  EXPECT_EQ(box.Execute(), 0);
  EXPECT_FALSE(waitInside);
  EXPECT_TRUE(SV::GetpApp()->IsWait());
  SV::GetpApp()->Wait(false);
}

TEST_F(Boxes, AStopEndsTheScriptAndLeavesNothingOpen) {
  answer = [](ui::ModalModel& window) {
    window.End("cancel");
    stop::Request(stop::Reason::kUser);
  };
  {
    TavQueryBox box(main_frames::Work(), 0x40, "Write?");
    EXPECT_THROW(box.Execute(), stop::Stopped);
    EXPECT_THROW(box.Execute(), stop::Stopped) << "a stopped script opens no more windows";
    EXPECT_EQ(shown, 1);
  }
  EXPECT_EQ(window_stack::Top(), main_frames::Work());
  EXPECT_EQ(modal::Nesting(), 0);
}

TEST_F(Boxes, TwentyNestAndOneMoreIsAnError) {
  std::vector<std::unique_ptr<TavQueryBox>> boxes;
  int deepest = 0;
  bool failed = false;
  std::function<void(ui::ModalModel&)> nest = [&](ui::ModalModel& window) {
    deepest = std::max(deepest, modal::Nesting());
    TavQueryBox inner(Tav_GetTopWindow(0), 0x10, "inner");
    try {
      if (!failed) inner.Execute();
    } catch (const stop::Stopped&) {
      failed = true;
    }
    window.End("ok");
  };
  answer = nest;
  testing::internal::CaptureStderr();
  TavQueryBox outer(Tav_GetTopWindow(0), 0x10, "outer");
  EXPECT_THROW(outer.Execute(), stop::Stopped);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "tavhost: error: more than 20 dialogs inside each other\n");
  EXPECT_TRUE(failed);
  EXPECT_EQ(deepest, modal::kMaxNesting);
  EXPECT_EQ(modal::Nesting(), 0);
  EXPECT_EQ(stop::Requested(), stop::Reason::kNoAnswer);
}

TEST_F(Boxes, OtherResultsComeBackUnchanged) {
  for (const long result : {-1L, 5L, 0L, 2L}) {
    answer = [result](ui::ModalModel& window) { window.EndWith(result); };
    SV::ErrorBox box(main_frames::Work(), 0x10, "text");
    EXPECT_EQ(box.Execute(), result);
  }
}

}  // namespace
