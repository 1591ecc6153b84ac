#include "host/windows/windows.h"
#include "tavhost/base/stop.h"
#include "tavhost/base/system_error_windows.h"
#include "tavhost/base/wide_text_windows.h"
#include "tavhost/loader/child_process.h"
#include "tavhost/loader/program_file.h"

namespace loader {

namespace {

using Clock = std::chrono::steady_clock;

constexpr DWORD kSliceMilliseconds = 20;       // between two looks at the child
constexpr DWORD kFirstCrashCode = 0xC0000000;  // exit codes from here on are exceptions
constexpr DWORD kExitCodeOfEndedChild = 0xDEAD;

class Handle {
 public:
  Handle() = default;
  explicit Handle(HANDLE handle) : handle_(handle) {}
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() { Close(); }

  operator HANDLE() const { return handle_; }
  HANDLE* Receive() { return &handle_; }
  void Close() {
    if (handle_ && handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
    handle_ = nullptr;
  }

 private:
  HANDLE handle_ = nullptr;
};

// Appends an argument so that the C runtime's start-up code gets the same one out of the line
// again: in quotes, with backslashes doubled only where a quote follows them.
void AppendArgument(std::wstring& line, const std::wstring& argument) {
  if (!line.empty()) line += L' ';
  line += L'"';
  std::size_t backslashes = 0;
  for (const wchar_t unit : argument) {
    if (unit == L'\\') {
      ++backslashes;
      continue;
    }
    line.append(unit == L'"' ? backslashes * 2 + 1 : backslashes, L'\\');
    backslashes = 0;
    line += unit;
  }
  line.append(backslashes * 2, L'\\');
  line += L'"';
}

Handle OpenNull(DWORD access) {
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  return Handle(CreateFileW(L"NUL", access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                            OPEN_EXISTING, 0, nullptr));
}

// Makes all processes of the job end with it.
void EndTogether(HANDLE job) {
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
}

void ReadSome(HANDLE from, std::string& output) {
  DWORD waiting = 0;
  while (PeekNamedPipe(from, nullptr, 0, nullptr, &waiting, nullptr) && waiting > 0) {
    char buffer[4096];
    DWORD count = 0;
    if (!ReadFile(from, buffer, sizeof buffer, &count, nullptr)) return;
    output.append(buffer, count);
  }
}

// Starts the child suspended, so that it can be put into its job before it starts others itself.
bool Start(const std::vector<std::string>& arguments, HANDLE output, PROCESS_INFORMATION& process) {
  const std::wstring program = base::Wide(ProgramPath());
  std::wstring line;
  AppendArgument(line, program);
  for (const std::string& argument : arguments) AppendArgument(line, base::Wide(argument));
  const Handle input = OpenNull(GENERIC_READ);
  const Handle errors = OpenNull(GENERIC_WRITE);
  STARTUPINFOW start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = input;
  start.hStdOutput = output;
  start.hStdError = errors;
  return CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED,
                        nullptr, nullptr, &start, &process);
}

}  // namespace

ChildOutcome RunChild(const std::vector<std::string>& arguments, std::chrono::milliseconds limit) {
  ChildOutcome outcome;
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  Handle readEnd;
  Handle writeEnd;
  PROCESS_INFORMATION process{};
  if (!CreatePipe(readEnd.Receive(), writeEnd.Receive(), &inherited, 0) ||
      !SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0) ||
      !Start(arguments, writeEnd, process)) {
    outcome.reason = base::SystemErrorText(GetLastError());
    return outcome;
  }
  writeEnd.Close();
  const Handle child(process.hProcess);
  const Handle thread(process.hThread);
  const Handle job(CreateJobObjectW(nullptr, nullptr));
  EndTogether(job);
  AssignProcessToJobObject(job, child);
  ResumeThread(thread);

  const auto deadline = Clock::now() + limit;
  bool ended = false;
  while (!ended && Clock::now() < deadline && !stop::IsRequested()) {
    ended = WaitForSingleObject(child, kSliceMilliseconds) == WAIT_OBJECT_0;
    ReadSome(readEnd, outcome.output);
  }
  if (!ended) {
    outcome.end = ChildOutcome::End::kTimedOut;
    TerminateProcess(child, kExitCodeOfEndedChild);
    return outcome;
  }
  DWORD code = 0;
  GetExitCodeProcess(child, &code);
  if (code >= kFirstCrashCode) {
    outcome.end = ChildOutcome::End::kCrashed;
    outcome.reason = base::SystemErrorText(code);
  } else {
    outcome.end = ChildOutcome::End::kExited;
    outcome.code = static_cast<int>(code);
  }
  return outcome;
}

// The child's job ends with this process, however that ends.
void EndChild() noexcept {}
void EndWithParent() {}

void CrashQuietly() { SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX); }

}  // namespace loader
