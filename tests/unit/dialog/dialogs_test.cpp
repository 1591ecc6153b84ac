#include <gtest/gtest.h>

#include "host/dialog/directory_dialog.h"
#include "host/dialog/edit_box.h"
#include "host/dialog/file_dialog.h"
#include "host/dialog/list_box_dialog.h"
#include "host/dialog/mess_win.h"
#include "host/dialog/multi_list_box_dialog.h"
#include "host/dialog/simple_edit_dialog.h"
#include "host/dialog/startup_box.h"
#include "host/dialog/top_window.h"
#include "host/dialog/view_box.h"
#include "host/sv/application.h"
#include "tavhost/dialog/startup_box.h"
#include "tavhost/dialog/window_stack.h"
#include "tavhost/ui/models/directory_dialog_model.h"
#include "tavhost/ui/models/file_dialog_model.h"
#include "tavhost/ui/models/modal_model.h"
#include "tavhost/ui/models/text_box_model.h"
#include "tests/support/fake_toolkit.h"
#include "tests/support/host_fixture.h"

namespace {

using Dialogs = HostTest;
using Lines = std::vector<std::string>;

TEST_F(Dialogs, ADialogIsTheTopWindowWhileItRuns) {
  TavViewBox box(Tav_GetTopWindow(0), 1);
  SV::Window* inside = nullptr;
  answer = [&](ui::ModalModel& window) {
    inside = window_stack::Top();
    window.End("ok");
  };
  EXPECT_EQ(window_stack::Top(), main_frames::Work());
  EXPECT_EQ(box.Execute(), 1);
  EXPECT_EQ(inside, &box);
  EXPECT_EQ(window_stack::Top(), main_frames::Work());
}

TEST_F(Dialogs, TheFontOfATextIsACopyOfTheApplications) {
  const SV::String before = SV::GetpApp()->GetAppFont().GetName();
  {
    TavViewBox box(main_frames::Work(), 0);
    SV::Font font(SV::GetpApp()->GetAppFont());
    font.ChangeName("Courier");
    font.ChangeSize(SV::Size(0, -3));
    box.GetTextControl().ChangeFont(font);
    ASSERT_TRUE(box.Model().font);
    EXPECT_EQ(box.Model().font->name, "Courier");
    EXPECT_EQ(box.Model().font->height, -3);
  }
  EXPECT_EQ(SV::GetpApp()->GetAppFont().GetName(), before);
  const Lines expected = {
      "TavViewBox::TavViewBox(top, 0) -> TavViewBox#",
      "SV::GetpApp() -> SV::Application",
      "SV::Application::GetAppFont()",
      "SV::Font::Font(appfont) -> SV::Font#",
      "SV::Font#::ChangeName(\"Courier\")",
      "SV::Font#::ChangeSize((0, -3))",
      "TavViewBox#::GetTextControl() -> SV::MultiLineEdit#",
      "SV::MultiLineEdit#::ChangeFont(SV::Font#) -> SV::Font#",
      "SV::Font#::~Font()",
      "SV::Font#::~Font()",
      "TavViewBox#::~TavViewBox()",
  };
  Lines lines = Trace();
  lines.erase(lines.begin(), lines.begin() + 2);  // the test's own look at the font
  lines.resize(expected.size());
  EXPECT_EQ(lines, expected);
}

TEST_F(Dialogs, EditBoxGivesItsTextHoweverItEnds) {
  TavEditBox box(main_frames::Work(), 0);
  box.SetEditText("before");
  answer = [](ui::ModalModel& window) {
    static_cast<ui::TextBoxModel&>(window).text = "after";
    window.End("cancel");
  };
  EXPECT_EQ(box.Execute(), 0);
  EXPECT_TRUE(box.GetEditText() == "after");
}

TEST_F(Dialogs, ListBoxGivesWhatIsSelected) {
  TavListBoxDialog dialog(main_frames::Work());
  EXPECT_TRUE(dialog.GetSelectEntry() == "");
  dialog.InsertEntry("a");
  dialog.InsertEntry("b");
  dialog.SelectEntry("b");
  EXPECT_TRUE(dialog.GetSelectEntry() == "b");
  dialog.SelectEntry("none");
  EXPECT_TRUE(dialog.GetSelectEntry() == "b");
  dialog.AddCheckBox("x", true);
  EXPECT_TRUE(dialog.IsChecked("x"));
  EXPECT_FALSE(dialog.IsChecked("y"));
}

TEST_F(Dialogs, MultiListBoxGivesTheListsOrder) {
  TavMultiListBoxDialog dialog(main_frames::Work());
  for (const char* entry : {"a", "b", "c"}) dialog.InsertEntry(entry);
  dialog.SelectEntry("c");
  dialog.SelectEntry("a");
  ASSERT_EQ(dialog.GetSelectEntryCount(), 2u);
  EXPECT_TRUE(dialog.GetSelectEntry(0) == "a");
  EXPECT_TRUE(dialog.GetSelectEntry(1) == "c");
  EXPECT_TRUE(dialog.GetSelectEntry(2) == "");
}

TEST_F(Dialogs, SizesAreConvertedFromDialogUnits) {
  TavListBoxDialog dialog(main_frames::Work());
  const SV::MapMode units(SV::MapAppFont);
  EXPECT_EQ(dialog.LogicToPixel(SV::Size(100, 125), units), SV::Size(200, 250));
  EXPECT_EQ(dialog.LogicToPixel(SV::Point(-3, 0), units), SV::Point(-6, 0));
  EXPECT_EQ(dialog.LogicToPixel(SV::Size(2147483647, -2147483647), units),
            SV::Size(2147483647, -2147483647));
  dialog.ChangeOutputSizePixel(SV::Size(200, 250));
  EXPECT_EQ(dialog.Model().size, SV::Size(200, 250));
}

// A name of `length` bytes, the last three of them one character.
SV::String NameEndingInEuro(long length) {
  std::string name(static_cast<std::size_t>(length - 3), 'n');
  name += "\xE2\x82\xAC";
  return SV::String(name.data(), length);
}

const std::string& OfferedName(ui::ModalModel& window) {
  return static_cast<ui::FileDialogModel&>(window).fileName;
}

TEST_F(Dialogs, AFileNameThatFitsIsKeptWholeAndALongerOneIsCutAtACharacter) {
  const long fits = TavFileDialog::kFileNameCapacity - 1;
  for (const long length : {fits - 1, fits, fits + 1, fits + 2, 3 * fits}) {
    TavFileDialog dialog(main_frames::Work(), 0x2020);
    dialog.SetInitialFileName(NameEndingInEuro(length));
    std::string offered;
    answer = [&](ui::ModalModel& window) {
      offered = OfferedName(window);
      window.End("cancel");
    };
    dialog.Execute();
    if (length <= fits) {
      EXPECT_EQ(offered, NameEndingInEuro(length).View());
    } else if (length < fits + 3) {
      EXPECT_EQ(offered, std::string(static_cast<std::size_t>(length - 3), 'n'));
    } else {
      EXPECT_EQ(offered, std::string(static_cast<std::size_t>(fits), 'n'));
    }
  }
}

TEST_F(Dialogs, AFileNameEndsAtItsFirstNul) {
  TavFileDialog dialog(main_frames::Work(), 0x2020);
  dialog.SetInitialFileName(SV::String("a\0b", 3));
  answer = [&](ui::ModalModel& window) {
    EXPECT_EQ(OfferedName(window), "a");
    window.End("ok");
  };
  EXPECT_EQ(dialog.Execute(), 1);
}

TEST_F(Dialogs, FileDialogTakesItsModeFromTheStyle) {
  const std::pair<std::uint32_t, bool> cases[] = {
      {0x1020, false}, {0x2020, true}, {0x3020, false}, {0x20, false}};
  for (const auto& [style, isSave] : cases) {
    TavFileDialog dialog(main_frames::Work(), style);
    dialog.AllowMultiSelectOnOpen();
    answer = [&, save = isSave](ui::ModalModel& window) {
      auto& files = static_cast<ui::FileDialogModel&>(window);
      EXPECT_EQ(files.IsSave(), save) << style;
      EXPECT_EQ(files.AllowsMultiple(), !save) << style;
      window.End("cancel");
    };
    EXPECT_EQ(dialog.Execute(), 0);
    EXPECT_TRUE(dialog.GetPath() == "");
    ISequence<SV::String> files;
    dialog.GetSelectedFiles(files);
    EXPECT_EQ(files.Count(), 0);
  }
}

TEST_F(Dialogs, ADirectoryIsLeftAsItWasWhenCancelled) {
  answer = [](ui::ModalModel& window) {
    static_cast<ui::DirectoryDialogModel&>(window).path = "/other";
    window.End("cancel");
  };
  SV::String path("/start");
  EXPECT_FALSE(ExecuteDirectoryDialog(main_frames::Work(), path));
  EXPECT_TRUE(path == "/start");
  answer = [](ui::ModalModel& window) {
    static_cast<ui::DirectoryDialogModel&>(window).path = "/other";
    window.End("ok");
  };
  EXPECT_TRUE(ExecuteDirectoryDialog(main_frames::Work(), path));
  EXPECT_TRUE(path == "/other");
}

TEST_F(Dialogs, AMessageWindowOutlivesItsParent) {
  auto window = std::make_unique<TavMessWin>(main_frames::App(), "text", 0, true);
  window->Show();
  EXPECT_TRUE(window->IsVisible());
  main_frames::Destroy();
  EXPECT_EQ(window->GetParent(), nullptr);
  EXPECT_EQ(window->Model().parent, nullptr);
  window->SetText("more");
  EXPECT_TRUE(window->GetText() == "more");
  EXPECT_EQ(window->Model().Title(), "Message");
}

TEST_F(Dialogs, TheStartUpBoxIsThereWhileItShows) {
  const FakeToolkit toolkit;
  EXPECT_EQ(TavStartupBox::GetGlobal(), nullptr);
  startup_box::Show();
  ASSERT_NE(TavStartupBox::GetGlobal(), nullptr);
  TavStartupBox::GetGlobal()->SetAdditionalMessage("loading");
  EXPECT_EQ(toolkit.message, "loading");
  startup_box::Hide();
  EXPECT_EQ(TavStartupBox::GetGlobal(), nullptr);
}

TEST_F(Dialogs, TenThousandCyclesOfEachLeaveNothingOpen) {
  for (int i = 0; i < 10000; ++i) {
    TavListBoxDialog list(Tav_GetTopWindow(0));
    list.InsertEntry("a");
    list.Execute();
    TavEditBox edit(Tav_GetTopWindow(0), 0);
    edit.Execute();
    TavFileDialog file(Tav_GetTopWindow(0), 0x1020);
    file.Execute();
  }
  EXPECT_EQ(shown, 30000);
  EXPECT_EQ(window_stack::Top(), main_frames::Work());
}

}  // namespace
