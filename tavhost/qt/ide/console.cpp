#include "tavhost/qt/ide/console.h"

#include <QAbstractItemView>
#include <QCompleter>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QScrollBar>
#include <QStringListModel>
#include <QTextBlock>
#include <QVBoxLayout>
#include <algorithm>
#include <iterator>
#include <utility>

#include "tavhost/ide/script_text.h"
#include "tavhost/qt/ide/theme.h"
#include "tavhost/qt/shown_text.h"

namespace ui::ide_view {

namespace {

// The view keeps so many lines; a script that prints more is not slowed down by them.
constexpr int kMostLines = 20'000;
// Bytes that wait to be shown; of more only the end is kept, as the rest would leave the view again
// at once.
constexpr std::size_t kMostPending = 4 << 20;
constexpr int kFlushMilliseconds = 40;
// Bytes shown at a time while more arrives: so few that the window answers in between.
constexpr std::size_t kShownAtATime = 16 << 10;

constexpr QChar kPlaceSeparator(0x1F);
constexpr int kKindProperty = QTextFormat::UserProperty + 1;

class OutputView final : public QPlainTextEdit {
 public:
  std::function<void(const QString&)> activated;

 protected:
  void mouseMoveEvent(QMouseEvent* event) override {
    QPlainTextEdit::mouseMoveEvent(event);
    viewport()->setCursor(anchorAt(event->pos()).isEmpty() ? Qt::IBeamCursor
                                                           : Qt::PointingHandCursor);
  }
  void mouseReleaseEvent(QMouseEvent* event) override {
    QPlainTextEdit::mouseReleaseEvent(event);
    const QString anchor = anchorAt(event->pos());
    if (event->button() != Qt::LeftButton || anchor.isEmpty() || textCursor().hasSelection())
      return;
    activated(anchor);
  }
  void keyPressEvent(QKeyEvent* event) override {
    const QString anchor = textCursor().charFormat().anchorHref();
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && !anchor.isEmpty()) {
      return activated(anchor);
    }
    QPlainTextEdit::keyPressEvent(event);
  }
};

// Cuts what comes before the last lines that the view keeps.
void KeepLines(std::string& text) {
  std::size_t at = text.size();
  for (int lines = 0; lines <= kMostLines && at > 0; ++lines) {
    at = text.rfind('\n', at - 1);
    if (at == std::string::npos) return;
  }
  text.erase(0, at + 1);
}

// Cuts what comes before the last bytes, at a line's start where there is one.
void KeepEnd(std::string& text, std::size_t bytes) {
  if (text.size() <= bytes) return;
  std::size_t from = text.size() - bytes;
  const std::size_t line = text.find('\n', from);
  if (line != std::string::npos && line + 1 < text.size()) from = line + 1;
  text.erase(0, from);
}

}  // namespace

Console::Console(Help help, QWidget* parent)
    : QWidget(parent),
      help_(std::move(help)),
      prompt_(new QLabel(QStringLiteral("tav>"))),
      input_(new QLineEdit),
      completer_(new QCompleter(this)),
      words_(new QStringListModel(this)) {
  auto* const output = new OutputView;
  output_ = output;
  output->activated = [this](const QString& anchor) {
    const QStringList parts = anchor.split(kPlaceSeparator);
    if (parts.size() == 3) help_.goTo(parts[0], parts[1].toInt(), parts[2].toInt());
  };
  output_->setObjectName(QStringLiteral("consoleOutput"));
  output_->setAccessibleName(QStringLiteral("Console output"));
  output_->setReadOnly(true);
  output_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  output_->viewport()->setMouseTracking(true);
  output_->setMouseTracking(true);
  output_->setMaximumBlockCount(kMostLines);
  output_->setUndoRedoEnabled(false);
  output_->setFrameShape(QFrame::NoFrame);
  output_->setTabChangesFocus(true);
  input_->setObjectName(QStringLiteral("consoleInput"));
  input_->setAccessibleName(QStringLiteral("Console entry"));
  input_->setPlaceholderText(
      QStringLiteral("A statement, a variable's name, = an expression, or help COMMAND"));
  input_->installEventFilter(this);
  prompt_->setBuddy(input_);
  completer_->setModel(words_);
  completer_->setWidget(input_);
  completer_->setMaxVisibleItems(10);
  completer_->popup()->setAccessibleName(QStringLiteral("Completions"));
  connect(completer_, QOverload<const QString&>::of(&QCompleter::activated), this,
          [this](const QString& word) { InsertCompletion(word); });

  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(output_, 1);
  auto* const line = new QHBoxLayout;
  line->setContentsMargins(6, 4, 6, 4);
  line->addWidget(prompt_);
  line->addWidget(input_, 1);
  layout->addLayout(line);
  setFocusProxy(input_);

  flush_.setSingleShot(true);
  flush_.setInterval(kFlushMilliseconds);
  connect(&flush_, &QTimer::timeout, this, [this] { FlushSome(); });
  connect(input_, &QLineEdit::textEdited, this, [this] { history_.EndWalk(); });
}

