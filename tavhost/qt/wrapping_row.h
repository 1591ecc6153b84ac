#pragma once

#include <QWidget>
#include <vector>

namespace ui {

// Widgets beside each other that go on in a next line where they do not fit in one. The leading
// ones stand where a line begins, the others where it ends.
class WrappingRow final : public QWidget {
 public:
  enum class Wraps {
    kOnScreen,  // where the screen has no room for one line: a window is as wide as that needs
    kInWindow,  // as soon as the window is narrower
  };
  explicit WrappingRow(Wraps wraps, QWidget* parent = nullptr);

  // Become its own.
  void AddLeading(QWidget* widget);
  void Add(QWidget* widget);

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;
  bool hasHeightForWidth() const override { return true; }
  int heightForWidth(int width) const override { return HeightOf(width); }

 protected:
  bool event(QEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  struct Line {
    std::vector<QWidget*> leading;
    std::vector<QWidget*> others;
    int width = 0;
    int height = 0;
  };

  std::vector<QWidget*> Visible() const;
  std::vector<Line> Lines(int width) const;
  int Room() const;  // that one line may take
  int HeightOf(int width) const;
  void Arrange();

  const Wraps wraps_;
  const int gap_;
  std::vector<QWidget*> leading_;
  std::vector<QWidget*> others_;
};

}  // namespace ui
