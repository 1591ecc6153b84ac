#include "host/system/error_message.h"

#include <string>

#include "tavhost/base/report.h"
#include "tavhost/base/trace.h"

void displayErrorMessage(const char* sourceFile, int line) {
  trace::Call call("displayErrorMessage", sourceFile, line);
  call.Write();
  const std::string source = sourceFile ? sourceFile : "(null)";
  report::Line("internal error at " + source + ':' + std::to_string(line));
}
