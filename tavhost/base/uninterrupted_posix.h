#pragma once

#include <cerrno>

namespace base {

// Makes a call of the system again as long as a signal interrupts it. Not for close.
template <typename Call>
auto Uninterrupted(Call call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

}  // namespace base
