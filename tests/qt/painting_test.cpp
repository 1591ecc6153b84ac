#include <QWidget>

#include "tavhost/base/event_loop.h"
#include "tests/qt/qt_fixture.h"

namespace {

class QtPainting : public QtTest {};

struct Canvas : QWidget {
  int painted = 0;
  void paintEvent(QPaintEvent*) override { ++painted; }
};

// While a command blocks.
TEST_F(QtPainting, GoesOnWhilePostedWorkWaits) {
  ui::QtToolkit& toolkit = Toolkit();
  Canvas canvas;
  canvas.resize(100, 100);
  canvas.show();
  toolkit.ProcessEvents();
  const int before = canvas.painted;
  ASSERT_GT(before, 0);

  bool worked = false;
  event_loop::Post([&worked] { worked = true; });
  canvas.update();
  toolkit.ProcessPainting();
  EXPECT_EQ(canvas.painted, before + 1);
  EXPECT_FALSE(worked);

  toolkit.ProcessEvents();
  EXPECT_TRUE(worked);
}

}  // namespace
