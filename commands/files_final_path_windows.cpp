#include <string>

#include "commands/files_final_path.h"
#include "host/files/dir_entry.h"
#include "host/windows/windows.h"

namespace commands {

SV::String PlainPath(const SV::String& path) {
  SV::DirEntry entry(path);
  entry.ToAbs();
  return entry.GetFull();
}

SV::String FinalPath(const SV::String& path) {
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const HANDLE opened = CreateFileA(PlainPath(path).GetStr(), 0, kShareAll, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (opened == INVALID_HANDLE_VALUE) return {};
  std::string final(GetFinalPathNameByHandleA(opened, nullptr, 0, 0), '\0');
  const DWORD length =
      GetFinalPathNameByHandleA(opened, final.data(), static_cast<DWORD>(final.size()), 0);
  CloseHandle(opened);
  if (length == 0 || length >= final.size()) return {};
  return SV::String(final.data(), static_cast<long>(length));
}

}  // namespace commands
