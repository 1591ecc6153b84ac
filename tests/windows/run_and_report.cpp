#include <windows.h>

#include <cstdio>
#include <string>

// run_and_report PROGRAM ARGUMENT...: runs the program with this one's standard streams and writes
// its exit code as the last line of standard error: [exit code 0xC0000005]
int wmain(int count, wchar_t** arguments) {
  if (count < 2) return 2;
  // The command line as it came, without its first word.
  const wchar_t* rest = GetCommandLineW();
  bool quoted = false;
  while (*rest && (quoted || (*rest != L' ' && *rest != L'\t'))) {
    if (*rest == L'"') quoted = !quoted;
    ++rest;
  }
  while (*rest == L' ' || *rest == L'\t') ++rest;
  std::wstring commandLine = rest;

  STARTUPINFOW start{};
  start.cb = sizeof start;
  PROCESS_INFORMATION process{};
  if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                      &start, &process)) {
    std::fprintf(stderr, "cannot start %ls: error %lu\n", arguments[1], GetLastError());
    return 2;
  }
  WaitForSingleObject(process.hProcess, INFINITE);
  DWORD code = 0;
  GetExitCodeProcess(process.hProcess, &code);
  std::fprintf(stderr, "[exit code 0x%08lX]\n", code);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return 0;
}
