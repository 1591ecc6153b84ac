#include "tavhost/files/disk.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <tl/expected.hpp>
#include <utility>

#include "host/windows/windows.h"
#include "tavhost/base/ascii.h"
#include "tavhost/base/file_handle_windows.h"
#include "tavhost/base/file_rights_windows.h"
#include "tavhost/base/long_work.h"
#include "tavhost/base/new_file_windows.h"
#include "tavhost/base/stop.h"
#include "tavhost/base/system_error_windows.h"
#include "tavhost/base/wide_text_windows.h"
#include "tavhost/files/replacing_output_file.h"

namespace disk {

namespace {

// What is read or written between two looks at the stop request: some milliseconds of work.
constexpr long kStep = 8L << 20;

DWORD Attributes(Name name) { return GetFileAttributesA(name.text); }

bool Has(DWORD attributes, DWORD wanted) {
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & wanted) != 0;
}

// Whether two paths lead to one file, whatever they look like.
bool IsSameFile(Name a, Name b) {
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const base::FileHandle first(CreateFileA(a.text, 0, kShareAll, nullptr, OPEN_EXISTING,
                                           FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  const base::FileHandle second(CreateFileA(b.text, 0, kShareAll, nullptr, OPEN_EXISTING,
                                            FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  BY_HANDLE_FILE_INFORMATION x;
  BY_HANDLE_FILE_INFORMATION y;
  return first.IsOpen() && second.IsOpen() && GetFileInformationByHandle(first.Get(), &x) &&
         GetFileInformationByHandle(second.Get(), &y) &&
         x.dwVolumeSerialNumber == y.dwVolumeSerialNumber && x.nFileIndexHigh == y.nFileIndexHigh &&
         x.nFileIndexLow == y.nFileIndexLow;
}

// A path as scripts write it, in the code page of the 8-bit functions.
std::wstring WideOf(const char* path) {
  std::wstring wide(static_cast<std::size_t>(MultiByteToWideChar(CP_ACP, 0, path, -1, nullptr, 0)),
                    L'\0');
  MultiByteToWideChar(CP_ACP, 0, path, -1, wide.data(), static_cast<int>(wide.size()));
  if (!wide.empty()) wide.pop_back();  // the zero at the end
  return wide;
}

// Gives a copy the attributes that it is to have: the copy goes into a file that exists already,
// and not every system takes the attributes over then.
bool SetAttributes(const std::wstring& copy, DWORD attributes) {
  return attributes != INVALID_FILE_ATTRIBUTES && SetFileAttributesW(copy.c_str(), attributes);
}

// Takes from a copy the time that CopyFileExW has taken over unasked.
bool SetTimeToNow(const std::wstring& copy) {
  const base::FileHandle file(CreateFileW(copy.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ,
                                          nullptr, OPEN_EXISTING, 0, nullptr));
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  return file.IsOpen() && SetFileTime(file.Get(), nullptr, nullptr, &now);
}

bool Sync(const std::wstring& path) {
  const base::FileHandle file(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                          OPEN_EXISTING, 0, nullptr));
  return file.IsOpen() && FlushFileBuffers(file.Get());
}

DWORD CALLBACK GoOnUnlessStopped(LARGE_INTEGER size, LARGE_INTEGER copied, LARGE_INTEGER,
                                 LARGE_INTEGER, DWORD, DWORD, HANDLE, HANDLE, LPVOID work) {
  const bool goesOn = static_cast<base::LongWork*>(work)->GoesOn(
      static_cast<std::uint64_t>(copied.QuadPart), static_cast<std::uint64_t>(size.QuadPart));
  return goesOn ? PROGRESS_CONTINUE : PROGRESS_CANCEL;
}

class WindowsFile : public OutputFile {
 public:
  WindowsFile(HANDLE file, std::string path) : file_(file), path_(std::move(path)) {}

  long Write(const char* data, long length) override {
    long done = 0;
    base::LongWork work("Writing", path_);
    while (done < length) {
      work.At(static_cast<std::uint64_t>(done), static_cast<std::uint64_t>(length));
      DWORD bytes = 0;
      const auto rest = static_cast<DWORD>(std::min(length - done, kStep));
      if (!WriteFile(file_.Get(), data + done, rest, &bytes, nullptr) || bytes == 0) break;
      done += static_cast<long>(bytes);
    }
    return done;
  }

  base::Result<void> StayOpen() override { return {}; }

  base::Result<bool> Close() override {
    if (!file_.Close()) return base::Failure(base::SystemErrorText(GetLastError()), path_);
    return true;
  }

 private:
  base::FileHandle file_;
  std::string path_;  // for a person
};

// Whether a folder is there or could be made: what stands there, or the nearest above it that does,
// is a folder.
bool MayBeFolder(const std::string& path) {
  std::string_view folder = path;
  while (true) {
    const DWORD attributes = GetFileAttributesA(std::string(folder).c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES) return Has(attributes, FILE_ATTRIBUTE_DIRECTORY);
    const auto separator = folder.find_last_of("\\/");
    if (separator == std::string_view::npos || separator == 0) return true;
    folder = folder.substr(0, separator);
  }
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

bool IsStandardStream(Name) { return false; }  // they have no paths here

bool Delete(Name name) { return DeleteFileA(name.text) != 0; }

void RemoveLeftover(const std::string& path) {
  SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
  DeleteFileA(path.c_str());
}

bool Copy(Name from, Name to, const CopyOptions& options) {
  const DWORD target = Attributes(to);
  // A target of which nothing can be told would lose its rights.
  if (target == INVALID_FILE_ATTRIBUTES && GetLastError() != ERROR_FILE_NOT_FOUND) return false;
  if (Has(target, FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY) || IsSameFile(from, to)) {
    return false;
  }
  const std::wstring source = WideOf(from.text);
  base::NewFile copy(WideOf(to.text));
  if (!copy.Create() || !copy.Close()) return false;
  const std::wstring& name = copy.TemporaryName();
  base::LongWork work("Copying", from.text);
  const bool isCopied =
      CopyFileExW(source.c_str(), name.c_str(), GoOnUnlessStopped, &work, nullptr, 0) != 0;
  stop::ThrowIfRequested();
  if (!isCopied) return false;
  if (!SetAttributes(name, FILE_ATTRIBUTE_NORMAL)) return false;  // to be opened once more
  if (options.synced && !Sync(name)) return false;
  if (!options.keepAttributes && !SetTimeToNow(name)) return false;
  // A file that is replaced keeps who may do what with it, and its attributes.
  const bool isThere = target != INVALID_FILE_ATTRIBUTES;
  const DWORD attributes = options.keepAttributes ? Attributes(from)
                           : isThere              ? target
                                                  : FILE_ATTRIBUTE_NORMAL;
  const bool isDressed = isThere ? base::TakeRights(name, WideOf(to.text), attributes)
                                 : SetAttributes(name, attributes);
  return isDressed && copy.ReplaceName(options.synced);
}

bool Rename(Name from, Name to) { return MoveFileA(from.text, to.text) != 0; }

bool MayRead(const std::string& path) {
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  return base::FileHandle(CreateFileA(path.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr))
      .IsOpen();
}

ReadCode Read(Name name, SV::String& contents) {
  // A longer text is no path; the system might look at one, cut somewhere.
  constexpr std::size_t kLongestPath = std::size_t{4} << 20;
  if (strnlen(name.text, kLongestPath + 1) > kLongestPath) return kNotFound;
  const base::FileHandle file(
      CreateFileA(name.text, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                  nullptr, OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  if (!file.IsOpen()) {
    return Attributes(name) == INVALID_FILE_ATTRIBUTES ? kNotFound : kUnreadable;
  }
  LARGE_INTEGER size;
  if (!GetFileSizeEx(file.Get(), &size)) return kUnreadable;
  if (size.QuadPart > SV::String::kMaxLength) return kTooLarge;
  const auto length = static_cast<long>(size.QuadPart);
  char* out = contents.AllocBuffer(length);
  long done = 0;
  base::LongWork work("Reading", name.text);
  while (done < length) {
    work.At(static_cast<std::uint64_t>(done), static_cast<std::uint64_t>(length));
    DWORD bytes = 0;
    const auto rest = static_cast<DWORD>(std::min(length - done, kStep));
    if (!ReadFile(file.Get(), out + done, rest, &bytes, nullptr)) {
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
  return std::make_unique<WindowsFile>(file, name.text);
}

std::unique_ptr<OutputFile> OpenForReplacing(Name name) {
  const std::wstring path = WideOf(name.text);
  {
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const base::FileHandle there(
        CreateFileW(path.c_str(), 0, kShareAll, nullptr, OPEN_EXISTING, 0, nullptr));
    if (there.IsOpen() && GetFileType(there.Get()) != FILE_TYPE_DISK) {
      return OpenForWriting(name, false);
    }
  }
  return ReplacingOutputFile::Open(name);
}

base::Result<std::unique_ptr<base::WholeFile>> OpenWhole(Name name,
                                                         const base::WholeFile::Options& options) {
  return base::WholeFile::Open(base::Narrow(WideOf(name.text)), options);
}

std::string TemporaryFolder() {
  char folder[MAX_PATH];
  const DWORD length = GetTempPathA(sizeof folder, folder);
  return length == 0 || length >= sizeof folder ? "" : folder;
}

std::string NewTemporaryFile(const std::string& prefix) {
  const std::string folder = TemporaryFolder();
  char path[MAX_PATH];
  if (folder.empty()) return "";
  return GetTempFileNameA(folder.c_str(), prefix.c_str(), 0, path) != 0 ? path : "";
}

bool IsAbsolute(const std::string& path) {
  const bool hasDrive = path.size() >= 2 && path[1] == ':';
  return !path.empty() && (path[0] == '\\' || path[0] == '/' || hasDrive);
}

bool CanNameFile(const char*) { return true; }

bool CanBeWritten(const std::string&) { return true; }

std::string Join(const std::string& folder, const std::string& name) {
  const bool ends = !folder.empty() && (folder.back() == '\\' || folder.back() == '/');
  return folder.empty() || ends ? folder + name : folder + '\\' + name;
}

// The system takes `..` from the text itself.
std::optional<std::string> WithoutWayUp(const std::string& path) { return path; }

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
  DWORD attributes = GetFileAttributesA(path.c_str());
  std::vector<std::string> missing;  // the innermost first
  std::string folder = path;
  while (attributes == INVALID_FILE_ATTRIBUTES) {
    missing.push_back(folder);
    const auto separator = folder.find_last_of("\\/");
    if (separator == std::string::npos || separator <= 2) break;
    folder.resize(separator);
    attributes = GetFileAttributesA(folder.c_str());
  }
  if (attributes != INVALID_FILE_ATTRIBUTES && !Has(attributes, FILE_ATTRIBUTE_DIRECTORY)) {
    return false;
  }
  return std::all_of(missing.rbegin(), missing.rend(), [](const std::string& name) {
    return CreateDirectoryA(name.c_str(), nullptr) != 0 || GetLastError() == ERROR_ALREADY_EXISTS;
  });
}

std::string ShortPath(const std::string& path) { return path; }

bool IsOneFileSystem(const std::string& path, const std::string& folder) {
  const auto volumeOf = [](const std::string& name) {
    char volume[MAX_PATH] = "";
    return std::string(GetVolumePathNameA(name.c_str(), volume, sizeof volume) ? volume : "");
  };
  const std::string volume = volumeOf(path);
  return !volume.empty() && ascii::EqualIgnoringCase(volume, volumeOf(folder));
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
