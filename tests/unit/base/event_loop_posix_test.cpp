#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>

#include <chrono>

#include "tavhost/base/stop.h"
#include "tavhost/headless/headless_toolkit.h"

namespace {

TEST(PostedWorkPosix, AStopFromASignalHandlerEndsAWait) {
  stop::Clear();
  auto toolkit = ui::CreateHeadlessToolkit({});
  toolkit->ProcessEvents();
  struct sigaction action = {};
  struct sigaction before = {};
  action.sa_handler = [](int) { stop::Request(stop::Reason::kUser); };
  action.sa_flags = SA_RESTART;
  sigaction(SIGALRM, &action, &before);
  itimerval timer = {};
  timer.it_value.tv_usec = 30000;
  setitimer(ITIMER_REAL, &timer, nullptr);
  const auto start = std::chrono::steady_clock::now();
  toolkit->WaitForEvents(10000);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
  EXPECT_EQ(stop::Requested(), stop::Reason::kUser);
  sigaction(SIGALRM, &before, nullptr);
  stop::Clear();
}

}  // namespace
