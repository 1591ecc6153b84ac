// A plug-in whose commands take signals away from the host, blocked or handled by others, or end
// its thread.
#include <signal.h>

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

void EndThread(const char*, TavKelParser&, TavScriptResult&) { pthread_exit(nullptr); }

// Tells a test that what it waits for has begun.
void Mark(const char*, TavKelParser&, TavScriptResult&) {
  if (const char* const name = std::getenv("TEST_MARK")) {
    if (std::FILE* const file = std::fopen(name, "w")) std::fclose(file);
  }
}

void BlockAndSpin(const char* command, TavKelParser& parser, TavScriptResult& result) {
  BlockAll();
  Mark(command, parser, result);
  for (std::atomic<unsigned> round = 0;; ++round) {
  }
}

}  // namespace

const TavMessagePortCommand kTable[] = {
    {"BLOCK", Block},
    {"BLOCK_AND_THROW", BlockAndThrow},
    {"BLOCK_AND_SPIN", BlockAndSpin},
    {"IGNORE", Ignore},
    {"MARK", Mark},
    {"END_THREAD", EndThread},
    {nullptr, nullptr},
};
