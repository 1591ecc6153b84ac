#include "tavhost/qt/text_box_view.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QMimeData>
#include <QShortcut>
#include <QTextBlock>
#include <QTextDocument>
#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "tavhost/qt/dropped_files.h"
#include "tavhost/qt/ide/utf16.h"
#include "tavhost/qt/shown_text.h"

namespace ui {

namespace {

constexpr long kColumns = 80;
constexpr long kLines = 24;
constexpr int kTabColumns = 8;

// What was copied here, with every byte: the plain text beside it has other line ends, and blanks
// for no-break spaces.
constexpr QLatin1String kOwnText("application/x-tavhost-text");

// Where Tab is a character of the text, Ctrl+Tab and Ctrl+Shift+Tab leave it.
class TextEdit final : public QPlainTextEdit {
 public:
  // The bytes of what is selected; puts bytes in its place.
  std::function<std::string(const QTextCursor& selection)> copyBytes;
  std::function<void(const std::string& bytes)> pasteBytes;

 protected:
  QMimeData* createMimeDataFromSelection() const override {
    std::unique_ptr<QMimeData> usual(QPlainTextEdit::createMimeDataFromSelection());
    if (!copyBytes) return usual.release();
    auto* const mime = new QMimeData;  // the usual one offers nothing beside what it makes itself
    mime->setText(usual->text());
    mime->setHtml(usual->html());
    mime->setData(kOwnText, QByteArray::fromStdString(copyBytes(textCursor())));
    return mime;
  }

  void insertFromMimeData(const QMimeData* mime) override {
    if (!pasteBytes || !mime->hasFormat(kOwnText)) {
      return QPlainTextEdit::insertFromMimeData(mime);
    }
    pasteBytes(mime->data(kOwnText).toStdString());
    ensureCursorVisible();
  }

