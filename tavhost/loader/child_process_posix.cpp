#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>

#include "tavhost/base/stop.h"
#include "tavhost/loader/child_process.h"
#include "tavhost/loader/program_file.h"

namespace loader {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kSliceMilliseconds = 20;  // between two looks whether the child still lives

std::atomic<pid_t> running{0};  // the child, which leads a process group; 0: none
static_assert(std::atomic<pid_t>::is_always_lock_free);

// While one lives, no signal handler runs on this thread: between the child's start and its number
// being known there is nobody who could end it.
class SignalsHeld {
 public:
  SignalsHeld() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;
  ~SignalsHeld() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

  const sigset_t& Before() const { return before_; }

 private:
  sigset_t before_;
};

// Starts the child at the head of a process group of its own; 0 or an error number.
int Spawn(const std::vector<std::string>& arguments, int output, pid_t& child) {
  const std::string program = ProgramPath();
  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);

  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_adddup2(&files, output, STDOUT_FILENO);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK);
  posix_spawnattr_setpgroup(&attributes, 0);
  const SignalsHeld held;
  posix_spawnattr_setsigmask(&attributes, &held.Before());
  const int error = posix_spawn(&child, program.c_str(), &files, &attributes, argv.data(), environ);
  if (error == 0) running = child;
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&files);
  return error;
}

// Only looks: the child is waited for later, and keeps its process group reserved until then.
bool HasEnded(pid_t child) {
  siginfo_t info{};
  return waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT | WNOHANG) == 0 &&
         info.si_pid == child;
}

// Reads what is there; false at the end of the output.
bool ReadSome(int from, std::string& output) {
  char buffer[4096];
  for (;;) {
    const ssize_t count = read(from, buffer, sizeof buffer);
    if (count > 0) {
      output.append(buffer, static_cast<std::size_t>(count));
    } else {
      return count < 0 && (errno == EAGAIN || errno == EINTR);
    }
  }
}

// Collects the child's output until it ends; false when the time is over first, or a stop comes.
bool Follow(pid_t child, int from, Clock::time_point deadline, std::string& output) {
  bool open = true;
  while (!HasEnded(child)) {
    if (Clock::now() >= deadline || stop::IsRequested()) return false;
    pollfd waiting{open ? from : -1, POLLIN, 0};
    poll(&waiting, 1, kSliceMilliseconds);
    if (open) open = ReadSome(from, output);
  }
  if (open) ReadSome(from, output);
  return true;
}

}  // namespace

ChildOutcome RunChild(const std::vector<std::string>& arguments, std::chrono::milliseconds limit) {
  ChildOutcome outcome;
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    outcome.reason = std::strerror(errno);
    return outcome;
  }
  fcntl(ends[0], F_SETFL, O_NONBLOCK);
  pid_t child = 0;
  const int error = Spawn(arguments, ends[1], child);
  close(ends[1]);
  if (error != 0) {
    close(ends[0]);
    outcome.reason = std::strerror(error);
    return outcome;
  }

  const bool ended = Follow(child, ends[0], Clock::now() + limit, outcome.output);
  kill(-child, SIGKILL);
  running = 0;  // its number is reserved until it is waited for
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  close(ends[0]);
  if (!ended) {
    outcome.end = ChildOutcome::End::kTimedOut;
  } else if (WIFSIGNALED(status)) {
    outcome.end = ChildOutcome::End::kCrashed;
    outcome.reason = std::string("signal ") + std::to_string(WTERMSIG(status)) + ", " +
                     strsignal(WTERMSIG(status));
  } else {
    outcome.end = ChildOutcome::End::kExited;
    outcome.code = WEXITSTATUS(status);
  }
  return outcome;
}

void EndChild() noexcept {
  if (const pid_t child = running) kill(-child, SIGKILL);
}

// A parent that ended before this was asked for is known by the output, which nobody reads.
void EndWithParent() {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  pollfd output{STDOUT_FILENO, POLLOUT, 0};
  if (poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0) raise(SIGKILL);
}

void CrashQuietly() {
  const rlimit none{0, 0};
  setrlimit(RLIMIT_CORE, &none);
}

}  // namespace loader
