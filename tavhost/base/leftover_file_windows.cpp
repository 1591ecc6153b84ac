#include "host/windows/windows.h"
#include "tavhost/base/leftover_file.h"

LeftoverFile::Identity LeftoverFile::IdentityOf(const char* path) noexcept {
  constexpr DWORD kAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const HANDLE file = CreateFileA(path, 0, kAll, nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return {};
  BY_HANDLE_FILE_INFORMATION found{};
  const bool isKnown = GetFileInformationByHandle(file, &found) != 0;
  CloseHandle(file);
  if (!isKnown) return {};
  return {found.dwVolumeSerialNumber,
          static_cast<std::uint64_t>(found.nFileIndexHigh) << 32 | found.nFileIndexLow};
}
