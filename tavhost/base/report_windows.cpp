#include <windows.h>

#include <io.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>

#include "tavhost/base/report.h"

namespace report {

bool IsTerminal() noexcept { return _isatty(_fileno(stderr)) != 0; }

// Past the stream, which has a buffer of its own or writes byte by byte.
void detail::Write(std::string_view bytes) noexcept {
  constexpr std::size_t kMost = std::size_t{1} << 30;  // its counts are ints
  const int file = _fileno(stderr);
  if (file < 0) return;  // a program without a console
  while (!bytes.empty()) {
    const int count =
        _write(file, bytes.data(), static_cast<unsigned>(std::min(bytes.size(), kMost)));
    if (count <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

std::size_t detail::WriteWithin(std::string_view bytes, int milliseconds) noexcept {
  const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stderr)));
  if (milliseconds == 0 && GetFileType(handle) == FILE_TYPE_PIPE) return 0;
  Write(bytes);
  return bytes.size();
}

}  // namespace report
