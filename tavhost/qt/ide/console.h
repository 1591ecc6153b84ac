#pragma once

#include <QPlainTextEdit>
#include <QStringList>
#include <QTimer>
#include <QWidget>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tavhost/ide/history.h"

class QCompleter;
class QKeyEvent;
class QLabel;
class QLineEdit;
class QStringListModel;

namespace ui::ide_view {

// The console: what scripts print, and a line to enter statements.
class Console final : public QWidget {
 public:
  // What the console asks of the window around it.
  struct Help {
    std::function<QStringList(const QString& before)> complete;
    std::function<void(const QString& file, int line, int column)> goTo;
    // Runs what was entered. True: it goes on in a next line.
    std::function<bool(const QString& entry)> enter;
    // Called before an entry runs.
    std::function<void(const std::string& historyLine)> remember;
  };
  explicit Console(Help help, QWidget* parent = nullptr);

  // May be called very often: the view is brought up to date now and then, or by Flush.
  void Print(std::string_view text);
  void Error(std::string_view text);  // places in it can be clicked
  void Note(const QString& text);
  void Flush();
  void Clear();
  // While something runs nothing can be entered.
  void SetBusy(bool busy);

  ide::History& GetHistory() { return history_; }
  QLineEdit& Input() { return *input_; }
  QPlainTextEdit& Output() { return *output_; }
  void Complete();

 protected:
  bool eventFilter(QObject* object, QEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  enum class Kind { kPrinted, kError, kNote, kEcho };
  struct Piece {
    Kind kind;
    std::string text;
  };
  void Add(Kind kind, std::string_view text);
  void FlushSome();
  void Show(const std::vector<Piece>& pieces);
  void Show(const Piece& piece);
  QColor ColourOf(Kind kind) const;
  void Enter();
  bool InputKey(QKeyEvent& event);
  void InsertCompletion(const QString& word);
  QString WordBeforeCursor() const;

  Help help_;
  ide::History history_;
  QPlainTextEdit* output_ = nullptr;
  QLabel* prompt_;
  QLineEdit* input_;
  QCompleter* completer_;
  QStringListModel* words_;
  QTimer flush_;
  std::vector<Piece> pending_;
  QString begun_;  // the lines of an entry that goes on
  bool busy_ = false;
};

}  // namespace ui::ide_view
