#include <exception>

#include "commands/files_copy.h"

namespace commands {

namespace {

struct Copying {
  LongCommand& command;
  std::exception_ptr stopped;
};

// A stop must not be thrown through the system.
DWORD CALLBACK BetweenParts(LARGE_INTEGER, LARGE_INTEGER, LARGE_INTEGER, LARGE_INTEGER, DWORD,
                            DWORD, HANDLE, HANDLE, LPVOID data) {
  auto& copying = *static_cast<Copying*>(data);
  try {
    copying.command.BetweenSteps();
  } catch (...) {
    copying.stopped = std::current_exception();
  }
  return copying.stopped ? PROGRESS_CANCEL : PROGRESS_CONTINUE;
}

}  // namespace

BOOL CopyFileInSteps(const char* from, const char* to, BOOL failIfExists, LongCommand& command) {
  Copying copying{command, nullptr};
  const DWORD flags = failIfExists ? COPY_FILE_FAIL_IF_EXISTS : 0;
  const BOOL copied = CopyFileExA(from, to, BetweenParts, &copying, nullptr, flags);
  if (copying.stopped) std::rethrow_exception(copying.stopped);
  return copied;
}

}  // namespace commands
