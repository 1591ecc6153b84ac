#pragma once

#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>

#include "tavhost/qt/modal_view.h"
#include "tavhost/ui/models/text_box_model.h"

namespace ui {

// A text of many lines to be read or changed, with a line to find words in it.
class TextBoxView final : public ModalView {
 public:
  TextBoxView(TextBoxModel& model, QWidget* parent);

  void ShowModel() override;

 private:
  void ReadModel() override;

  QWidget* MakeFindRow();
  void Find(bool backwards);
  void ShowFindRow();
  void ShowCursorPlace();

  TextBoxModel& box_;
  QPlainTextEdit* edit_;
  QWidget* findRow_;
  QLineEdit* findText_;
  QLabel* findResult_;
  QLabel* place_ = nullptr;
};

}  // namespace ui
