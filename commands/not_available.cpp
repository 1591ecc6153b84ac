// Commands that this version does not carry out yet: each says so as an error. Whoever builds one
// defines its handler in the source file of its family and takes its line away here;
// tests/count_unavailable.sh counts the rows of the table that are left.
#include "commands/handlers.h"
#include "host/script/script_result.h"
#include "host/sv/string.h"

namespace commands {

namespace {

void ReportNotAvailable(const char* name, TavScriptResult& result) {
  SV::String message(name);
  message += ": not available yet";
  result.SetError(message);
}

}  // namespace

#define NOT_AVAILABLE(COMMAND)                                                       \
  void Command_##COMMAND(const char* name, TavKelParser&, TavScriptResult& result) { \
    ReportNotAvailable(name, result);                                                \
  }

// tree_list_box.cpp

// progress_output.cpp
NOT_AVAILABLE(PERCWIN_CREATE)
NOT_AVAILABLE(PERCWIN_SET)
NOT_AVAILABLE(PERCWIN_IS_CANCELED)
NOT_AVAILABLE(PERCWIN_DESTROY)
NOT_AVAILABLE(CREATE_OUTPUT_WIN)
NOT_AVAILABLE(SET_OUTPUT_WIN_SUBTITLE)
NOT_AVAILABLE(OUT)
NOT_AVAILABLE(SET_OUT_MAX_LINE_COUNT)

// environment.cpp

// http.cpp

#undef NOT_AVAILABLE

}  // namespace commands
