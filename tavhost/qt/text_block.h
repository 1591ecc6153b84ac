#pragma once

#include <QLabel>
#include <QPlainTextEdit>

namespace ui {

// A text as it is, in a window that is never too large for it: a short text stands in full, a long
// one scrolls, a word that no line holds is broken.
class TextBlock final : public QWidget {
 public:
  // Whether the window is at least as wide as the text's lines, or has a width of its own, in which
  // the text is wrapped.
  enum class Width { kOfText, kOfWindow };

  // Lines are wrapped at `columns` mean characters; of more than `lines`, or than half the screen
  // holds, the rest is scrolled to.
  TextBlock(int columns, int lines, Qt::Alignment alignment, Width width = Width::kOfText,
            QWidget* parent = nullptr);

  void SetText(const QString& text);
  const QString& Text() const { return text_; }

  QLabel& Label() { return *label_; }  // what shows a short text

 private:
  class Scrolled;

  int MostLines() const;
  void ShowInFull(const QRect& bounds);
  void ShowScrolled();

  const int columns_;
  const int lines_;
  const Width width_;
  QString text_;
  QLabel* label_;
  Scrolled* scrolled_ = nullptr;  // once there was a long text
};

}  // namespace ui
