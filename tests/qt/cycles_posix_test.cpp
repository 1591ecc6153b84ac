#include <malloc.h>

#include <QPixmapCache>
#include <QTemporaryDir>
#include <cstdlib>

#include "tests/qt/qt_fixture.h"
#include "tests/qt/sample_windows.h"

namespace {

class QtCycles : public QtTest {};

// Memory in use, in bytes; sanitizers have an allocator of their own, which does not tell.
std::size_t InUse() { return mallinfo2().uordblks; }

int Cycles() {
  const char* const wanted = std::getenv("TAVHOST_CYCLES");
  return wanted ? std::atoi(wanted) : 60;
}

// Every kind of dialog, opened, painted and cancelled over and over. TAVHOST_CYCLES sets how often.
TEST_F(QtCycles, LeaveNoMemoryBehind) {
  Toolkit();
  QPixmapCache::setCacheLimit(0);  // it fills up to its limit, which is no leak
  const QTemporaryDir folder;
  const std::string path = folder.path().toStdString();
  constexpr int kWarmUp = 25;  // fonts, icons and styles are kept once they are loaded
  // The least of what a dialog is made of takes more than this each time.
  const std::size_t slack = (std::size_t{64} << 10) + static_cast<std::size_t>(Cycles()) * 32;
  for (const auto& sample : sample_windows::All(path, path)) {
    std::size_t before = 0;
    for (int i = 0; i < kWarmUp + Cycles(); ++i) {
      if (i == kWarmUp) before = InUse();
      sample.model->Begin();
      QTimer::singleShot(0, [] {
        QWidget* const dialog = QApplication::activeModalWidget();
        ASSERT_TRUE(dialog);
        dialog->repaint();
        dialog->close();
      });
      Toolkit().RunModal(*sample.model);
      ASSERT_EQ(sample.model->EndButton(), "cancel") << sample.name;
    }
    EXPECT_LT(InUse(), before + slack) << sample.name;
  }
}

}  // namespace
