#include "tavhost/app/standard_streams.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <tl/expected.hpp>

#include "tavhost/base/file_text.h"
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

std::size_t statusColumns = 0;  // of the status line that shows

void EraseStatus() {
  if (statusColumns == 0) return;
  const std::string blanks(statusColumns, ' ');
  std::fprintf(stderr, "\r%s\r", blanks.c_str());
  std::fflush(stderr);
  statusColumns = 0;
}

}  // namespace

void PrepareStandardStreams() {
  PreparePlatformStreams();
  if (!IsOutputTerminal()) std::setvbuf(stdout, nullptr, _IOFBF, kBufferSize);
}

void ShowStatus(std::string_view line) {
  std::fflush(stdout);
  EraseStatus();
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::fflush(stderr);
  statusColumns = static_cast<std::size_t>(
      std::count_if(line.begin(), line.end(), [](char byte) { return (byte & '\xC0') != '\x80'; }));
}

void Print(std::string_view text) {
  EraseStatus();
  errno = 0;
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) NoteOutputError();
}

void WriteError(std::string_view text) {
  EraseStatus();
  std::fflush(stdout);
  std::fwrite(text.data(), 1, text.size(), stderr);
}

bool FinishOutput() {
  errno = 0;
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) NoteOutputError();
  if (outputError != 0 && !outputErrorShown) {
    outputErrorShown = true;
    WriteError(std::string("tavhost: cannot write standard output: ") + std::strerror(outputError) +
               "\n");
  }
  return outputError == 0;
}

bool ReadInputLine(std::string& line) {
  if (IsInputTerminal()) std::fflush(stdout);  // the question stands before its answer
  return ui::ReadTerminalLine(line) == ui::LineOutcome::kLine;
}

base::Result<std::string> ReadStandardInput() { return base::ReadStreamText(stdin); }

}  // namespace app
