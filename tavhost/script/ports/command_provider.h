#pragma once

#include "host/base/string.h"
#include "host/notation/forward.h"
#include "host/script/forward.h"

namespace script {

// Somebody who carries out commands of a port: a loaded plug-in, or the host itself. The parser
// stands on the command's element.
class CommandProvider {
 public:
  virtual ~CommandProvider() = default;

  // False when there is no such command.
  virtual bool Handle(const char* command, TavKelParser& params, TavScriptResult& result) = 0;
  virtual bool Handle(const char* command, TavKelParser& params, TavMessage& message) = 0;
  // The names that it knows; asking carries nothing out.
  virtual bool Exists(const char* command) = 0;
  virtual SV::String AllCommands(char separator) = 0;
};

}  // namespace script
