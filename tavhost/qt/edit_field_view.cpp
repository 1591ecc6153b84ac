#include "tavhost/qt/edit_field_view.h"

#include <QLabel>

#include "tavhost/qt/shown_text.h"

namespace ui {

namespace {
constexpr int kFieldColumns = 44;
}

EditFieldView::EditFieldView(EditFieldModel& model, QWidget* parent)
    : ModalView(model, std::make_unique<QDialog>(parent)), field_(model), edit_(new QLineEdit) {
  const int column = Dialog().fontMetrics().averageCharWidth();
  auto* const caption = new QLabel(Shown(model.caption));
  caption->setTextFormat(Qt::PlainText);
  caption->setWordWrap(true);
  caption->setMinimumWidth(column * kFieldColumns);
  caption->setTextInteractionFlags(Qt::TextSelectableByMouse);
  edit_->setAccessibleName(Shown(model.caption));
  edit_->setObjectName(QStringLiteral("field"));

  auto* const layout = new QVBoxLayout(&Dialog());
  layout->addWidget(caption);
  layout->addWidget(edit_);
  layout->addStretch(1);
  layout->addWidget(MakeButtons());
  ShowModel();
  edit_->setFocus();
}

void EditFieldView::ShowModel() {
  edit_->setText(Editable(field_.text));
  edit_->setModified(false);
  edit_->selectAll();
}

// A text that nobody changed stays byte for byte: widgets cannot hold every byte.
void EditFieldView::ReadModel() {
  if (edit_->isModified()) field_.text = Bytes(edit_->text());
}

}  // namespace ui