  void keyPressEvent(QKeyEvent* event) override {
    const bool leaves = (event->modifiers() & Qt::ControlModifier) != 0;
    const bool isBack = event->key() == Qt::Key_Backtab;
    if (leaves && (event->key() == Qt::Key_Tab || isBack)) {
      // Not the edit's own, which keeps Tab.
      QWidget::focusNextPrevChild(!isBack);  // NOLINT(bugprone-parent-virtual-call)
    } else {
      QPlainTextEdit::keyPressEvent(event);
    }
  }
};

// Not `fromUtf16`, which takes a byte order mark away.
std::string BytesOf(const std::u16string& text) {
  return Bytes(
      QString(reinterpret_cast<const QChar*>(text.data()), static_cast<qsizetype>(text.size())));
}

std::size_t Count(int number) { return static_cast<std::size_t>(std::max(number, 0)); }

}  // namespace

TextBoxView::TextBoxView(TextBoxModel& model, QWidget* parent)
    : ModalView(model, std::make_unique<QDialog>(parent)),
      box_(model),
      edit_(MakeEdit()),
      find_(new FindBar([this] { return edit_; }, &MarkFound)) {
  edit_->setFont(ChosenFont(edit_->font(), model));
  edit_->setReadOnly(!model.IsEditable());
  edit_->setTextInteractionFlags(edit_->textInteractionFlags() | Qt::TextSelectableByKeyboard);
  edit_->setTabChangesFocus(!model.IsFileEditor() || !model.IsEditable());
  edit_->setAccessibleName(QStringLiteral("Text"));
  if (!edit_->tabChangesFocus()) {
    edit_->setAccessibleDescription(QStringLiteral("Ctrl+Tab leaves the text"));
  }
  edit_->setObjectName(QStringLiteral("text"));
  find_->SetFindsWhileTyping(true);
  const QFontMetrics metrics(edit_->font());
  edit_->setTabStopDistance(metrics.horizontalAdvance(QLatin1Char(' ')) * kTabColumns);

  auto* const bottom = new QHBoxLayout;
  if (model.IsFileEditor()) {
    place_ = new QLabel;
    place_->setObjectName(QStringLiteral("place"));
    bottom->addWidget(place_);
    QObject::connect(edit_, &QPlainTextEdit::cursorPositionChanged, this,
                     [this] { ShowCursorPlace(); });
  }
  bottom->addStretch(1);
  bottom->addWidget(MakeButtons());

  auto* const layout = new QVBoxLayout(&Dialog());
  layout->addWidget(edit_, 1);
  layout->addWidget(find_);
  layout->addLayout(bottom);
  const QFontMetrics own(Dialog().font());
  Dialog().setSizeGripEnabled(true);
  if (!model.size) {
    model.size = SV::Size(own.averageCharWidth() * kColumns, own.lineSpacing() * kLines);
  }

  AddShortcuts();
  QObject::connect(edit_->document(), &QTextDocument::contentsChange, this,
                   [this](int position, int, int added) { FollowEdit(position, added); });
  QObject::connect(edit_->document(), &QTextDocument::undoCommandAdded, this,
                   [this] { isNewCommand_ = true; });
  QObject::connect(edit_, &QPlainTextEdit::textChanged, this, [this] { find_->Refresh(); });
  ShowModel();
  edit_->setFocus();
  if (model.IsEditable()) TakeDroppedFiles();
}

// As their paths, a line each.
void TextBoxView::TakeDroppedFiles() {
  new DroppedFiles(*edit_, [this](const QStringList& paths, QWidget& onto, const QPoint& place) {
    if (&onto == edit_->viewport()) edit_->setTextCursor(edit_->cursorForPosition(place));
    edit_->insertPlainText(paths.join(QLatin1Char('\n')));
    edit_->setFocus();
  });
}

QPlainTextEdit* TextBoxView::MakeEdit() {
  auto* const edit = new TextEdit;
  if (box_.IsEditable()) {
    edit->copyBytes = [this](const QTextCursor& selection) { return CopiedBytes(selection); };
    edit->pasteBytes = [this](const std::string& bytes) { PasteBytes(bytes); };
  }
  return edit;
}

void TextBoxView::AddShortcuts() {
  const auto add = [this](const QKeySequence& keys, auto action) {
    auto* const shortcut = new QShortcut(keys, &Dialog());
    QObject::connect(shortcut, &QShortcut::activated, this, std::move(action));
  };
  add(QKeySequence::Find, [this] { find_->Open(false); });
  add(QKeySequence(Qt::Key_F3), [this] { find_->FindNext(false); });
  add(QKeySequence(Qt::SHIFT | Qt::Key_F3), [this] { find_->FindNext(true); });
}

void TextBoxView::ShowCursorPlace() {
  const QTextCursor cursor = edit_->textCursor();
  place_->setText(QStringLiteral("Line %1, column %2")
                      .arg(cursor.blockNumber() + 1)
                      .arg(cursor.positionInBlock() + 1));
}

void TextBoxView::ShowModel() {
  const QString text = Editable(box_.text);
  const bool wraps = !box_.IsFileEditor() && !HasHugeLine(text);
  edit_->setLineWrapMode(wraps ? QPlainTextEdit::WidgetWidth : QPlainTextEdit::NoWrap);
  lineEnds_.reset();
  edit_->setPlainText(text);
  edit_->document()->setModified(false);
  if (box_.IsEditable()) lineEnds_.emplace(ide_view::Utf16(text));
  if (place_) ShowCursorPlace();
}

// `added` characters have come at the position, in place of others that are told of by the number
// of lines that there are now.
void TextBoxView::FollowEdit(int position, int added) {
  if (!lineEnds_) return;
  const QTextDocument& document = *edit_->document();
  const std::size_t count = Count(document.blockCount() - 1);
  const std::size_t depth = Count(document.availableUndoSteps());
  // What was done again last leaves nothing to do again, and is no new command either.
  const bool goes = document.isRedoAvailable() || (couldRedo_ && !isNewCommand_);
  couldRedo_ = document.isRedoAvailable();
  isNewCommand_ = false;
  if (goes && lineEnds_->GoTo(depth, count)) return;
  const int last = document.characterCount() - 1;  // behind the text
  const std::size_t first = Count(document.findBlock(std::min(position, last)).blockNumber());
  const std::size_t end = Count(document.findBlock(std::min(position + added, last)).blockNumber());
  const std::size_t before = lineEnds_->Count();
  const std::size_t come = std::max(end - first, count - std::min(count, before));
  const std::size_t gone = before + come - count;
  lineEnds_->Edit(first, gone, come, depth);
}

// What was not touched stays byte for byte, line ends included.
void TextBoxView::ReadModel() {
  if (!box_.IsEditable() || !edit_->document()->isModified()) return;
  // The raw text, as the plain one has no-break spaces replaced.
  const QString text = edit_->document()->toRawText();
  const std::u16string written = lineEnds_->Written(ide_view::Utf16(text));
  box_.text = BytesOf(written);
}

std::string TextBoxView::CopiedBytes(const QTextCursor& selection) const {
  const QString text = selection.selectedText();
  const QTextBlock first = edit_->document()->findBlock(selection.selectionStart());
  return BytesOf(lineEnds_->Written(ide_view::Utf16(text), Count(first.blockNumber())));
}

void TextBoxView::PasteBytes(const std::string& bytes) {
  const QString text = Editable(bytes);
  QTextCursor cursor = edit_->textCursor();
  const QTextDocument& document = *edit_->document();
  const std::size_t first = Count(document.findBlock(cursor.selectionStart()).blockNumber());
  cursor.insertText(text);
  lineEnds_->Put(first, ide_view::Utf16(text), Count(document.availableUndoSteps()));
}

}  // namespace ui
