#include "tavhost/base/file_rights_windows.h"

#include <vector>

#include "host/windows/windows.h"

namespace base {

bool TakeRights(const std::wstring& file, const std::wstring& model, unsigned long attributes) {
  DWORD length = 0;
  GetFileSecurityW(model.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &length);
  std::vector<unsigned char> rights(length);
  // A file system without access lists has none to give.
  const bool hasRights = length > 0 && GetFileSecurityW(model.c_str(), DACL_SECURITY_INFORMATION,
                                                        rights.data(), length, &length);
  if (hasRights && !SetFileSecurityW(file.c_str(), DACL_SECURITY_INFORMATION, rights.data())) {
    return false;
  }
  return SetFileAttributesW(file.c_str(), attributes) != 0;
}

}  // namespace base
