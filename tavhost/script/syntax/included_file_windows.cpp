#include <windows.h>

#include <tl/expected.hpp>
#include "tavhost/base/string_of.h"
#include "tavhost/base/wide_text_windows.h"
#include "tavhost/script/syntax/included_file.h"

namespace script {

namespace {

HANDLE Open(const std::string& name) {
  return CreateFileW(base::Wide(name).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                     nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
}

std::string IdentityOfFile(HANDLE file, const std::string& name) {
  BY_HANDLE_FILE_INFORMATION information;
  if (!GetFileInformationByHandle(file, &information)) return name;
  return std::to_string(information.dwVolumeSerialNumber) + ':' +
         std::to_string(information.nFileIndexHigh) + ':' +
         std::to_string(information.nFileIndexLow);
}

}  // namespace

std::string IdentityOf(const std::string& name) {
  const HANDLE file = Open(name);
  if (file == INVALID_HANDLE_VALUE) return name;
  const std::string identity = IdentityOfFile(file, name);
  CloseHandle(file);
  return identity;
}

base::Result<IncludedFile> ReadIncludedFile(const std::string& name) {
  const HANDLE file = Open(name);
  if (file == INVALID_HANDLE_VALUE) {
    const DWORD code = GetLastError();
    const bool isAbsent = code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND;
    return base::Failure(isAbsent ? "No such file or directory" : "error " + std::to_string(code));
  }
  // A pipe or device could keep the parser waiting for ever, or never end.
  if (GetFileType(file) != FILE_TYPE_DISK) {
    CloseHandle(file);
    return base::Failure("it is no plain file");
  }
  IncludedFile included;
  included.identity = IdentityOfFile(file, name);
  std::string text;
  char bytes[65536];
  DWORD count = 0;
  bool isRead = true;
  while ((isRead = ReadFile(file, bytes, sizeof bytes, &count, nullptr) != 0) && count > 0 &&
         text.size() < static_cast<std::size_t>(SV::String::kMaxLength) / 2) {
    text.append(bytes, count);
  }
  CloseHandle(file);
  if (!isRead) return base::Failure("the file cannot be read");
  if (count > 0) return base::Failure("the file is too large");
  included.text = base::StringOf(text);
  return included;
}

}  // namespace script