void Console::Add(Kind kind, std::string_view text) {
  if (text.empty()) return;
  if (pending_.empty() || pending_.back().kind != kind) pending_.push_back({kind, {}});
  std::string& last = pending_.back().text;
  last += text;
  if (last.size() > 2 * kMostPending) KeepEnd(last, kMostPending);
  if (!flush_.isActive()) flush_.start();
}

void Console::Print(std::string_view text) { Add(Kind::kPrinted, text); }
void Console::Error(std::string_view text) { Add(Kind::kError, text); }
void Console::Note(const QString& text) { Add(Kind::kNote, text.toStdString() + '\n'); }

void Console::Clear() {
  pending_.clear();
  output_->clear();
}

void Console::Flush() {
  flush_.stop();
  Show(std::exchange(pending_, {}));
}

void Console::FlushSome() {
  std::vector<Piece> some;
  std::size_t room = kShownAtATime;
  std::size_t whole = 0;
  for (; whole < pending_.size() && pending_[whole].text.size() <= room; ++whole) {
    room -= pending_[whole].text.size();
  }
  some.assign(std::make_move_iterator(pending_.begin()),
              std::make_move_iterator(pending_.begin() + static_cast<std::ptrdiff_t>(whole)));
  pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(whole));
  if (!pending_.empty()) {
    // A part that ends with a line, so that no character and no place is cut in two.
    std::string& text = pending_.front().text;
    const std::size_t end = text.find('\n', room);
    if (end == std::string::npos) {
      some.push_back(std::move(pending_.front()));
      pending_.erase(pending_.begin());
    } else {
      some.push_back({pending_.front().kind, text.substr(0, end + 1)});
      text.erase(0, end + 1);
    }
  }
  Show(some);
  if (!pending_.empty()) flush_.start();
}

void Console::Show(const std::vector<Piece>& pieces) {
  if (pieces.empty()) return;
  QScrollBar* const bar = output_->verticalScrollBar();
  const bool atEnd = bar->value() >= bar->maximum() - 1;
  for (const Piece& piece : pieces) Show(piece);
  if (atEnd) bar->setValue(bar->maximum());
}

void Console::Show(const Piece& piece) {
  QTextCursor cursor(output_->document());
  cursor.movePosition(QTextCursor::End);
  // A note or an error begins a line, whatever was printed before.
  if (piece.kind != Kind::kPrinted && !cursor.atBlockStart())
    cursor.insertText(QStringLiteral("\n"));
  QTextCharFormat format;
  format.setProperty(kKindProperty, static_cast<int>(piece.kind));
  format.setForeground(ColourOf(piece.kind));
  std::string text = piece.text;
  KeepLines(text);
  if (piece.kind != Kind::kError) {
    cursor.insertText(Shown(text), format);
    return;
  }
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size() - 1) + 1;
    const std::string_view line = std::string_view(text).substr(begin, end - begin);
    begin = end;
    const auto place = ide::PlaceIn(line);
    if (place) {
      QTextCharFormat link = format;
      link.setFontUnderline(true);
      link.setAnchor(true);
      link.setAnchorHref(Shown(place->file) + kPlaceSeparator + QString::number(place->line) +
                         kPlaceSeparator + QString::number(place->column));
      cursor.insertText(Shown(line.substr(0, place->length)), link);
      cursor.insertText(Shown(line.substr(place->length)), format);
    } else {
      cursor.insertText(Shown(line), format);
    }
  }
}

void Console::SetBusy(bool busy) {
  busy_ = busy;
  input_->setReadOnly(busy);
}

QColor Console::ColourOf(Kind kind) const {
  const Colours& colours = ColoursFor(palette());
  switch (kind) {
    case Kind::kError:
      return colours.error;
    case Kind::kNote:
      return colours.faint;
    case Kind::kEcho:
      return colours.command;
    default:
      return palette().color(QPalette::Text);
  }
}

