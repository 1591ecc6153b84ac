#include <windows.h>

#include <io.h>

#include <cstddef>
#include <cstdio>

#include "tavhost/base/report.h"
#include "tavhost/base/standard_write.h"

namespace report {

bool IsTerminal() noexcept { return _isatty(_fileno(stderr)) != 0; }

void detail::Write(std::string_view bytes) noexcept { standard_write::Error(bytes); }

std::size_t detail::WriteWithin(std::string_view bytes, int milliseconds) noexcept {
  const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stderr)));
  if (milliseconds == 0 && GetFileType(handle) == FILE_TYPE_PIPE) return 0;
  Write(bytes);
  return bytes.size();
}

}  // namespace report
