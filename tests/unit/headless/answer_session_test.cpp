#include "tavhost/headless/answer_session.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <tl/expected.hpp>

#include "tavhost/base/plugin_call.h"
#include "tavhost/base/stop.h"
#include "tavhost/ui/models/edit_field_model.h"
#include "tavhost/ui/models/message_box_model.h"
#include "tavhost/ui/models/modal_model.h"
#include "tavhost/ui/models/percentage_window_model.h"
#include "tavhost/ui/models/tree_list_box_model.h"

namespace {

using Mode = ui::AnswerOptions::Mode;

class AnswerSession : public testing::Test {
 protected:
  void SetUp() override {
    stop::Clear();
    const auto* const info = testing::UnitTest::GetInstance()->current_test_info();
    path_ = (std::filesystem::temp_directory_path() / (std::string("tavhost-") + info->name()))
                .string();
  }
  void TearDown() override {
    stop::Clear();
    std::filesystem::remove(path_);
  }

  std::shared_ptr<ui::AnswerSession> FromText(const std::string& text) {
    std::ofstream(path_, std::ios::binary) << text;
    return ui::AnswerSession::Create({Mode::kFile, path_, ""}).value();
  }
  std::shared_ptr<ui::AnswerSession> Of(Mode mode) {
    return ui::AnswerSession::Create({mode, "", ""}).value();
  }
  std::shared_ptr<ui::AnswerSession> Recording() {
    return ui::AnswerSession::Create({Mode::kAccept, "", path_}).value();
  }

  // The message when no answer fits the window.
  std::string ErrorOf(ui::AnswerSession& session, ui::ModalModel& window) {
    stop::Clear();
    window.Begin();
    testing::internal::CaptureStderr();
    EXPECT_THROW(session.Answer(window), stop::Stopped);
    EXPECT_EQ(stop::Requested(), stop::Reason::kNoAnswer);
    return testing::internal::GetCapturedStderr();
  }

  std::string path_;
  ui::MessageBoxModel box_{ui::MessageKind::kQuery, 0x80 | 0x1000, "Write?"};
};

TEST_F(AnswerSession, TakesOneAnswerForEachWindowInOrder) {
  auto session = FromText("MESSAGE_BOX button:no\nMESSAGE_BOX\n");
  session->Answer(box_);
  EXPECT_EQ(box_.EndButton(), "no");
  session->Answer(box_);
  EXPECT_EQ(box_.EndButton(), "yes");
  EXPECT_TRUE(session->Finish());
}

TEST_F(AnswerSession, AMissingAnswerTellsTheLineToAddAndItsPlace) {
  auto session = FromText("MESSAGE_BOX button:no\n");
  session->Answer(box_);
  EXPECT_EQ(ErrorOf(*session, box_),
            path_ +
                ":2: error: no answer is left for the window; this line answers it:\n"
                "MESSAGE_BOX button:yes\n");
}

TEST_F(AnswerSession, AnUnfittingAnswerTellsItsPlaceAndTheLineThatFits) {
  auto session = FromText("\n\nMESSAGE_BOX button:retry");
  EXPECT_EQ(ErrorOf(*session, box_),
            path_ +
                ":3: error: there is no button retry; there are: yes, no, cancel; "
                "this line answers it:\nMESSAGE_BOX button:yes\n");
}

TEST_F(AnswerSession, LeftOverAnswersAreAnError) {
  auto session = FromText("MESSAGE_BOX\nMESSAGE_BOX button:no\nVIEW_BOX\n");
  ASSERT_FALSE(session->Finish());
  EXPECT_EQ(session->Finish().error().Text(),
            path_ + ":1: error: 3 answers are left over, the first of them:\nMESSAGE_BOX");
  session->Answer(box_);
  session->Answer(box_);
  ASSERT_FALSE(session->Finish());
  EXPECT_EQ(session->Finish().error().Text(),
            path_ + ":3: error: this answer is left over:\nVIEW_BOX");
}

TEST_F(AnswerSession, AcceptAndCancelAnswerEverything) {
  auto accept = Of(Mode::kAccept);
  accept->Answer(box_);
  EXPECT_EQ(box_.EndButton(), "yes");
  ui::EditFieldModel field("Name");
  field.text = "kept";
  accept->Answer(field);
  EXPECT_EQ(field.EndButton(), "ok");
  EXPECT_EQ(field.text, "kept");
  auto cancel = Of(Mode::kCancel);
  ui::MessageBoxModel okOnly(ui::MessageKind::kInfo, 0x10, "Done");
  cancel->Answer(okOnly);
  EXPECT_EQ(okOnly.EndButton(), "cancel");
}

TEST_F(AnswerSession, WithoutAnswersAWindowIsAnError) {
  auto none = Of(Mode::kNone);
  EXPECT_EQ(ErrorOf(*none, box_),
            "tavhost: error: there is no display and no --answers for the window; "
            "this line answers it:\nMESSAGE_BOX button:yes\n");
}

TEST_F(AnswerSession, TellsWhereTheScriptOpensTheWindow) {
  plugin_call::SetPlaceTeller([]() noexcept { return plugin_call::Place{"a\n.tav", 12}; });
  auto session = FromText("MESSAGE_BOX button:retry");
  EXPECT_TRUE(ErrorOf(*session, box_)
                  .ends_with("this line answers it:\nMESSAGE_BOX button:yes\n"
                             "a\\n.tav:12: note: the window is opened here\n"));
  try {
    session->Answer(box_);
  } catch (const ui::Unanswered& missing) {
    EXPECT_EQ(
        std::string(missing.what()),
        "a\\n.tav:12: there is no button retry; there are: yes, no, cancel; this line answers "
        "it: MESSAGE_BOX button:yes");
  }
  plugin_call::SetPlaceTeller(nullptr);
}

TEST_F(AnswerSession, AcceptPressesNoGreyedButton) {
  ui::TreeListBoxModel tree{ui::TreeListBoxModel::Options()};
  EXPECT_EQ(ErrorOf(*Of(Mode::kAccept), tree),
            "tavhost: error: the button ok cannot be pressed while nothing is selected; "
            "this line answers it:\nTREE_LIST_BOX button:cancel\n");
}

TEST_F(AnswerSession, ProgressIsCancelledAtATimeThatThereIs) {
  for (const char* line : {"CANCEL_PROGRESS after:0", "CANCEL_PROGRESS after:-1"}) {
    auto session = FromText(line);
    ui::PercentageWindowModel window("t", true, false);
    stop::Clear();
    testing::internal::CaptureStderr();
    EXPECT_THROW(session->ProgressShown(window), stop::Stopped);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              path_ +
                  ":1: error: after counts the times that the script asks, from 1 on; this line "
                  "answers it:\nCANCEL_PROGRESS after:1\n");
    EXPECT_EQ(stop::Requested(), stop::Reason::kNoAnswer);
  }
}

