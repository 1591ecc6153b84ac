#pragma once

#include <optional>
#include <string>

#include "host/base/string.h"

namespace app {

struct ScriptSource {
  std::string name;  // as error texts show it
  SV::String text;
};

// A script's file, or standard input for "-". Empty when it cannot be read, which has been said.
std::optional<ScriptSource> ReadScript(const std::string& path);

}  // namespace app
