#pragma once

#include <QElapsedTimer>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QWidget>

#include "tavhost/ui/models/percentage_window_model.h"

namespace ui {

// How far a script has come, in a small window above the main one.
class PercentageWindowView final : public QWidget {
 public:
  PercentageWindowView(PercentageWindowModel& model, QWidget* parent);

  // A window that can be cancelled takes the keyboard: Escape and Alt+C are for it. The button has
  // no focus, so that what somebody typed elsewhere presses it not.
  void Open();
  // Brings the widgets up to date with the model, which may change far more often than anybody
  // sees. True when it is time for them to be painted.
  bool ShowModel();
  void ShowNow();

 protected:
  void closeEvent(QCloseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  void Cancel();
  QProgressBar* MakeBar(const char* name);
  QLabel* MakeMessage(const char* name);

  PercentageWindowModel& model_;
  QLabel* message_;
  QProgressBar* bar_;
  QLabel* message2_ = nullptr;
  QProgressBar* bar2_ = nullptr;
  QLabel* times_;
  QPushButton* cancel_ = nullptr;
  QTimer clock_;
  QElapsedTimer shown_;
};

}  // namespace ui
