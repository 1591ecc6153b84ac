#include "tavhost/files/database_area.h"

#include <algorithm>
#include <string>
#include <tl/expected.hpp>
#include <utility>

#include "host/files/core_variables.h"
#include "host/files/database_names.h"
#include "tavhost/base/ascii.h"
#include "tavhost/base/dry_run.h"
#include "tavhost/base/trace.h"
#include "tavhost/base/whole_file.h"
#include "tavhost/files/area_leftovers.h"

namespace database_area {

namespace {

constexpr std::string_view kPrefix = "db:\\";
// Files under way begin with this; no name of the area does.
constexpr std::string_view kUnderWay = ".tavhost-";
// Bytes; what all file systems take, with room for an ending that another program adds.
constexpr std::size_t kLongestName = 200;

std::string chosenFolder;

// "con", "com1" and their like, with any extension: Windows opens a device by them. Refused on
// every system, so that an area can be moved from one to another.
bool IsDeviceName(std::string_view name) {
  std::string_view stem = name.substr(0, name.find('.'));
  while (stem.ends_with(' ')) stem.remove_suffix(1);
  for (const std::string_view device : {"con", "prn", "aux", "nul"}) {
    if (ascii::EqualIgnoringCase(stem, device)) return true;
  }
  return stem.size() == 4 && ascii::IsDigit(stem[3]) &&
         (ascii::EqualIgnoringCase(stem.substr(0, 3), "com") ||
          ascii::EqualIgnoringCase(stem.substr(0, 3), "lpt"));
}

std::string AreaFolder() {
  return chosenFolder.empty() ? disk::Join(disk::Join(disk::UserDataFolder(), "tavhost"), "db")
                              : chosenFolder;
}

std::string LibraryFolder(long libraryId) {
  return disk::Join(AreaFolder(), std::to_string(libraryId));
}

std::string LockFile() { return disk::Join(AreaFolder(), std::string(kUnderWay) + "lock"); }

// What a library's folder holds, files under way included.
disk::FolderContents ContentsOf(const std::string& folder) {
  disk::FolderContents contents = disk::FilesOf(folder);
  if (!dry_run::IsOn()) area_leftovers::Remove(LockFile(), folder, contents.files);
  return contents;
}

long LibraryOf(long libraryId) { return libraryId == kFileSystem ? kDefaultLibrary : libraryId; }

std::string_view WithoutPrefix(std::string_view path) {
  if (IsAreaName(path)) path.remove_prefix(kPrefix.size());
  return path;
}

const char* TextOf(base::WholeFile::Left left) {
  switch (left) {
    case base::WholeFile::Left::kNew:
      return "; the new text is there, but may not survive a power cut";
    case base::WholeFile::Left::kAny:
      return "; it may hold the old text, the new one, or parts of both";
    default:
      return "; it stays as it was";
  }
}

// Takes the place of the stored file when it is closed. Keeps every other writer away until then.
class AreaFile : public disk::OutputFile {
 public:
  AreaFile(std::unique_ptr<name_lock::Lock> lock, std::unique_ptr<base::WholeFile> file)
      : lock_(std::move(lock)), file_(std::move(file)) {}

  long Write(const char* data, long length) override {
    const base::Result<void> written = file_->Write({data, static_cast<std::size_t>(length)});
    if (!written && !refusal_) refusal_ = written.error();
    return written ? length : 0;
  }

  base::Result<void> StayOpen() override {
    staysOpen_ = true;
    lock_->KeepOpen();
    return {};
  }

  base::Result<bool> Close() override {
    // The command that wrote has told it. The one that closes has another outcome to tell.
    if (refusal_ && !staysOpen_) return false;
    const base::Result<void> stored =
        refusal_ ? tl::unexpected<base::Error>(*refusal_) : file_->Store();
    if (stored) return true;
    base::Error error = stored.error();
    error.message += TextOf(file_->WhatIsLeft());
    return tl::unexpected<base::Error>(std::move(error));
  }

