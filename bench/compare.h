#pragma once

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

// Runs our way of doing a piece of work and others' in turn, round after round (A B A B …), and
// prints the medians of the processor time with the ratio to the best peer beside the goal.
namespace bench {

struct Contender {
  std::string name;
  std::function<void()> prepare;  // not timed; may be empty
  std::function<void()> run;
};

// Processor time of this process and of the programs that it ran and waited for, user and system,
// in seconds.
inline double CpuSeconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  rusage children{};
  getrusage(RUSAGE_CHILDREN, &children);
  const auto seconds = [](const timeval& part) {
    return static_cast<double>(part.tv_sec) + static_cast<double>(part.tv_usec) * 1e-6;
  };
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9 +
         seconds(children.ru_utime) + seconds(children.ru_stime);
}

inline double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// The first contender is ours; `goal` is the ratio to the best of `peers` that is aimed for.
// Returns the ratio.
inline double Compare(const std::string& row, const std::vector<Contender>& contenders, double goal,
                      int rounds = 9) {
  std::vector<std::vector<double>> seconds(contenders.size());
  for (int round = 0; round <= rounds; ++round) {
    for (std::size_t i = 0; i < contenders.size(); ++i) {
      if (contenders[i].prepare) contenders[i].prepare();
      const double before = CpuSeconds();
      contenders[i].run();
      const double taken = CpuSeconds() - before;
      if (round > 0) seconds[i].push_back(taken);  // the first round only warms up
    }
  }
  const double ours = Median(seconds[0]);
  double best = 0;
  std::printf("%-34s", row.c_str());
  for (std::size_t i = 0; i < contenders.size(); ++i) {
    const double median = Median(seconds[i]);
    if (i > 0) best = i == 1 ? median : std::min(best, median);
    std::printf(" | %s %.1f ms", contenders[i].name.c_str(), median * 1e3);
    if (i > 0) std::printf(" (%.2f x)", ours / median);
  }
  std::printf(" | ratio to best %.2f, goal %.2f\n", ours / best, goal);
  std::fflush(stdout);
  return ours / best;
}

}  // namespace bench
