#include "tavhost/app/standard_streams.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <tl/expected.hpp>

#include "tavhost/base/file_text.h"
#include "tavhost/base/report.h"
#include "tavhost/base/stop.h"
#include "tavhost/headless/terminal_input.h"

namespace app {

namespace {

constexpr std::size_t kBufferSize = std::size_t{1} << 16;

int outputError = 0;  // errno of the first write that failed
bool outputErrorShown = false;
std::string (*printForm)(std::string_view) = nullptr;

void NoteOutputError() {
  if (outputError != 0) return;
  outputError = errno != 0 ? errno : EIO;
  stop::Request(stop::Reason::kUser);  // nobody reads what the script goes on to print
}

}  // namespace

void PrepareStandardStreams() {
  PreparePlatformStreams();
  if (!IsOutputTerminal()) std::setvbuf(stdout, nullptr, _IOFBF, kBufferSize);
}

void Print(std::string_view text) {
  if (!printForm) return PrintAsItIs(text);
  PrintAsItIs(printForm(text));
}

void PrintLine(std::string_view line) {
  if (printForm) return Print(std::string(line) + '\n');
  PrintAsItIs(line);
  PrintAsItIs("\n");
}

void SetPrintForm(std::string (*form)(std::string_view text)) { printForm = form; }

void PrintAsItIs(std::string_view text) {
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

base::Result<std::string> ReadStandardInput() { return base::ReadStreamText(stdin); }

}  // namespace app