 private:
  std::unique_ptr<name_lock::Lock> lock_;
  std::unique_ptr<base::WholeFile> file_;  // goes before the lock
  std::optional<base::Error> refusal_;     // why not all that was written could be taken
  bool staysOpen_ = false;
};

struct Stored {
  std::string file;
  bool exists;
};

// Nothing when the area cannot hold such a name, or its folder cannot be read: then nobody knows
// whether the file is there. Of stored names that differ in case only, which other programs can
// leave, the one that is spelt alike counts, else the first.
std::optional<Stored> Find(std::string_view path, long libraryId) {
  const std::string_view name = WithoutPrefix(path);
  const long library = LibraryOf(libraryId);
  if (library < 0 || !IsValidName(name)) return std::nullopt;
  const std::string folder = LibraryFolder(library);
  const disk::FolderContents contents = ContentsOf(folder);
  if (!contents.readable) return std::nullopt;
  std::string best;
  for (const std::string& file : contents.files) {
    if (file == name) return Stored{disk::Join(folder, file), true};
    if (ascii::EqualIgnoringCase(file, name) && (best.empty() || file < best)) best = file;
  }
  if (!best.empty()) return Stored{disk::Join(folder, best), true};
  std::string file = disk::Join(folder, std::string(name));
  // A link could lead out of the area.
  if (disk::IsTakenByOther({file.c_str(), false})) return std::nullopt;
  return Stored{std::move(file), false};
}

}  // namespace

void SetFolder(const std::string& folder) {
  // Where that cannot be told there is no such folder, as its first use finds out.
  const std::string reached = disk::WithoutWayUp(folder).value_or(folder);
  chosenFolder = reached.empty() || disk::IsAbsolute(reached)
                     ? reached
                     : disk::Join(disk::CurrentFolder(), reached);
}

bool IsAreaName(std::string_view path) {
  return path.size() >= kPrefix.size() && (path[3] == '\\' || path[3] == '/') &&
         ascii::EqualIgnoringCase(path.substr(0, 3), kPrefix.substr(0, 3));
}

bool IsInArea(std::string_view path, long libraryId) {
  return libraryId != kFileSystem || IsAreaName(path);
}

bool IsValidName(std::string_view name) {
  if (name.empty() || name.size() > kLongestName || name.starts_with(kUnderWay)) return false;
  if (name.ends_with(' ') || name.ends_with('.') || IsDeviceName(name)) return false;
  return std::none_of(name.begin(), name.end(), [](char byte) {
    return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F ||
           std::string_view("\\/<>:\"|?*").find(byte) != std::string_view::npos;
  });
}

std::optional<std::string> FindFile(std::string_view path, long libraryId) {
  auto stored = Find(path, libraryId);
  return stored ? std::optional(std::move(stored->file)) : std::nullopt;
}

bool MakeLibrary(long libraryId) { return disk::MakeFolders(LibraryFolder(LibraryOf(libraryId))); }

std::optional<std::vector<std::string>> FilesOfLibrary(long libraryId) {
  if (libraryId < 0) return std::nullopt;
  disk::FolderContents contents = ContentsOf(LibraryFolder(libraryId));
  if (!contents.readable) return std::nullopt;
  std::erase_if(contents.files, [](const std::string& name) { return !IsValidName(name); });
  return std::move(contents.files);
}

std::unique_ptr<name_lock::Lock> LockName(std::string_view path, long libraryId) {
  const std::string library = std::to_string(LibraryOf(libraryId));
  return name_lock::Take(LockFile(), library + '/' + std::string(WithoutPrefix(path)));
}

std::unique_ptr<disk::OutputFile> OpenForWriting(std::string_view path, long libraryId,
                                                 bool append) {
  if (!Find(path, libraryId) || !MakeLibrary(libraryId)) return nullptr;
  auto lock = LockName(path, libraryId);
  // Whoever had the name until now may have stored the file.
  const auto stored = lock ? Find(path, libraryId) : std::nullopt;
  if (!stored) return nullptr;
  base::WholeFile::Options options;
  options.keepsContents = append;
  options.synced = true;
  options.followsLink = false;
  options.stoppable = true;
  auto file = disk::OpenWhole({stored->file.c_str(), false}, options);
  if (!file) return nullptr;
  return std::make_unique<AreaFile>(std::move(lock), std::move(*file));
}

}  // namespace database_area

bool Tav_Valid_DBFilename(const char* name) {
  trace::Call call("Tav_Valid_DBFilename", name);
  return call.Result(database_area::IsAreaName(name) &&
                     database_area::IsValidName(name + database_area::kPrefix.size()));
}

long Tav_GetCoreVarConst(TavCoreVarType variable) {
  trace::Call call("Tav_GetCoreVarConst", variable);
  return call.Result(variable == TavCoreVarDatabaseDirectory ? database_area::kDefaultLibrary
                                                             : -1L);
}
