#pragma once

#include <QLabel>
#include <QPlainTextEdit>
#include <optional>
#include <string>

#include "tavhost/qt/find_bar.h"
#include "tavhost/qt/modal_view.h"
#include "tavhost/ui/models/line_ends.h"
#include "tavhost/ui/models/text_box_model.h"

namespace ui {

// A text of many lines to be read or changed, with a bar to find words in it.
class TextBoxView final : public ModalView {
 public:
  TextBoxView(TextBoxModel& model, QWidget* parent);

  void ShowModel() override;

 private:
  void ReadModel() override;

  QPlainTextEdit* MakeEdit();
  std::string CopiedBytes(const QTextCursor& selection) const;
  void PasteBytes(const std::string& bytes);
  void AddShortcuts();
  void TakeDroppedFiles();
  void FollowEdit(int position, int added);
  void ShowCursorPlace();

  TextBoxModel& box_;
  QPlainTextEdit* edit_;
  FindBar* find_;
  QLabel* place_ = nullptr;
  std::optional<LineEnds> lineEnds_;  // of the text in the edit
  bool couldRedo_ = false;            // after the last change of the text
  bool isNewCommand_ = false;         // the change under way is one, not a step back or forth
};

}  // namespace ui
