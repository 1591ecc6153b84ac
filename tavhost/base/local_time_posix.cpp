#include <time.h>

#include "tavhost/base/local_time.h"

namespace base {

std::int32_t LocalOffsetAt(std::int64_t seconds) {
  const time_t instant = seconds;
  struct tm local;
  tzset();
  return localtime_r(&instant, &local) ? static_cast<std::int32_t>(local.tm_gmtoff) : 0;
}

}  // namespace base
