#include "tavhost/qt/edit_field_view.h"

#include "tavhost/qt/dropped_files.h"
#include "tavhost/qt/on_screen.h"
#include "tavhost/qt/shown_text.h"
#include "tavhost/qt/text_block.h"

namespace ui {

namespace {
constexpr int kFieldColumns = 44;
constexpr int kCaptionLines = 12;
constexpr int kNameColumns = 200;  // what a screen reader says of the field
}  // namespace

EditFieldView::EditFieldView(EditFieldModel& model, QWidget* parent)
    : ModalView(model, std::make_unique<QDialog>(parent)), field_(model), edit_(new QLineEdit) {
  auto* const caption = new TextBlock(kFieldColumns, kCaptionLines, Qt::AlignLeading);
  caption->SetText(Shown(model.caption));
  edit_->setAccessibleName(ElidedText(*edit_, Shown(model.caption), kNameColumns));
  edit_->setObjectName(QStringLiteral("field"));

  auto* const layout = new QVBoxLayout(&Dialog());
  layout->addStrut(Dialog().fontMetrics().averageCharWidth() * kFieldColumns);
  layout->addWidget(caption);
  layout->addWidget(edit_);
  layout->addStretch();
  layout->addWidget(MakeButtons());
  ShowModel();
  edit_->setFocus();
  new DroppedFiles(Dialog(), [this](const QStringList& paths, QWidget& onto, const QPoint& place) {
    if (&onto == edit_ && !edit_->hasSelectedText()) {
      edit_->setCursorPosition(edit_->cursorPositionAt(place));
    }
    edit_->insert(paths.join(QLatin1Char(' ')));
    edit_->setFocus();
  });
}

void EditFieldView::ShowModel() {
  edit_->setText(Editable(field_.text));
  edit_->setModified(false);
  edit_->selectAll();
}

// A text that nobody changed stays byte for byte: widgets cannot hold every byte. One that was is
// the line that its user saw, pasted line breaks included.
void EditFieldView::ReadModel() {
  if (edit_->isModified()) field_.text = WithoutLineBreaks(Bytes(edit_->text()));
}

}  // namespace ui
