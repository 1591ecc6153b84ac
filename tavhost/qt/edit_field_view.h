#pragma once

#include <QLineEdit>

#include "tavhost/qt/modal_view.h"
#include "tavhost/ui/models/edit_field_model.h"

namespace ui {

// A caption and a line to type in.
class EditFieldView final : public ModalView {
 public:
  EditFieldView(EditFieldModel& model, QWidget* parent);

  void ShowModel() override;

 private:
  void ReadModel() override;

  EditFieldModel& field_;
  QLineEdit* edit_;
};

}  // namespace ui
