#include <cstdlib>

#include "host/windows/windows.h"
#include "tavhost/service/token.h"

namespace script::service {

// The user's own data folder: its access list admits the user, the system and administrators.
std::string PrivateFolder() {
  const char* data = std::getenv("LOCALAPPDATA");
  if (!data || !*data) return {};
  const std::string folder = std::string(data) + "\\tavhost";
  CreateDirectoryA(folder.c_str(), nullptr);
  const DWORD attributes = GetFileAttributesA(folder.c_str());
  const bool isFolder =
      attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  return isFolder ? folder : std::string();
}

bool WritePrivateFile(const std::string& path, std::string_view contents) {
  const HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  DWORD count = 0;
  const bool written =
      WriteFile(file, contents.data(), static_cast<DWORD>(contents.size()), &count, nullptr) &&
      count == contents.size();
  if (CloseHandle(file) && written) return true;
  DeleteFileA(path.c_str());  // or it would stand in the way of the next start
  return false;
}

// The access list of the folder decides; who chooses the path chooses that.
bool IsPrivateFile(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

}  // namespace script::service
