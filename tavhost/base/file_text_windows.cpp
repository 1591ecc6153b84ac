#include <windows.h>

#include "tavhost/base/file_text.h"

namespace base {

std::FILE* OpenForReading(const std::string& name) {
  const int size = static_cast<int>(name.size());
  std::wstring wide(name.size(), L'\0');  // UTF-16 never has more units
  const int length = MultiByteToWideChar(CP_UTF8, 0, name.data(), size, wide.data(), size);
  wide.resize(static_cast<std::size_t>(length));
  return _wfopen(wide.c_str(), L"rb");
}

}  // namespace base
