#pragma once

#include <QString>

// What keys and the Edit menu do to whole lines of a script, each to be undone in one step.
namespace ui::ide_view {

class ScriptEditor;

inline constexpr int kIndentColumns = 4;

// To the lines that the selection touches, or that of the cursor. Nothing happens to a text that is
// for reading only.
void ToggleComment(ScriptEditor& editor);
void ChangeIndent(ScriptEditor& editor, bool deeper);
void DuplicateLines(ScriptEditor& editor);
void MoveLines(ScriptEditor& editor, bool up);

// As they are typed; the text can be changed.
void BreakLine(ScriptEditor& editor);
void CloseBracket(ScriptEditor& editor, const QString& bracket);

// Puts a command below the cursor's line, or in it when it is blank, and the cursor to where its
// first value is typed.
void InsertCommand(ScriptEditor& editor, const QString& text);

}  // namespace ui::ide_view
