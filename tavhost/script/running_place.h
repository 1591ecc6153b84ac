#pragma once

#include <cstdint>
#include <string_view>

namespace script {

// Where the innermost text that runs stands, at its last command, call or error.
struct RunningPlace {
  std::string_view file;   // the name that stands for it in errors; empty: none runs
  std::uint32_t line = 0;  // from 1
};

// For the user-interface thread and its signal handlers: neither locks nor allocates.
RunningPlace FindRunningPlace() noexcept;

}  // namespace script
