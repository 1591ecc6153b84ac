#include <windows.h>

#include <cstdio>

#include <fcntl.h>
#include <io.h>

#include "tavhost/app/standard_streams.h"

namespace app {

namespace {

// What was printed before a crash is what its reader needs most.
LONG WINAPI FlushAtCrash(EXCEPTION_POINTERS*) {
  FlushOutputIfFree();
  return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

// Nothing tells whether the stream is in use here; whoever calls must be able to wait.
void FlushOutputIfFree() noexcept { std::fflush(stdout); }

void PreparePlatformStreams() {
  for (std::FILE* stream : {stdin, stdout, stderr}) _setmode(_fileno(stream), _O_BINARY);
  SetConsoleCP(CP_UTF8);
  SetConsoleOutputCP(CP_UTF8);
  SetUnhandledExceptionFilter(FlushAtCrash);
  // A crash ends the process at once; the system shows no box that waits for a user.
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
}

bool IsInputTerminal() { return _isatty(_fileno(stdin)) != 0; }
bool IsOutputTerminal() { return _isatty(_fileno(stdout)) != 0; }

}  // namespace app
