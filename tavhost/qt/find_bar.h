#pragma once

#include <QFrame>
#include <QTextCursor>
#include <QTimer>
#include <functional>
#include <utility>
#include <vector>

class QCheckBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QRegularExpression;
class QTextBlock;

namespace ui {

// Finds and replaces in a text edit, and marks what is found where it is in view. Which edit it is
// may change: the bar asks each time.
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
  struct Place {
    int begin;
    int end;
  };

  // Whether there is something to be looked for.
  bool Looks() const;
  static void FindIn(const QTextBlock& block, const QRegularExpression& expression,
                     std::vector<Place>& found);
  static QList<QTextCursor> Cursors(QPlainTextEdit& edit, const std::vector<Place>& places);
  QTextCursor FindFrom(QPlainTextEdit& edit, bool backwards) const;  // null: nothing
  void MarkInView();
  void LookOn();
  void GoToFirst(QPlainTextEdit& edit, bool isDone);
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
  // A long text is looked through in pieces, so that typing goes on, and a stop.
  std::vector<Place> found_;  // so far
  int next_ = -1;             // the line where looking goes on; -1: it is done
  bool goes_ = false;         // to the first place once it is found
  QTimer looking_;
  QTimer marking_;
  std::pair<int, int> marked_{0, -1};  // the lines whose places are marked
  QMetaObject::Connection scrolled_;
};

// Marks the places as the bar's user expects them in an edit that marks nothing else.
void MarkFound(QPlainTextEdit& edit, const QList<QTextCursor>& found);

}  // namespace ui
