#include <algorithm>
#include <tl/expected.hpp>
#include <utility>
#include <vector>

#include "host/windows/windows.h"
#include "tavhost/base/file_handle_windows.h"
#include "tavhost/base/file_rights_windows.h"
#include "tavhost/base/long_work.h"
#include "tavhost/base/new_file_windows.h"
#include "tavhost/base/system_error_windows.h"
#include "tavhost/base/uncut_work.h"
#include "tavhost/base/whole_file.h"
#include "tavhost/base/wide_text_windows.h"

namespace base {

namespace {

// What is written between two looks at the stop request: some milliseconds of work.
constexpr std::size_t kStep = std::size_t{8} << 20;

constexpr std::size_t kLongestName = 255;  // of a file in its folder, in UTF-16 units

tl::unexpected<Error> Failed(const std::string& path, DWORD error = GetLastError()) {
  return Failure(SystemErrorText(error), path);
}

bool WriteBytes(HANDLE file, std::string_view bytes, LongWork* work) {
  const std::size_t length = bytes.size();
  while (!bytes.empty()) {
    if (work) work->At(length - bytes.size(), length);
    DWORD written = 0;
    const auto step = static_cast<DWORD>(std::min(bytes.size(), kStep));
    if (!WriteFile(file, bytes.data(), step, &written, nullptr)) return false;
    if (written == 0) {
      SetLastError(ERROR_DISK_FULL);
      return false;
    }
    bytes.remove_prefix(written);
  }
  return true;
}

// From the present positions to the end of `from`.
bool CopyContents(HANDLE from, HANDLE to, LongWork* work) {
  std::vector<char> part(std::size_t{256} << 10);
  for (std::uint64_t done = 0;; done += part.size()) {
    if (work) work->At(done);
    DWORD bytes = 0;
    if (!ReadFile(from, part.data(), static_cast<DWORD>(part.size()), &bytes, nullptr)) {
      return false;
    }
    if (bytes == 0) return true;
    if (!WriteBytes(to, {part.data(), bytes}, nullptr)) return false;
  }
}

// Written in place; a stop is not looked at in between.
class InPlaceFile final : public WholeFile {
 public:
  InPlaceFile(std::string path, HANDLE file, const Options& options)
      : path_(std::move(path)), file_(file), options_(options) {}

  bool IsOpen() const { return file_.IsOpen(); }

  Result<void> Write(std::string_view bytes) override {
    const UncutWork uncut(path_.c_str());
    if (!isBegun_ && !Begin(bytes.size())) return Failed(path_);
    isBegun_ = isTouched_ = true;
    if (!WriteBytes(file_.Get(), bytes, nullptr)) return Failed(path_);
    return {};
  }

  Result<void> Store() override {
    const UncutWork uncut(path_.c_str());
    if (!isBegun_ && !Begin(0)) return Failed(path_);
    isTouched_ |= !options_.keepsContents;
    const bool stored = (options_.keepsContents || SetEndOfFile(file_.Get())) &&
                        (!options_.synced || FlushFileBuffers(file_.Get()));
    const DWORD error = GetLastError();
    if (!file_.Close()) return Failed(path_);
    if (!stored) return Failed(path_, error);
    return {};
  }

  Left WhatIsLeft() const override { return isTouched_ ? Left::kAny : Left::kOld; }

 private:
  // To where the text goes. A file that becomes longer does so before its first byte changes, so
  // that a full disk leaves it as it was.
  bool Begin(std::size_t length) {
    LARGE_INTEGER size;
    if (!GetFileSizeEx(file_.Get(), &size)) return false;
    const LARGE_INTEGER begin = options_.keepsContents ? size : LARGE_INTEGER{};
    LARGE_INTEGER end;
    end.QuadPart = begin.QuadPart + static_cast<LONGLONG>(length);
    const bool fits =
        end.QuadPart <= size.QuadPart ||
        (SetFilePointerEx(file_.Get(), end, nullptr, FILE_BEGIN) && SetEndOfFile(file_.Get()));
    return fits && SetFilePointerEx(file_.Get(), begin, nullptr, FILE_BEGIN);
  }

