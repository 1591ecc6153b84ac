#pragma once

#include "host/notation/forward.h"
#include "host/script/forward.h"

// What a command calls: the name under which it was called, its parameters, its result.
typedef void (*TavCommandHandler)(const char* name, TavKelParser& parser, TavScriptResult& result);

// A row of a command table; a table ends with a row of two nulls.
struct TavMessagePortCommand {
  const char* name;
  TavCommandHandler handler;
};
