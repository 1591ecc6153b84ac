#pragma once

#include <QPlainTextEdit>
#include <QTimer>
#include <cstdint>

#include "tavhost/ui/models/text_model.h"

namespace ui {

// A text that grows while it is looked at. Changes reach the screen together, every 16 ms at most;
// only lines that are new, or gone from the top, are touched.
class OutputView final : public QPlainTextEdit, private TextObserver {
 public:
  explicit OutputView(TextModel& model);
  ~OutputView() override;

  // Shows what has changed so far.
  void Flush();

 private:
  void TextChanged(TextModel&) override;

  void ShowAll();
  void DropLines(std::uint64_t count);
  void Append();
  void ScrollToSelection();

  TextModel& model_;
  QTimer flush_;
  // What of the model shows.
  std::uint64_t version_ = 0;
  std::uint64_t droppedLines_ = 0;
  std::uint64_t end_ = 0;
  std::uint64_t showRequests_ = 0;
};

}  // namespace ui
