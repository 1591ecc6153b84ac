#include "tavhost/qt/ide/line_edits.h"

#include <QTextBlock>
#include <QTextCursor>
#include <algorithm>

#include "tavhost/ide/script_text.h"
#include "tavhost/ide/script_tokens.h"
#include "tavhost/qt/ide/script_editor.h"
#include "tavhost/qt/ide/utf16.h"

namespace ui::ide_view {

namespace {

QString LeadingBlanks(const QString& line) {
  int blanks = 0;
  while (blanks < line.size() && line[blanks].isSpace()) ++blanks;
  return line.left(blanks);
}

// From the first line's start to the last line's end, of all lines that the selection touches.
QTextCursor SelectedLines(ScriptEditor& editor) {
  QTextCursor lines = editor.textCursor();
  const int begin = lines.selectionStart();
  int end = lines.selectionEnd();
  if (end > begin && editor.document()->findBlock(end).position() == end) --end;
  lines.setPosition(editor.document()->findBlock(begin).position());
  const QTextBlock last = editor.document()->findBlock(end);
  lines.setPosition(last.position() + last.length() - 1, QTextCursor::KeepAnchor);
  return lines;
}

// What was selected stays so.
void ReplaceLines(ScriptEditor& editor, QTextCursor lines, const QStringList& texts) {
  const int begin = lines.selectionStart();
  const bool hadSelection = editor.textCursor().hasSelection();
  const QString joined = texts.join(QLatin1Char('\n'));
  lines.insertText(joined);
  if (!hadSelection) return;
  lines.setPosition(begin);
  lines.setPosition(begin + static_cast<int>(joined.size()), QTextCursor::KeepAnchor);
  editor.setTextCursor(lines);
}

}  // namespace

void ToggleComment(ScriptEditor& editor) {
  if (editor.isReadOnly()) return;
  QTextCursor lines = SelectedLines(editor);
  QStringList texts = lines.selectedText().split(QChar(QChar::ParagraphSeparator));
  const bool all = std::all_of(texts.begin(), texts.end(), [](const QString& text) {
    return text.trimmed().isEmpty() || text.trimmed().startsWith(QLatin1Char('#'));
  });
  for (QString& text : texts) {
    if (text.trimmed().isEmpty()) continue;
    qsizetype at = 0;
    while (text[at].isSpace()) ++at;
    if (!all) {
      text.insert(at, QLatin1String("# "));
    } else {
      text.remove(at, text.mid(at, 2) == QLatin1String("# ") ? 2 : 1);
    }
  }
  ReplaceLines(editor, lines, texts);
}

void ChangeIndent(ScriptEditor& editor, bool deeper) {
  if (editor.isReadOnly()) return;
  QTextCursor lines = SelectedLines(editor);
  QStringList texts = lines.selectedText().split(QChar(QChar::ParagraphSeparator));
  for (QString& text : texts) {
    if (deeper) {
      if (!text.isEmpty()) text.insert(0, QString(kIndentColumns, QLatin1Char(' ')));
      continue;
    }
    for (int i = 0; i < kIndentColumns && !text.isEmpty(); ++i) {
      if (text[0] == QLatin1Char('\t')) {
        text.remove(0, 1);
        break;
      }
      if (text[0] != QLatin1Char(' ')) break;
      text.remove(0, 1);
    }
  }
  ReplaceLines(editor, lines, texts);
}

void DuplicateLines(ScriptEditor& editor) {
  if (editor.isReadOnly()) return;
  QTextCursor lines = SelectedLines(editor);
  const QString text =
      lines.selectedText().replace(QChar(QChar::ParagraphSeparator), QLatin1Char('\n'));
  lines.setPosition(lines.selectionEnd());
  lines.insertText(QLatin1Char('\n') + text);
  editor.setTextCursor(lines);
}

void MoveLines(ScriptEditor& editor, bool up) {
  if (editor.isReadOnly()) return;
  QTextCursor lines = SelectedLines(editor);
  const QTextBlock first = editor.document()->findBlock(lines.selectionStart());
  const QTextBlock last = editor.document()->findBlock(lines.selectionEnd());
  const QTextBlock other = up ? first.previous() : last.next();
  if (!other.isValid()) return;
  const QString moved =
      lines.selectedText().replace(QChar(QChar::ParagraphSeparator), QLatin1Char('\n'));
  const QString passed = other.text();
  QTextCursor both(editor.document());
  const int begin = std::min(first.position(), other.position());
  const QTextBlock end = up ? last : other;
  const int endPosition = end.position() + end.length() - 1;
  both.beginEditBlock();
  both.setPosition(begin);
  both.setPosition(endPosition, QTextCursor::KeepAnchor);
  both.insertText(up ? moved + QLatin1Char('\n') + passed : passed + QLatin1Char('\n') + moved);
  both.endEditBlock();
  const int at = up ? begin : begin + static_cast<int>(passed.size()) + 1;
  both.setPosition(at);
  both.setPosition(at + static_cast<int>(moved.size()), QTextCursor::KeepAnchor);
  editor.setTextCursor(both);
}

void BreakLine(ScriptEditor& editor) {
  QTextCursor cursor = editor.textCursor();
  cursor.beginEditBlock();
  cursor.removeSelectedText();
  const QString before = cursor.block().text().left(cursor.positionInBlock());
  const QString after = cursor.block().text().mid(cursor.positionInBlock());
  const std::u16string step(kIndentColumns, u' ');
  const std::u16string indent = ide::IndentBehind(Utf16(before), step);
  cursor.insertText(QLatin1Char('\n') + FromUtf16(indent));
  const QString rest = after.trimmed();
  const bool closes = !rest.isEmpty() && QStringLiteral("})]").contains(rest[0]);
  if (closes && !before.isEmpty() && QStringLiteral("{([").contains(before.back())) {
    // The closing bracket gets a line of its own behind the new one.
    const int position = cursor.position();
    const std::u16string outer = ide::IndentBehind(Utf16(before), u"");
    cursor.insertText(QLatin1Char('\n') + FromUtf16(outer));
    cursor.setPosition(position);
  }
  cursor.endEditBlock();
  editor.setTextCursor(cursor);
  editor.ensureCursorVisible();
}

void CloseBracket(ScriptEditor& editor, const QString& bracket) {
  QTextCursor cursor = editor.textCursor();
  cursor.beginEditBlock();
  cursor.insertText(bracket);
  const QString before = cursor.block().text().left(cursor.positionInBlock() - 1);
  if (ide::IsBlank(Utf16(before)) && !before.isEmpty()) {
    const QString text = editor.Text();
    const auto partner =
        ide::MatchingBracket(Utf16(text), static_cast<std::size_t>(cursor.position() - 1));
    if (partner) {
      const QString opening = editor.document()->findBlock(static_cast<int>(*partner)).text();
      QTextCursor line(cursor.block());
      line.setPosition(cursor.block().position() + static_cast<int>(before.size()),
                       QTextCursor::KeepAnchor);
      line.insertText(LeadingBlanks(opening));
    }
  }
  cursor.endEditBlock();
  editor.setTextCursor(cursor);
}

void InsertCommand(ScriptEditor& editor, const QString& text) {
  QTextCursor cursor = editor.textCursor();
  cursor.beginEditBlock();
  const QString line = cursor.block().text();
  const bool blank = ide::IsBlank(Utf16(line));
  if (!cursor.hasSelection() && !blank) {
    cursor.movePosition(QTextCursor::EndOfBlock);
    cursor.insertText(QLatin1Char('\n') + LeadingBlanks(line));
  }
  const int begin = cursor.position();
  cursor.insertText(text);
  // The first value is what is typed next.
  const qsizetype value = text.indexOf(QLatin1String("\"\""));
  if (value >= 0) cursor.setPosition(begin + static_cast<int>(value) + 1);
  cursor.endEditBlock();
  editor.setTextCursor(cursor);
  editor.setFocus();
}

}  // namespace ui::ide_view
