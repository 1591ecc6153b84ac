#include <windows.h>

#include <cerrno>

#include "tavhost/base/file_text.h"
#include "tavhost/base/wide_text_windows.h"

namespace base {

// "N": programs that this one starts do not inherit it.
std::FILE* OpenForReading(const std::string& name) { return _wfopen(Wide(name).c_str(), L"rbN"); }

std::FILE* OpenFileForReading(const std::string& name) {
  const DWORD kind = GetFileAttributesW(Wide(name).c_str());
  if (kind != INVALID_FILE_ATTRIBUTES && (kind & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    errno = 0;
    return nullptr;
  }
  return OpenForReading(name);
}

std::FILE* OpenForWriting(const std::string& name) { return _wfopen(Wide(name).c_str(), L"wbN"); }

}  // namespace base
