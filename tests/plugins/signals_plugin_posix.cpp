// A plug-in whose commands take signals away from the host, blocked or handled by others, or end
// its thread or the program in ways of POSIX systems.
#include <signal.h>
#include <sys/time.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "tests/plugins/table_plugin.h"

namespace {

void BlockAll() {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, nullptr);
}

void Block(const char*, TavKelParser&, TavScriptResult&) { BlockAll(); }

void BlockAndThrow(const char*, TavKelParser&, TavScriptResult&) {
  BlockAll();
  throw 1;
}

void Ignore(const char*, TavKelParser&, TavScriptResult&) {
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGALRM}) signal(number, SIG_IGN);
}

void QuickExit(const char*, TavKelParser&, TavScriptResult&) { std::quick_exit(0); }

void EndThread(const char*, TavKelParser&, TavScriptResult&) { pthread_exit(nullptr); }

// Tells a test that what it waits for has begun.
void Mark(const char*, TavKelParser&, TavScriptResult&) {
  if (const char* const name = std::getenv("TEST_MARK")) {
    if (std::FILE* const file = std::fopen(name, "w")) std::fclose(file);
  }
}

[[noreturn]] void Spin(const char* command, TavKelParser& parser, TavScriptResult& result) {
  Mark(command, parser, result);
  for (std::atomic<unsigned> round = 0;; ++round) {
  }
}

void BlockAndSpin(const char* command, TavKelParser& parser, TavScriptResult& result) {
  BlockAll();
  Spin(command, parser, result);
}

void IgnoreAndSpin(const char* command, TavKelParser& parser, TavScriptResult& result) {
  Ignore(command, parser, result);
  Spin(command, parser, result);
}

void IgnoreBlockAndSpin(const char* command, TavKelParser& parser, TavScriptResult& result) {
  Ignore(command, parser, result);
  BlockAndSpin(command, parser, result);
}

void Alarm(const char*, TavKelParser&, TavScriptResult&) { raise(SIGALRM); }

void AlarmAgainAndAgain(const char*, TavKelParser&, TavScriptResult&) {
  const itimerval often{{0, 1000}, {0, 1000}};
  setitimer(ITIMER_REAL, &often, nullptr);
}

}  // namespace

const TavMessagePortCommand kTable[] = {
    {"BLOCK", Block},
    {"BLOCK_AND_THROW", BlockAndThrow},
    {"BLOCK_AND_SPIN", BlockAndSpin},
    {"IGNORE", Ignore},
    {"IGNORE_AND_SPIN", IgnoreAndSpin},
    {"IGNORE_BLOCK_AND_SPIN", IgnoreBlockAndSpin},
    {"ALARM", Alarm},
    {"ALARM_AGAIN_AND_AGAIN", AlarmAgainAndAgain},
    {"MARK", Mark},
    {"END_THREAD", EndThread},
    {"QUICK_EXIT", QuickExit},
    {nullptr, nullptr},
};
