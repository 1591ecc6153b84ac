#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <tl/expected.hpp>
#include <utility>

#include "tavhost/app/exit_codes.h"
#include "tavhost/app/standard_streams.h"
#include "tavhost/app/subcommands.h"
#include "tavhost/base/file_text.h"
#include "tavhost/base/report.h"

namespace app {

namespace {

// Cuts the first line off; a carriage return before the line feed is not part of it.
std::string_view NextLine(std::string_view& text) {
  const std::size_t end = std::min(text.find('\n'), text.size());
  std::string_view line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

}  // namespace

int CompareTraces(const CommandLine& line) {
  const std::string& firstName = line.operands[1];
  const std::string& secondName = line.operands[2];
  std::string texts[2];
  for (int i = 0; i < 2; ++i) {
    const std::string& name = i == 0 ? firstName : secondName;
    base::Result<std::string> text = base::ReadFileText(name);
    if (!text) {
      report::Line("tavhost: cannot read " + name + ": " + text.error().message);
      return kExitUsage;
    }
    texts[i] = std::move(*text);
  }
  std::string_view first = texts[0];
  std::string_view second = texts[1];
  for (std::size_t number = 1; !first.empty() || !second.empty(); ++number) {
    const bool firstEnded = first.empty();
    const bool secondEnded = second.empty();
    const std::string firstLine(NextLine(first));
    const std::string secondLine(NextLine(second));
    if (firstEnded == secondEnded && firstLine == secondLine) continue;
    const std::string place = ":" + std::to_string(number) + ": ";
    Print(firstName + place + (firstEnded ? "(end of the trace)" : firstLine) + "\n");
    Print(secondName + place + (secondEnded ? "(end of the trace)" : secondLine) + "\n");
    return kExitScriptError;
  }
  return kExitSuccess;
}

}  // namespace app
