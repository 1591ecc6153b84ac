#include "tavhost/app/stack_room.h"

#include <sys/resource.h>

#include <algorithm>
#include <tl/expected.hpp>

namespace app {

namespace {

// Records in records, to the nesting limit, take about 0.75 MiB; script texts that run each other
// add some, as do the program's arguments and environment.
constexpr rlim_t kNeeded = rlim_t{2} << 20;

}  // namespace

// The system lets the stack of the first thread grow until the limit that holds then.
base::Result<void> TakeStackRoom() {
  rlimit limit;
  if (getrlimit(RLIMIT_STACK, &limit) != 0 || limit.rlim_cur >= kNeeded) return {};
  limit.rlim_cur = std::min(kNeeded, limit.rlim_max);
  if (limit.rlim_cur == kNeeded && setrlimit(RLIMIT_STACK, &limit) == 0) return {};
  return base::Failure("the stack is limited to " + std::to_string(limit.rlim_cur >> 10) +
                       " KiB (ulimit -s); " + std::to_string(kNeeded >> 10) + " KiB are needed");
}

}  // namespace app
