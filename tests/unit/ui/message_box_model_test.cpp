#include "tavhost/ui/models/message_box_model.h"

#include <gtest/gtest.h>

namespace {

using ui::MessageBoxModel;
using ui::MessageKind;

std::string Names(const MessageBoxModel& box) {
  std::string names;
  for (const ui::ModalButton& button : box.Buttons()) {
    names += (names.empty() ? "" : " ") + button.name;
  }
  return names;
}

TEST(MessageBoxModel, ButtonsFollowTheStyle) {
  const std::pair<std::uint32_t, const char*> cases[] = {
      {0x10, "ok"},
      {0x20, "ok cancel"},
      {0x40, "yes no"},
      {0x80, "yes no cancel"},
      {0x100, "retry cancel"},
      {0, "ok"},
  };
  for (const auto& [style, names] : cases) {
    EXPECT_EQ(Names(MessageBoxModel(MessageKind::kQuery, style, "")), names) << style;
  }
}

TEST(MessageBoxModel, DefaultButtonIsTheOneAskedForWhenTheSetHasIt) {
  const std::pair<std::uint32_t, const char*> cases[] = {
      {0x20, "ok"},
      {0x20 | 0x400, "cancel"},
      {0x40 | 0x1000, "yes"},
      {0x40 | 0x2000, "no"},
      {0x80 | 0x400, "cancel"},
      {0x100 | 0x800, "retry"},
      {0x100 | 0x400, "cancel"},
      {0x20 | 0x200, "ok"},
      // Outside the set: the set's first.
      {0x20 | 0x1000, "ok"},
      {0x40 | 0x200, "yes"},
      {0x10 | 0x400, "ok"},
  };
  for (const auto& [style, name] : cases) {
    EXPECT_EQ(MessageBoxModel(MessageKind::kQuery, style, "").DefaultButton(), name) << style;
  }
}

TEST(MessageBoxModel, EachButtonHasItsResult) {
  MessageBoxModel all(MessageKind::kWarning, 0x80, "text");
  EXPECT_TRUE(all.End("yes"));
  EXPECT_EQ(all.Result(), 2);
  EXPECT_TRUE(all.End("no"));
  EXPECT_EQ(all.Result(), 3);
  EXPECT_TRUE(all.End("cancel"));
  EXPECT_EQ(all.Result(), 0);
  MessageBoxModel retry(MessageKind::kWarning, 0x100, "text");
  EXPECT_TRUE(retry.End("retry"));
  EXPECT_EQ(retry.Result(), 4);
  MessageBoxModel ok(MessageKind::kWarning, 0x10, "text");
  EXPECT_TRUE(ok.End("ok"));
  EXPECT_EQ(ok.Result(), 1);
}

TEST(MessageBoxModel, CancelFitsEveryBoxAndOtherButtonsOnlyTheirs) {
  MessageBoxModel ok(MessageKind::kError, 0x10, "text");
  EXPECT_FALSE(ok.End("yes"));
  EXPECT_FALSE(ok.HasEnded());
  EXPECT_TRUE(ok.End("cancel"));
  EXPECT_EQ(ok.Result(), 0);
  EXPECT_EQ(ok.EndButton(), "cancel");
  ok.Begin();
  EXPECT_FALSE(ok.HasEnded());
  ok.EndWith(-1);
  EXPECT_EQ(ok.Result(), -1);
  EXPECT_EQ(ok.EndButton(), "");
}

TEST(MessageBoxModel, TitleIsTheBoxesOwnUntilGiven) {
  MessageBoxModel box(MessageKind::kError, 0x10, "text");
  EXPECT_EQ(box.Title(), "Error");
  EXPECT_FALSE(box.HasGivenTitle());
  box.SetTitle("");
  EXPECT_EQ(box.Title(), "");
  EXPECT_TRUE(box.HasGivenTitle());
}

}  // namespace
