#include "tavhost/base/new_file_windows.h"

#include <atomic>
#include <utility>

#include "host/windows/windows.h"

namespace base {

NewFile::NewFile(std::wstring target) : target_(std::move(target)) {}

NewFile::~NewFile() {
  const DWORD error = GetLastError();
  Close();
  if (exists_) {
    // A copy may have become read-only.
    SetFileAttributesW(name_.c_str(), FILE_ATTRIBUTE_NORMAL);
    DeleteFileW(name_.c_str());
  }
  SetLastError(error);
}

bool NewFile::Create() {
  static std::atomic<unsigned> number{0};
  const std::wstring folder = target_.substr(0, target_.find_last_of(L"\\/") + 1);
  while (true) {
    name_ = folder + L".tavhost-" + std::to_wstring(GetCurrentProcessId()) + L'-' +
            std::to_wstring(++number) + L".tmp";
    const HANDLE made = CreateFileW(name_.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ,
                                    nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (made != INVALID_HANDLE_VALUE) {
      file_ = made;
      return exists_ = true;
    }
    if (GetLastError() != ERROR_FILE_EXISTS) return false;
  }
}

bool NewFile::Close() { return !file_ || CloseHandle(std::exchange(file_, nullptr)) != 0; }

bool NewFile::ReplaceName(bool synced) {
  const DWORD flags = MOVEFILE_REPLACE_EXISTING | (synced ? MOVEFILE_WRITE_THROUGH : 0);
  const bool named = MoveFileExW(name_.c_str(), target_.c_str(), flags) != 0;
  exists_ = !named;
  return named;
}

}  // namespace base
