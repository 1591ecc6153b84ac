#include <windows.h>

#include "tavhost/base/local_time.h"

namespace base {

namespace {

constexpr std::int64_t kTicksPerSecond = 10'000'000;     // of a FILETIME
constexpr std::int64_t kSecondsTo1970 = 11'644'473'600;  // from 1601, where FILETIME begins

bool ToSystemTime(std::int64_t seconds, SYSTEMTIME& time) {
  const std::int64_t ticks = (seconds + kSecondsTo1970) * kTicksPerSecond;
  if (ticks < 0) return false;
  FILETIME file;
  file.dwLowDateTime = static_cast<DWORD>(ticks);
  file.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
  return FileTimeToSystemTime(&file, &time) != 0;
}

std::int64_t ToSeconds(const SYSTEMTIME& time) {
  FILETIME file;
  if (!SystemTimeToFileTime(&time, &file)) return 0;
  const std::int64_t ticks =
      static_cast<std::int64_t>(file.dwHighDateTime) << 32 | file.dwLowDateTime;
  return ticks / kTicksPerSecond - kSecondsTo1970;
}

}  // namespace

std::int32_t LocalOffsetAt(std::int64_t seconds) {
  SYSTEMTIME utc;
  SYSTEMTIME local;
  if (!ToSystemTime(seconds, utc)) return 0;
  if (!SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local)) return 0;
  return static_cast<std::int32_t>(ToSeconds(local) - ToSeconds(utc));
}

}  // namespace base
