#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <functional>
#include <memory>

#include "tavhost/base/event_loop.h"
#include "tavhost/base/report.h"
#include "tavhost/base/stop.h"
#include "tavhost/qt/qt_toolkit.h"
#include "tavhost/ui/models/modal_model.h"

inline ui::ModuleHost TestModuleHost() {
  return {&event_loop::RunPostedWork, &event_loop::HasPostedWork,     &event_loop::ClearWakeUp,
          &stop::IsRequested,         event_loop::WakeUpDescriptor(), &report::Line};
}

// The real toolkit, its windows offscreen. One for the whole program, as there can be only one
// application object.
class QtTest : public testing::Test {
 protected:
  static constexpr int kGuard = 300;  // milliseconds; by then a dialog takes keys
  static constexpr int kPatience = 30000;

  void SetUp() override { stop::Clear(); }
  void TearDown() override { stop::Clear(); }

  static ui::QtToolkit& Toolkit() {
    static ui::QtToolkit& toolkit = *new ui::QtToolkit(TestModuleHost(), {});
    return toolkit;
  }

  // Runs the window and calls `act` with its dialog, that long after it has come up.
  static void Run(ui::ModalModel& model, const std::function<void(QDialog&)>& act,
                  int afterMilliseconds = kGuard) {
    Toolkit();
    model.Begin();
    QElapsedTimer waiting;
    QElapsedTimer up;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
      auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
      if (!dialog && waiting.elapsed() < kPatience) return;
      if (dialog && !up.isValid()) up.start();
      if (dialog && up.elapsed() < afterMilliseconds) return;
      timer.stop();
      if (dialog) {
        act(*dialog);
      } else {
        ADD_FAILURE() << "no dialog";
        model.End("cancel");
      }
    });
    waiting.start();
    timer.start(afterMilliseconds == 0 ? 0 : 5);
    Toolkit().RunModal(model);
  }
};
