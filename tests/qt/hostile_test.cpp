// Texts that scripts do not mean but can pass: they come back byte for byte, and no window fails.
#include <string>
#include <string_view>

#include "tavhost/qt/shown_text.h"
#include "tavhost/ui/models/edit_field_model.h"
#include "tavhost/ui/models/list_box_model.h"
#include "tavhost/ui/models/message_box_model.h"
#include "tavhost/ui/models/text_box_model.h"
#include "tests/qt/qt_fixture.h"

namespace {

using namespace std::string_view_literals;

std::vector<std::string> HostileTexts() {
  return {"",
          "plain",
          "\"quotes\" 'single'",
          "a\nb\r\nc\rd",
          std::string("nul\0inside", 10),
          "<b>&amp;</b> & && [*]",
          "\xFF\xFE\x80 invalid",
          "\xED\xB2\x80 a surrogate",
          "\xC2\xA0no-break\xE2\x80\xA8line\xE2\x80\xA9paragraph",
          "שלום 🙂 e\xCC\x81",
          std::string(1 << 20, 'x')};
}

class QtHostile : public QtTest {};

TEST_F(QtHostile, EditingKeepsEveryByte) {
  for (const std::string& text : HostileTexts()) {
    EXPECT_EQ(ui::Bytes(ui::Editable(text)), text);
  }
}

TEST_F(QtHostile, ListEntriesComeBackByteForByte) {
  ui::ListBoxModel model(true);
  std::vector<std::uint32_t> all;
  for (const std::string& text : HostileTexts()) {
    all.push_back(model.Count());
    model.Insert(text);
    model.AddCheckBox(text.substr(0, 100), true);
  }
  for (const std::uint32_t index : all) model.SetSelected(index, true);
  Run(
      model, [](QDialog& dialog) { dialog.reject(); }, 0);
  EXPECT_EQ(model.Selected(), all);
  for (const std::uint32_t index : all) EXPECT_EQ(model.Entry(index), HostileTexts()[index]);
  for (const auto& box : model.CheckBoxes()) EXPECT_TRUE(box.checked);
}

TEST_F(QtHostile, UntouchedTextsComeBackByteForByte) {
  for (const std::string& text : HostileTexts()) {
    ui::TextBoxModel box(true, false);
    box.text = text;
    box.okText = text.substr(0, 100);
    box.SetTitle(text);
    Run(
        box, [](QDialog& dialog) { dialog.reject(); }, 0);
    EXPECT_EQ(box.text, text);
    ui::EditFieldModel field(text.substr(0, 5000));
    field.text = text;
    Run(
        field, [](QDialog& dialog) { dialog.reject(); }, 0);
    EXPECT_EQ(field.text, text);
    ui::MessageBoxModel message(ui::MessageKind::kError, 0x20, text);
    message.SetTitle(text);
    Run(
        message, [](QDialog& dialog) { dialog.reject(); }, 0);
    EXPECT_EQ(message.EndButton(), "cancel");
  }
}

}  // namespace