  std::string path_;
  FileHandle file_;
  Options options_;
  bool isBegun_ = false;
  bool isTouched_ = false;
};

HANDLE OpenOld(const std::wstring& target, DWORD access) {
  return CreateFileW(target.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                     nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// Written beside the target, whose name it takes when it is stored.
class ReplacingFile final : public WholeFile {
 public:
  ReplacingFile(std::string path, std::wstring target, const Options& options)
      : path_(std::move(path)), target_(std::move(target)), options_(options), file_(target_) {}

  bool Create(const FileHandle& old) {
    if (!file_.Create()) return false;
    if (!old.IsOpen()) return true;
    isReplacing_ = true;
    const DWORD attributes = GetFileAttributesW(target_.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) return false;
    if (!TakeRights(file_.TemporaryName(), target_, attributes)) return false;
    LongWork work("Copying", path_);
    return !options_.keepsContents ||
           CopyContents(old.Get(), file_.Handle(), options_.stoppable ? &work : nullptr);
  }

  Result<void> Write(std::string_view bytes) override {
    if (error_ != 0) return Failed(path_, error_);
    error_ = ERROR_CANCELLED;  // what is left of a write that a stop ends
    LongWork work("Writing", path_);
    const bool written = WriteBytes(file_.Handle(), bytes, options_.stoppable ? &work : nullptr);
    error_ = written ? 0 : GetLastError();
    if (error_ != 0) return Failed(path_, error_);
    return {};
  }

  Result<void> Store() override {
    if (error_ != 0) return Failed(path_, error_);
    const UncutWork uncut(path_.c_str());
    if (options_.synced && !FlushFileBuffers(file_.Handle())) return Failed(path_);
    if (!file_.Close()) return Failed(path_);
    if (file_.ReplaceName(options_.synced)) return {};
    // Somebody has the old file open and lets nobody take its name, only write to it.
    const DWORD error = GetLastError();
    const bool isHeld = error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED;
    if (!isReplacing_ || !isHeld) return Failed(path_, error);
    return WriteOver(error);
  }

  Left WhatIsLeft() const override { return left_; }

 private:
  Result<void> WriteOver(DWORD error) {
    const FileHandle from(OpenOld(file_.TemporaryName(), GENERIC_READ));
    FileHandle to(OpenOld(target_, GENERIC_WRITE));
    LARGE_INTEGER size;
    if (!from.IsOpen() || !to.IsOpen() || !GetFileSizeEx(from.Get(), &size)) {
      return Failed(path_, error);
    }
    // As long as the new text before the first byte changes: a full disk leaves it as it was.
    LARGE_INTEGER old;
    const bool fits =
        GetFileSizeEx(to.Get(), &old) &&
        (size.QuadPart <= old.QuadPart ||
         (SetFilePointerEx(to.Get(), size, nullptr, FILE_BEGIN) && SetEndOfFile(to.Get())));
    if (!fits) return Failed(path_);
    left_ = Left::kAny;
    const bool written = SetFilePointerEx(to.Get(), {}, nullptr, FILE_BEGIN) &&
                         CopyContents(from.Get(), to.Get(), nullptr) && SetEndOfFile(to.Get()) &&
                         (!options_.synced || FlushFileBuffers(to.Get())) && to.Close();
    if (!written) return Failed(path_);
    return {};
  }

  std::string path_;
  std::wstring target_;
  Options options_;
  NewFile file_;
  bool isReplacing_ = false;
  Left left_ = Left::kOld;
  DWORD error_ = 0;  // why not all is there; it cannot be stored then
};

// A rename would take the file away from its other names, or a link would become a file.
bool MustKeepItsPlace(const FileHandle& old, DWORD attributes) {
  BY_HANDLE_FILE_INFORMATION about;
  return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 ||
         (GetFileInformationByHandle(old.Get(), &about) && about.nNumberOfLinks > 1);
}

// From the root: the process may be in another folder when the file is stored. As it is when the
// system cannot tell.
std::wstring FullPath(std::wstring path) {
  std::wstring full(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
  if (full.empty()) return path;
  full.resize(
      GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
  return full.empty() ? path : full;
}

}  // namespace

Result<std::unique_ptr<WholeFile>> WholeFile::Open(const std::string& path,
                                                   const Options& options) {
  const std::wstring target = FullPath(Wide(path));
  const DWORD attributes = GetFileAttributesW(target.c_str());
  const bool exists = attributes != INVALID_FILE_ATTRIBUTES;
  // No such file, but for another reason than that it is not there yet: a name that none can have.
  if (!exists && GetLastError() != ERROR_FILE_NOT_FOUND) return Failed(path);
  if (target.size() - (target.find_last_of(L'\\') + 1) > kLongestName) {
    return Failed(path, ERROR_FILENAME_EXCED_RANGE);
  }
  constexpr DWORD kRefused = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_READONLY;
  if (exists && (attributes & kRefused) != 0) return Failed(path, ERROR_ACCESS_DENIED);
  if (exists && !options.followsLink && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
    return Failed(path, ERROR_ACCESS_DENIED);
  }
  FileHandle old(exists ? OpenOld(target, GENERIC_READ | GENERIC_WRITE) : INVALID_HANDLE_VALUE);
  if (exists && !old.IsOpen()) return Failed(path);
  if (exists && GetFileType(old.Get()) != FILE_TYPE_DISK) {
    return Failed(path, ERROR_INVALID_NAME);
  }
  if (!exists || !MustKeepItsPlace(old, attributes)) {
    auto file = std::make_unique<ReplacingFile>(path, target, options);
    if (file->Create(old)) return file;
    if (!exists || GetLastError() != ERROR_ACCESS_DENIED) return Failed(path);
  }
  old.Close();
  auto file =
      std::make_unique<InPlaceFile>(path, OpenOld(target, GENERIC_READ | GENERIC_WRITE), options);
  if (!file->IsOpen()) return Failed(path);
  return file;
}

}  // namespace base
