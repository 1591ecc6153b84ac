#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "tavhost/base/report.h"
#include "tavhost/base/standard_write.h"
#include "tavhost/base/stop.h"

namespace {

// Puts another file in the place of a descriptor while it lives.
class Replaced {
 public:
  Replaced(int descriptor, int by) : descriptor_(descriptor), before_(dup(descriptor)) {
    dup2(by, descriptor);
  }
  Replaced(const Replaced&) = delete;
  Replaced& operator=(const Replaced&) = delete;
  ~Replaced() {
    dup2(before_, descriptor_);
    close(before_);
  }

 private:
  const int descriptor_;
  const int before_;
};

// What both streams wrote, in order and write by write.
std::vector<std::string> Writes(const std::function<void()>& act) {
  std::fflush(stdout);
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends) != 0) return {"no socket"};
  {
    const Replaced out(STDOUT_FILENO, ends[1]);
    const Replaced error(STDERR_FILENO, ends[1]);
    act();
    std::fflush(stdout);
  }
  close(ends[1]);
  std::vector<std::string> writes;
  std::string bytes(1 << 16, '\0');
  for (ssize_t count; (count = read(ends[0], bytes.data(), bytes.size())) > 0;) {
    writes.push_back(bytes.substr(0, static_cast<std::size_t>(count)));
  }
  close(ends[0]);
  return writes;
}

using List = std::vector<std::string>;

TEST(ReportStreams, WritesAMessageInOnePieceBehindWhatWasPrinted) {
  EXPECT_EQ(Writes([] {
              std::fputs("before\n", stdout);
              report::Line("one\ntwo");
              std::fputs("after\n", stdout);
            }),
            (List{"before\n", "one\ntwo\n", "after\n"}));
}

TEST(ReportStreams, WritesALongLineInOnePiece) {
  const std::string line(50'000, 'x');
  EXPECT_EQ(Writes([&] { report::Line(line); }), List{line + '\n'});
}

TEST(ReportStreams, TakesTheStatusAwayWithTheMessage) {
  EXPECT_EQ(Writes([] {
              report::ShowStatus("50%");
              report::Line("failed");
            }),
            (List{"50%", "\r   \rfailed\n"}));
}

TEST(ReportStreams, AsksBehindWhatWasPrinted) {
  EXPECT_EQ(Writes([] {
              std::fputs("before", stdout);
              report::Text("answer: ");
            }),
            (List{"before", "answer: "}));
}

// In a process of its own: that nobody waits any more cannot be taken back.
void WriteToNobody() {
  int ends[2];
  if (pipe(ends) != 0) std::_Exit(2);
  dup2(ends[1], STDERR_FILENO);
  close(ends[1]);
  report::NeverWait();
  constexpr int kLines = 40'000;
  constexpr int kMostKept = 1 << 20;
  const std::string line(99, 'x');
  for (int i = 0; i < kLines; ++i) report::Line(line);  // 4 MB; nobody reads
  std::string read;
  char part[1 << 16];
  std::size_t missing = std::string::npos;
  while (missing == std::string::npos) {
    const ssize_t count = ::read(ends[0], part, sizeof part);
    if (count <= 0) std::_Exit(3);
    read.append(part, static_cast<std::size_t>(count));
    missing = read.find("tavhost: ");
    if (missing != std::string::npos && read.find('\n', missing) == std::string::npos) {
      missing = std::string::npos;
    }
  }
  const std::size_t whole = missing / 100;
  if (missing != whole * 100 || missing < kMostKept) std::_Exit(4);
  const auto told = std::strtoul(read.c_str() + missing + sizeof "tavhost:", nullptr, 10);
  if (whole + told != kLines) std::_Exit(5);
  report::Line("again");
  report::Finish();
  const ssize_t count = ::read(ends[0], part, sizeof part);
  std::_Exit(std::string(part, static_cast<std::size_t>(std::max<ssize_t>(count, 0))) == "again\n"
                 ? 0
                 : 6);
}

TEST(ReportStreams, HoldsNobodyUpAndCountsWhatIsMissing) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(WriteToNobody(), testing::ExitedWithCode(0), "");
}

TEST(ReportStreams, ALineAtACrashTakesTheStatusAway) {
  EXPECT_EQ(Writes([] {
              report::ShowStatus("50%");
              report::LineAtCrash("crashed\n");
            }),
            (List{"50%", "\r", "   ", "\r", "crashed\n"}));
}

TEST(ReportStreams, RemembersWhyWhatWasPrintedCouldNotBeWritten) {
  const int full = open("/dev/full", O_WRONLY);
  if (full < 0) GTEST_SKIP() << "there is no /dev/full";
  testing::internal::CaptureStderr();
  {
    const Replaced out(STDOUT_FILENO, full);
    std::fputs("lost", stdout);
    errno = ERANGE;
    report::Line("told");
    EXPECT_EQ(errno, ERANGE);
  }
  std::clearerr(stdout);
  close(full);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "told\n");
  EXPECT_EQ(standard_write::OutputError(), ENOSPC);
  EXPECT_EQ(stop::Requested(), stop::Reason::kUser);
  stop::Clear();
}

}  // namespace
