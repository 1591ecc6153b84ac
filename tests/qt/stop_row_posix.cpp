// Runs one script in the workbench, presses Shift+F5 while it is in the middle of its work, and
// tells how long that took: `tavhost_stop_row SCRIPT`, for tests/stop/run.py. The script writes the
// file that STOP_MARK names right before its long work.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include <unistd.h>

#include "tests/qt/ide_fixture.h"

namespace {

using Clock = std::chrono::steady_clock;

const char* scriptPath = nullptr;

// The state and the processor time, in ticks, of the thread that runs scripts.
struct Work {
  char state = ' ';
  long ticks = 0;
};

Work WorkNow() {
  const std::string id = std::to_string(getpid());
  std::ifstream file("/proc/self/task/" + id + "/stat");
  std::string text((std::istreambuf_iterator<char>(file)), {});
  Work work;
  long user = 0;
  long system = 0;
  const std::size_t name = text.rfind(')');
  if (name == std::string::npos ||
      std::sscanf(text.c_str() + name + 1, " %c %*d %*d %*d %*d %*d %*u %*u %*u %*u %*u %ld %ld",
                  &work.state, &user, &system) != 3) {
    std::abort();
  }
  work.ticks = user + system;
  return work;
}

bool IsThere(const char* path) { return access(path, F_OK) == 0; }

// Until the mark stands and the script waits for something or has computed for a while.
void WaitUntilAtWork() {
  constexpr auto kStep = std::chrono::milliseconds(5);
  constexpr long kComputed = 3;  // ticks, usually of 10 ms
  while (!IsThere(std::getenv("STOP_MARK"))) std::this_thread::sleep_for(kStep);
  const long begin = WorkNow().ticks;
  for (Work work = WorkNow(); work.state != 'S' && work.ticks - begin < kComputed;
       work = WorkNow()) {
    std::this_thread::sleep_for(kStep);
  }
}

// Again while nothing follows: a dialog that has just come up takes no key for a quarter of a
// second.
void PressStop() {
  QWidget* target = QApplication::activePopupWidget();
  if (!target) target = QApplication::activeModalWidget();
  if (!target) target = QApplication::activeWindow();
  if (!target) target = QApplication::focusWidget();
  if (!target) return;  // the script has ended, and its window is not active yet
  QTest::keyClick(target, Qt::Key_F5, Qt::ShiftModifier);
  QTimer::singleShot(100, qApp, PressStop);
}

}  // namespace

TEST_F(IdeTest, StopsTheScript) {
  Start({scriptPath});
  Clock::time_point pressed;
  // As a keyboard does it: the press waits in the queue while the script handles no events.
  std::thread user([&pressed] {
    WaitUntilAtWork();
    pressed = Clock::now();
    QMetaObject::invokeMethod(qApp, PressStop, Qt::QueuedConnection);
  });
  Run();
  const auto ended = Clock::now();
  const QString state = State();
  EXPECT_TRUE(state.startsWith(QStringLiteral("Stopped after"))) << state.toStdString() << '\n'
                                                                 << Console().toStdString();
  EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
  user.join();
  const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(ended - pressed);
  std::printf("stopped after %ld ms\n", static_cast<long>(took.count()));
}

int main(int count, char** arguments) {
  testing::InitGoogleTest(&count, arguments);
  if (count != 2 || !std::getenv("STOP_MARK")) {
    std::fprintf(stderr, "usage: STOP_MARK=FILE tavhost_stop_row SCRIPT\n");
    return 2;
  }
  scriptPath = arguments[1];
  const int result = RUN_ALL_TESTS();
  std::fflush(nullptr);
  std::_Exit(result);  // the plug-in and its windows go with the process
}
