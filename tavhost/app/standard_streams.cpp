#include "tavhost/app/standard_streams.h"

#include <cstdio>
#include <cstring>
#include <utility>

#include "tavhost/base/report.h"
#include "tavhost/base/standard_write.h"
#include "tavhost/headless/terminal_input.h"

namespace app {

namespace {

bool outputErrorShown = false;
std::string (*printForm)(std::string_view) = nullptr;

}  // namespace

void PrepareStandardStreams() {
  PreparePlatformStreams();
  standard_write::PrepareOutput();
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
  standard_write::Output(text);
}

void FlushOutput() { standard_write::FlushOutput(); }

bool FinishOutput() {
  FlushOutput();
  if (standard_write::OutputError() == 0) return true;
  if (!std::exchange(outputErrorShown, true)) {
    report::Line(std::string("tavhost: cannot write standard output: ") +
                 std::strerror(standard_write::OutputError()));
  }
  return false;
}

bool ReadInputLine(std::string& line) {
  if (IsInputTerminal()) FlushOutput();  // the question stands before its answer
  return ui::ReadTerminalLine(line) == ui::LineOutcome::kLine;
}

}  // namespace app
