#pragma once

#include <QFrame>
#include <QTextCursor>
#include <functional>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QRegularExpression;

namespace ui {

// Finds and replaces in a text edit, and marks all that is found. Which edit it is may change: the
// bar asks each time.
class FindBar final : public QFrame {
 public:
  using Edit = std::function<QPlainTextEdit*()>;  // null: none
  using Mark = std::function<void(QPlainTextEdit&, const QList<QTextCursor>&)>;

  // `mark` shows what is found in the edit; what it gets first holds until it is called again.
  FindBar(Edit edit, Mark mark, QWidget* parent = nullptr);

  // Goes to the first place while one types, not only with Enter.
  void SetFindsWhileTyping(bool finds) { findsWhileTyping_ = finds; }

  // Shows the bar; what is selected in the edit is what to find.
  void Open(bool withReplace);
  void Close();
  // False when there is nothing found. Where nothing is looked for yet the bar opens.
  bool FindNext(bool backwards);
  bool Replace();
  int ReplaceAll();
  // The text or the edit changed.
  void Refresh();

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  QRegularExpression Expression() const;
  QList<QTextCursor> FindAll(QPlainTextEdit& edit, qsizetype most) const;  // -1: all
  QTextCursor FindFrom(QPlainTextEdit& edit, bool backwards) const;        // null: nothing
  void ShowCount();
  QString Replacement(const QString& found) const;

  Edit edit_;
  Mark mark_;
  bool findsWhileTyping_ = false;
  QLineEdit* find_;
  QLineEdit* replace_;
  QCheckBox* matchCase_;
  QCheckBox* wholeWords_;
  QCheckBox* expression_;
  QLabel* count_;
  QWidget* replaceRow_;
};

// Marks the places as the bar's user expects them in an edit that marks nothing else.
void MarkFound(QPlainTextEdit& edit, const QList<QTextCursor>& found);

}  // namespace ui
