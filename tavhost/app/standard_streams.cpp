#include "tavhost/app/standard_streams.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tavhost/base/report.h"
#include "tavhost/base/stop.h"
#include "tavhost/headless/terminal_input.h"

namespace app {

namespace {

constexpr std::size_t kBufferSize = std::size_t{1} << 16;

int outputError = 0;  // errno of the first write that failed
bool outputErrorShown = false;

void NoteOutputError() {
  if (outputError != 0) return;
  outputError = errno != 0 ? errno : EIO;
  stop::Request(stop::Reason::kUser);  // nobody reads what the script goes on to print
}

std::optional<std::string> ReadAll(std::FILE* file, std::string& error) {
  std::string text;
  char part[1 << 16];
  while (const std::size_t count = std::fread(part, 1, sizeof part, file)) text.append(part, count);
  if (std::ferror(file)) {
    error = std::strerror(errno);
    return std::nullopt;
  }
  return text;
}

}  // namespace

void PrepareStandardStreams() {
  PreparePlatformStreams();
  if (!IsOutputTerminal()) std::setvbuf(stdout, nullptr, _IOFBF, kBufferSize);
}

void Print(std::string_view text) {
  report::TakeStatusAway();
  errno = 0;
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) NoteOutputError();
}

bool FinishOutput() {
  errno = 0;
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
    if (errno == 0) errno = report::OutputError();  // it failed before a message
    NoteOutputError();
  }
  if (outputError != 0 && !outputErrorShown) {
    outputErrorShown = true;
    report::Line(std::string("tavhost: cannot write standard output: ") +
                 std::strerror(outputError));
  }
  return outputError == 0;
}

bool ReadInputLine(std::string& line) {
  if (IsInputTerminal()) std::fflush(stdout);  // the question stands before its answer
  return ui::ReadTerminalLine(line) == ui::LineOutcome::kLine;
}

std::optional<std::string> ReadStandardInput(std::string& error) { return ReadAll(stdin, error); }

std::optional<std::string> ReadWholeFile(const std::string& path, std::string& error) {
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (!file) {
    error = std::strerror(errno);
    return std::nullopt;
  }
  std::optional<std::string> text = ReadAll(file, error);
  std::fclose(file);
  return text;
}

}  // namespace app
