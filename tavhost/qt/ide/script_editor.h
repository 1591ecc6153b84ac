#pragma once

#include <QPlainTextEdit>
#include <QStringList>
#include <functional>
#include <memory>
#include <vector>

#include "tavhost/base/diagnostic.h"
namespace ui::ide_view {

class CompletionPopup;
class ScriptHighlighter;

// What an editor asks of the window around it, while a key or the mouse waits for the answer.
struct EditorHelp {
  std::function<bool(QStringView word)> isCommand;  // that the host knows
  // The words that can stand where the text ends.
  std::function<QStringList(const QString& before)> complete;
  // The tool tip for a word, as rich text; empty: none.
  std::function<QString(const QString& word)> explain;
};

// What is said about a place, as it is shown.
QString ShownMessage(const base::Diagnostic& diagnostic);

// A text edit for scripts: line numbers, colours, brackets, indentation, completion, marks.
class ScriptEditor final : public QPlainTextEdit {
 public:
  explicit ScriptEditor(EditorHelp help, QWidget* parent = nullptr);
  ~ScriptEditor() override;

  // The text with line feeds, exactly; `toPlainText` would change blanks.
  QString Text() const;
  void SetText(const QString& text);

  // Lines and columns count from 1, columns in code points.
  void GoTo(int line, int column);
  int Line() const;
  int Column() const;
  // The word under the cursor, with the `-` that names of commands may hold.
  QString WordAtCursor() const;

  // What is marked at its place in this text.
  void SetMarks(std::vector<base::Diagnostic> marks);
  const std::vector<base::Diagnostic>& Marks() const { return marks_; }
  // The line that runs next; 0: none.
  void SetStepLine(int line);

  // Lines before which a script stops when it is run; they move with the text.
  void ToggleBreakpoint(int line);
  bool HasBreakpoint(int line) const;
  bool HasBreakpoints() const;

  // All places of the text that is searched for; none when the search is over.
  void SetFound(const QList<QTextCursor>& found);

  // Offers the words that can go on at the cursor.
  void Complete();

  // For the margin at the left, which holds line numbers, marks and breakpoints.
  int MarginWidth() const;
  void PaintMargin(QPaintEvent* event);
  void ClickMargin(int y);

 protected:
  bool event(QEvent* event) override;
  void changeEvent(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  class Margin;

  void UpdateMargin();
  void ShowSelections();
  void ShowTip(const QPoint& position, const QPoint& globalPosition);
  void MoveToLineStart(QTextCursor::MoveMode mode);

  EditorHelp help_;
  Margin* margin_;
  ScriptHighlighter* highlighter_;
  std::unique_ptr<CompletionPopup> completion_;
  std::vector<base::Diagnostic> marks_;
  QList<QTextCursor> found_;
  int stepLine_ = 0;
};

}  // namespace ui::ide_view
