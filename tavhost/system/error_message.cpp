#include "host/system/error_message.h"

#include <cstdio>

#include "tavhost/base/trace.h"

void displayErrorMessage(const char* sourceFile, int line) {
  trace::Call call("displayErrorMessage", sourceFile, line);
  call.Write();
  std::fflush(stdout);
  std::fprintf(stderr, "internal error at %s:%d\n", sourceFile, line);
  std::fflush(stderr);
}
