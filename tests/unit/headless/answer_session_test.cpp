#include "tavhost/headless/answer_session.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "tavhost/base/stop.h"
#include "tavhost/ui/models/edit_field_model.h"
#include "tavhost/ui/models/message_box_model.h"
#include "tavhost/ui/models/modal_model.h"
#include "tavhost/ui/models/percentage_window_model.h"

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
    std::string error;
    auto session = ui::AnswerSession::Create({Mode::kFile, path_, ""}, error);
    EXPECT_TRUE(session) << error;
    return session;
  }
  std::shared_ptr<ui::AnswerSession> Of(Mode mode) {
    std::string error;
    return ui::AnswerSession::Create({mode, "", ""}, error);
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
  std::string error;
  EXPECT_TRUE(session->Finish(error));
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
  std::string error;
  EXPECT_FALSE(session->Finish(error));
  EXPECT_EQ(error, path_ + ":1: error: 3 answers are left over, the first of them:\nMESSAGE_BOX");
  session->Answer(box_);
  session->Answer(box_);
  EXPECT_FALSE(session->Finish(error));
  EXPECT_EQ(error, path_ + ":3: error: this answer is left over:\nVIEW_BOX");
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
  std::string error;
  auto session = ui::AnswerSession::Create({Mode::kAccept, "", path_}, error);
  ASSERT_TRUE(session) << error;
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
  std::stringstream text;
  text << std::ifstream(path_).rdbuf();
  EXPECT_EQ(text.str(),
            "CANCEL_PROGRESS after:2\nMESSAGE_BOX button:yes\nMESSAGE_BOX button:yes\n");
}

TEST_F(AnswerSession, WritesWhatWasDone) {
  std::string error;
  auto session = ui::AnswerSession::Create({Mode::kAccept, "", path_}, error);
  ASSERT_TRUE(session) << error;
  session->Answer(box_);
  session->Record(box_);
  box_.End("no");
  session->Record(box_);
  std::stringstream text;
  text << std::ifstream(path_).rdbuf();
  EXPECT_EQ(text.str(), "MESSAGE_BOX button:yes\nMESSAGE_BOX button:no\n");
}

TEST_F(AnswerSession, FilesThatCannotBeUsedAreNamed) {
  std::string error;
  EXPECT_FALSE(ui::AnswerSession::Create({Mode::kFile, path_ + "-none", ""}, error));
  EXPECT_TRUE(error.starts_with(path_ + "-none: error: the answers cannot be read: ")) << error;
  EXPECT_FALSE(ui::AnswerSession::Create({Mode::kAccept, "", path_ + "/none/x"}, error));
  EXPECT_TRUE(error.starts_with(path_ + "/none/x: error: the record cannot be written: ")) << error;
}

}  // namespace