// What is there was painted for the other background.
void Console::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() != QEvent::PaletteChange || !output_) return;
  struct Part {
    int position;
    int length;
    QTextCharFormat format;
  };
  std::vector<Part> parts;
  for (QTextBlock block = output_->document()->begin(); block.isValid(); block = block.next()) {
    for (auto at = block.begin(); !at.atEnd(); ++at) {
      QTextCharFormat format = at.fragment().charFormat();
      format.setForeground(ColourOf(static_cast<Kind>(format.intProperty(kKindProperty))));
      parts.push_back({at.fragment().position(), at.fragment().length(), format});
    }
  }
  QTextCursor cursor(output_->document());
  for (const Part& part : parts) {
    cursor.setPosition(part.position);
    cursor.setPosition(part.position + part.length, QTextCursor::KeepAnchor);
    cursor.setCharFormat(part.format);
  }
}

QString Console::WordBeforeCursor() const {
  const QString text = input_->text();
  int begin = input_->cursorPosition();
  while (begin > 0 && (text[begin - 1].isLetterOrNumber() || text[begin - 1] == QLatin1Char('_') ||
                       text[begin - 1] == QLatin1Char('-'))) {
    --begin;
  }
  return text.mid(begin, input_->cursorPosition() - begin);
}

void Console::Complete() {
  const QStringList words = help_.complete(begun_ + input_->text().left(input_->cursorPosition()));
  if (words.isEmpty()) return completer_->popup()->hide();
  if (words.size() == 1) return InsertCompletion(words[0]);
  words_->setStringList(words);
  completer_->setCompletionPrefix(WordBeforeCursor());
  if (completer_->completionCount() == 0) return completer_->popup()->hide();
  completer_->popup()->setFont(input_->font());
  completer_->popup()->setCurrentIndex(completer_->completionModel()->index(0, 0));
  completer_->complete();
}

void Console::InsertCompletion(const QString& word) {
  completer_->popup()->hide();
  const qsizetype typed = WordBeforeCursor().size();
  input_->setSelection(input_->cursorPosition() - static_cast<int>(typed), static_cast<int>(typed));
  input_->insert(word);
}

bool Console::eventFilter(QObject* object, QEvent* event) {
  if (object == input_ && event->type() == QEvent::KeyPress) {
    return InputKey(*static_cast<QKeyEvent*>(event));
  }
  return QWidget::eventFilter(object, event);
}

// True when the key is used up.
bool Console::InputKey(QKeyEvent& event) {
  QAbstractItemView* const popup = completer_->popup();
  const auto show = [this](const std::string& entry) {
    input_->setText(Editable(entry).replace(QLatin1Char('\n'), QLatin1Char(' ')));
  };
  switch (event.key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
      if (popup->isVisible()) return false;
      Enter();
      return true;
    case Qt::Key_Tab:
      if (popup->isVisible()) {
        InsertCompletion(popup->currentIndex().data(completer_->completionRole()).toString());
        return true;
      }
      if (input_->text().isEmpty() || event.modifiers() != Qt::NoModifier) return false;
      Complete();
      return true;
    case Qt::Key_Up:
      if (popup->isVisible()) return false;
      show(history_.Older(Bytes(input_->text())));
      return true;
    case Qt::Key_Down:
      if (popup->isVisible()) return false;
      show(history_.Newer(Bytes(input_->text())));
      return true;
    case Qt::Key_Escape:
      if (popup->isVisible()) return false;
      begun_.clear();
      prompt_->setText(QStringLiteral("tav>"));
      input_->clear();
      history_.EndWalk();
      return true;
    default:
      return false;
  }
}

void Console::Enter() {
  if (busy_) return;
  const QString line = input_->text();
  if (line.trimmed().isEmpty() && begun_.isEmpty()) return;
  input_->clear();
  const std::string bytes = Bytes(line);
  // Kept before it runs: it may be what ends the program.
  if (history_.Add(bytes)) help_.remember(ide::History::LineOf(bytes));
  Add(Kind::kEcho, (begun_.isEmpty() ? "tav> " : "...> ") + bytes + "\n");
  Flush();
  output_->verticalScrollBar()->setValue(output_->verticalScrollBar()->maximum());
  const QString entry = begun_ + line;
  const bool goesOn = help_.enter(entry);
  begun_ = goesOn ? entry + QLatin1Char('\n') : QString();
  prompt_->setText(goesOn ? QStringLiteral("...>") : QStringLiteral("tav>"));
  Flush();
}

}  // namespace ui::ide_view
