#include "tavhost/files/disk.h"

#include <algorithm>
#include <cstdlib>

#include "host/windows/windows.h"

namespace disk {

namespace {

class Handle {
 public:
  explicit Handle(HANDLE handle) : handle_(handle) {}
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() { Close(); }

  HANDLE Get() const { return handle_; }
  bool IsOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
  bool Close() {
    if (!IsOpen()) return true;
    const bool closed = CloseHandle(handle_) != 0;
    handle_ = INVALID_HANDLE_VALUE;
    return closed;
  }

 private:
  HANDLE handle_;
};

DWORD Attributes(Name name) { return GetFileAttributesA(name.text); }

bool Has(DWORD attributes, DWORD wanted) {
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & wanted) != 0;
}

// Whether two paths lead to one file, whatever they look like.
bool IsSameFile(Name a, Name b) {
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const Handle first(CreateFileA(a.text, 0, kShareAll, nullptr, OPEN_EXISTING,
                                 FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  const Handle second(CreateFileA(b.text, 0, kShareAll, nullptr, OPEN_EXISTING,
                                  FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  BY_HANDLE_FILE_INFORMATION x;
  BY_HANDLE_FILE_INFORMATION y;
  return first.IsOpen() && second.IsOpen() && GetFileInformationByHandle(first.Get(), &x) &&
         GetFileInformationByHandle(second.Get(), &y) &&
         x.dwVolumeSerialNumber == y.dwVolumeSerialNumber && x.nFileIndexHigh == y.nFileIndexHigh &&
         x.nFileIndexLow == y.nFileIndexLow;
}

// Gives a copy the attributes of its source: the copy goes into a file that exists already, and not
// every system takes the attributes over then.
bool TakeAttributes(Name from, const std::string& path) {
  const DWORD attributes = Attributes(from);
  return attributes != INVALID_FILE_ATTRIBUTES && SetFileAttributesA(path.c_str(), attributes);
}

// Takes from a copy what CopyFileA has taken over unasked: the attributes and the time.
bool DropAttributes(const std::string& path) {
  if (!SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL)) return false;
  const Handle file(CreateFileA(path.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ, nullptr,
                                OPEN_EXISTING, 0, nullptr));
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  return file.IsOpen() && SetFileTime(file.Get(), nullptr, nullptr, &now);
}

class WindowsFile : public OutputFile {
 public:
  explicit WindowsFile(HANDLE file) : file_(file) {}

  long Write(const char* data, long length) override {
    long done = 0;
    while (done < length) {
      DWORD bytes = 0;
      const auto rest = static_cast<DWORD>(length - done);
      if (!WriteFile(file_.Get(), data + done, rest, &bytes, nullptr) || bytes == 0) break;
      done += static_cast<long>(bytes);
    }
    return done;
  }

  bool Close() override { return file_.IsOpen() && file_.Close(); }

 private:
  Handle file_;
};

// Whether a folder is there or could be made: what stands there, or the nearest above it that does,
// is a folder.
bool MayBeFolder(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES) return Has(attributes, FILE_ATTRIBUTE_DIRECTORY);
  const auto separator = path.find_last_of("\\/");
  return separator == std::string::npos || separator == 0 || MayBeFolder(path.substr(0, separator));
}

}  // namespace

bool IsFile(Name name) {
  const DWORD attributes = Attributes(name);
  return attributes != INVALID_FILE_ATTRIBUTES && !Has(attributes, FILE_ATTRIBUTE_DIRECTORY);
}

bool IsTakenByOther(Name name) {
  return Has(Attributes(name),
             FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DEVICE);
}

bool IsReadOnly(Name name) { return Has(Attributes(name), FILE_ATTRIBUTE_READONLY); }

bool Delete(Name name) { return DeleteFileA(name.text) != 0; }

bool Copy(Name from, Name to, bool keepAttributes) {
  const DWORD target = Attributes(to);
  if (Has(target, FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY) || IsSameFile(from, to)) {
    return false;
  }
  const std::string copy = NewFileBeside(to.text);
  if (copy.empty()) return false;
  const bool copied = CopyFileA(from.text, copy.c_str(), FALSE) != 0 &&
                      (keepAttributes ? TakeAttributes(from, copy) : DropAttributes(copy)) &&
                      MoveFileExA(copy.c_str(), to.text, MOVEFILE_REPLACE_EXISTING) != 0;
  if (!copied) {
    SetFileAttributesA(copy.c_str(), FILE_ATTRIBUTE_NORMAL);
    DeleteFileA(copy.c_str());
  }
  return copied;
}

bool Rename(Name from, Name to) { return MoveFileA(from.text, to.text) != 0; }

bool Replace(Name from, Name to) {
  return MoveFileExA(from.text, to.text, MOVEFILE_REPLACE_EXISTING) != 0;
}

ReadCode Read(Name name, SV::String& contents) {
  const Handle file(CreateFileA(name.text, GENERIC_READ,
                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  if (!file.IsOpen()) {
    return Attributes(name) == INVALID_FILE_ATTRIBUTES ? kNotFound : kUnreadable;
  }
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file.Get(), &size)) return kUnreadable;
  if (size.QuadPart > SV::String::kMaxLength) return kTooLarge;
  const auto length = static_cast<long>(size.QuadPart);
  char* out = contents.AllocBuffer(length);
  long done = 0;
  while (done < length) {
    DWORD bytes = 0;
    if (!ReadFile(file.Get(), out + done, static_cast<DWORD>(length - done), &bytes, nullptr)) {
      contents = SV::String();
      return kUnreadable;
    }
    if (bytes == 0) break;
    done += static_cast<long>(bytes);
  }
  contents.Erase(done, length);  // it was cut short meanwhile
  return kRead;
}

std::unique_ptr<OutputFile> OpenForWriting(Name name, bool append) {
  if (Has(Attributes(name), FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY)) return nullptr;
  HANDLE file = CreateFileA(name.text, append ? FILE_APPEND_DATA : GENERIC_WRITE,
                            FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            append ? OPEN_ALWAYS : CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return nullptr;
  return std::make_unique<WindowsFile>(file);
}

std::string NewTemporaryFile(const std::string& prefix) {
  char folder[MAX_PATH];
  const DWORD length = GetTempPathA(sizeof folder, folder);
  if (length == 0 || length >= sizeof folder) return "";
  char path[MAX_PATH];
  return GetTempFileNameA(folder, prefix.c_str(), 0, path) != 0 ? path : "";
}

std::string NewFileBeside(const std::string& path) {
  static unsigned number = 0;
  while (true) {
    const std::string name = ".tavhost-" + std::to_string(GetCurrentProcessId()) + '-' +
                             std::to_string(++number) + ".tmp";
    std::string file = Join(FolderOf(path), name);
    const Handle made(CreateFileA(file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
    if (made.IsOpen()) return file;
    if (GetLastError() != ERROR_FILE_EXISTS) return "";
  }
}

bool IsAbsolute(const std::string& path) {
  const bool hasDrive = path.size() >= 2 && path[1] == ':';
  return !path.empty() && (path[0] == '\\' || path[0] == '/' || hasDrive);
}

bool CanBeWritten(const std::string&) { return true; }

std::string Join(const std::string& folder, const std::string& name) {
  const bool ends = !folder.empty() && (folder.back() == '\\' || folder.back() == '/');
  return folder.empty() || ends ? folder + name : folder + '\\' + name;
}

std::string FolderOf(const std::string& path) {
  const auto separator = path.find_last_of("\\/");
  return separator == std::string::npos ? "." : path.substr(0, separator + 1);
}

std::string CurrentFolder() {
  std::string folder(GetCurrentDirectoryA(0, nullptr), '\0');
  folder.resize(GetCurrentDirectoryA(static_cast<DWORD>(folder.size()), folder.data()));
  return folder;
}

std::string UserDataFolder() {
  const char* folder = std::getenv("APPDATA");
  return folder && *folder ? folder : CurrentFolder();
}

bool MakeFolders(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  if (attributes != INVALID_FILE_ATTRIBUTES) return Has(attributes, FILE_ATTRIBUTE_DIRECTORY);
  const auto separator = path.find_last_of("\\/");
  if (separator != std::string::npos && separator > 2 && !MakeFolders(path.substr(0, separator))) {
    return false;
  }
  return CreateDirectoryA(path.c_str(), nullptr) != 0 || GetLastError() == ERROR_ALREADY_EXISTS;
}

FolderContents FilesOf(const std::string& folder) {
  FolderContents contents;
  WIN32_FIND_DATAA entry;
  const HANDLE search = FindFirstFileA(Join(folder, "*").c_str(), &entry);
  const DWORD error = GetLastError();
  const bool found = search != INVALID_HANDLE_VALUE;
  const bool isAbsent = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
  contents.readable = found || (isAbsent && MayBeFolder(folder));
  if (!found) return contents;
  constexpr DWORD kNotPlain =
      FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DEVICE;
  do {
    if (!Has(entry.dwFileAttributes, kNotPlain)) contents.files.emplace_back(entry.cFileName);
  } while (FindNextFileA(search, &entry));
  contents.readable = GetLastError() == ERROR_NO_MORE_FILES;
  FindClose(search);
  return contents;
}

}  // namespace disk
