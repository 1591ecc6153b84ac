#pragma once

#include <QFrame>
#include <QTextCursor>
#include <functional>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRegularExpression;

namespace ui::ide_view {

class ScriptEditor;

// Finds and replaces in the editor in front.
class FindBar final : public QFrame {
 public:
  explicit FindBar(std::function<ScriptEditor*()> editor, QWidget* parent = nullptr);

  // Shows the bar; what is selected in the editor is what to find.
  void Open(bool withReplace);
  void Close();
  // False when there is nothing found.
  bool FindNext(bool backwards);
  bool Replace();
  int ReplaceAll();
  // The text or the editor changed.
  void Refresh();

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  QRegularExpression Expression() const;
  QList<QTextCursor> FindAll(ScriptEditor& editor, qsizetype most) const;  // -1: all
  void ShowCount();
  QString Replacement(const QString& found) const;

  std::function<ScriptEditor*()> editor_;
  QLineEdit* find_;
  QLineEdit* replace_;
  QCheckBox* matchCase_;
  QCheckBox* wholeWords_;
  QCheckBox* expression_;
  QLabel* count_;
  QWidget* replaceRow_;
};

}  // namespace ui::ide_view