TEST_F(AnswerSession, CancelProgressIsTakenOnlyWhenItIsNext) {
  auto session = FromText("MESSAGE_BOX\nCANCEL_PROGRESS after:3\nCANCEL_PROGRESS\n");
  const auto cancelledAt = [&session](bool cancelButton) {
    ui::PercentageWindowModel window("t", cancelButton, false);
    session->ProgressShown(window);
    for (int i = 0; i < 5; ++i) window.Poll();
    return window.CancelledAt();
  };
  EXPECT_EQ(cancelledAt(true), 0);
  session->Answer(box_);
  EXPECT_EQ(cancelledAt(false), 0) << "there is nothing to cancel it by";
  EXPECT_EQ(cancelledAt(true), 3);
  EXPECT_EQ(cancelledAt(true), 1) << "at once";
  EXPECT_EQ(cancelledAt(true), 0);
}

TEST_F(AnswerSession, WritesThatProgressWasCancelledBeforeWhatCameMeanwhile) {
  const auto session = Recording();
  for (const bool cancel : {true, false}) {
    ui::PercentageWindowModel window("t", true, false);
    session->ProgressShown(window);
    window.Poll();
    session->Answer(box_);
    session->Record(box_);
    if (cancel) window.Cancel();
    window.Poll();
    session->ProgressClosed(window);
  }
  EXPECT_TRUE(session->KeepRecord());
  std::stringstream text;
  text << std::ifstream(path_).rdbuf();
  EXPECT_EQ(text.str(),
            "CANCEL_PROGRESS after:2\nMESSAGE_BOX button:yes\nMESSAGE_BOX button:yes\n");
}

TEST_F(AnswerSession, WritesWhatWasDone) {
  const auto session = Recording();
  session->Answer(box_);
  session->Record(box_);
  box_.End("no");
  session->Record(box_);
  EXPECT_TRUE(session->KeepRecord());
  std::stringstream text;
  text << std::ifstream(path_).rdbuf();
  EXPECT_EQ(text.str(), "MESSAGE_BOX button:yes\nMESSAGE_BOX button:no\n");
}

TEST_F(AnswerSession, WritesProgressThatStillShowsAtTheEnd) {
  const auto session = Recording();
  ui::PercentageWindowModel window("t", true, false);
  session->ProgressShown(window);
  session->Answer(box_);
  session->Record(box_);
  EXPECT_TRUE(session->KeepRecord());
  session->ProgressClosed(window);
  std::stringstream text;
  text << std::ifstream(path_).rdbuf();
  EXPECT_EQ(text.str(), "MESSAGE_BOX button:yes\n");
}

TEST_F(AnswerSession, WithoutItsDisplayWindowsAreAskedInTheTerminalOrAnError) {
  auto user = Of(Mode::kUser);
  EXPECT_FALSE(user->AnswersWindows());
  EXPECT_FALSE(user->IsRecording());
  EXPECT_TRUE(Recording()->IsRecording());
  user->GoOnWithoutDisplay(false);
  EXPECT_TRUE(user->AnswersWindows());
  EXPECT_NE(ErrorOf(*user, box_).find("there is no display"), std::string::npos);
  auto accept = Of(Mode::kAccept);
  accept->GoOnWithoutDisplay(false);
  accept->Answer(box_);
  EXPECT_EQ(box_.EndButton(), "yes");
}

TEST_F(AnswerSession, FilesThatCannotBeUsedAreNamed) {
  const auto errorOf = [](const ui::AnswerOptions& options) {
    const auto session = ui::AnswerSession::Create(options);
    return session ? "" : session.error().Text();
  };
  EXPECT_EQ(errorOf({Mode::kFile, path_ + "-none", ""}),
            path_ + "-none: error: the answers cannot be read: No such file or directory");
  EXPECT_EQ(errorOf({Mode::kFile, "", ""}),
            ": error: the answers cannot be read: No such file or directory");
  const std::string record = errorOf({Mode::kAccept, "", path_ + "/none/x"});
  EXPECT_TRUE(record.starts_with(path_ + "/none/x: error: the record cannot be written: "))
      << record;
}

}  // namespace
