#include <windows.h>

#include <csignal>

#include "tavhost/app/crash.h"
#include "tavhost/base/leftover_file.h"
#include "tavhost/base/report.h"
#include "tavhost/base/standard_write.h"

namespace app {

namespace {

const char* CauseOf(DWORD code) {
  switch (code) {
    case EXCEPTION_ACCESS_VIOLATION:
      return "exception 0xC0000005 (access violation)";
    case EXCEPTION_STACK_OVERFLOW:
      return "exception 0xC00000FD (stack overflow)";
    case EXCEPTION_INT_DIVIDE_BY_ZERO:
      return "exception 0xC0000094 (division by zero)";
    case EXCEPTION_ILLEGAL_INSTRUCTION:
      return "exception 0xC000001D (illegal instruction)";
    default:
      return "an exception of the system";
  }
}

// Should this meet a fault itself, what is left is not told.
void Tell(const char* cause) {
  static volatile LONG told = 0;
  if (InterlockedExchange(&told, 1) != 0) return;
  LeftoverFile::RemoveAll();
  standard_write::FlushOutputIfFree();  // what was printed before a crash is what its reader needs
                                        // most
  report::LineAtCrash(CrashLine(cause, true));
}

LONG WINAPI HandleFault(EXCEPTION_POINTERS* fault) {
  Tell(CauseOf(fault->ExceptionRecord->ExceptionCode));
  return EXCEPTION_CONTINUE_SEARCH;
}

void HandleAbort(int) { Tell("signal 22 (SIGABRT)"); }

}  // namespace

// The C library here has none.
void AtQuickExit(void (*)()) noexcept {}

void ReportCrashes() {
  SetUnhandledExceptionFilter(HandleFault);
  std::signal(SIGABRT, HandleAbort);
  // The filter runs on the stack that the fault leaves, which may be at its end.
  ULONG kept = ULONG{64} << 10;
  SetThreadStackGuarantee(&kept);
  // A crash ends the process at once; the system shows no box that waits for a user.
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
}

}  // namespace app
