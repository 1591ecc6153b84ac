#include "tavhost/service/spare_memory.h"

#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "tavhost/base/kept_memory.h"

namespace script::service {

namespace {

// Less than that is not worth the time, and the next request may need it.
constexpr std::size_t kWorthIt = std::size_t{16} << 20;

// That are in memory; 0 where the system does not tell.
std::size_t ResidentBytes() {
  std::FILE* const file = std::fopen("/proc/self/statm", "re");
  if (!file) return 0;
  unsigned long pages = 0;
  if (std::fscanf(file, "%*u %lu", &pages) != 1) pages = 0;
  std::fclose(file);
  return pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace

void GiveBackMemory() {
  buffer_memory::GiveBackKept();
  malloc_trim(0);
}

void GiveBackIfGrown() {
  static std::size_t usual = 0;
  const std::size_t now = ResidentBytes();
  if (now > usual + kWorthIt) {
    GiveBackMemory();
    usual = ResidentBytes();
  }
  usual = std::min(usual, now);
}

}  // namespace script::service
