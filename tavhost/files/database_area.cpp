#include "tavhost/files/database_area.h"

#include <algorithm>
#include <string>
#include <utility>

#include "host/files/core_variables.h"
#include "host/files/database_names.h"
#include "tavhost/base/ascii.h"
#include "tavhost/base/report.h"
#include "tavhost/base/trace.h"

namespace database_area {

namespace {

constexpr std::string_view kPrefix = "db:\\";
// Files under way begin with this; no name of the area does.
constexpr std::string_view kUnderWay = ".tavhost-";
// Bytes; what all file systems take, with room for an ending that another program adds.
constexpr std::size_t kLongestName = 200;

std::string chosenFolder;
std::vector<std::string> beingWritten;  // stored files

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

std::string LibraryFolder(long libraryId) {
  const std::string area = chosenFolder.empty()
                               ? disk::Join(disk::Join(disk::UserDataFolder(), "tavhost"), "db")
                               : chosenFolder;
  return disk::Join(area, std::to_string(libraryId));
}

long LibraryOf(long libraryId) { return libraryId == kFileSystem ? kDefaultLibrary : libraryId; }

std::string_view WithoutPrefix(std::string_view path) {
  if (IsAreaName(path)) path.remove_prefix(kPrefix.size());
  return path;
}

// Writes beside the stored file and takes its place at the end.
class AreaFile : public disk::OutputFile {
 public:
  AreaFile(std::string storedFile, std::string newFile, std::unique_ptr<OutputFile> file)
      : storedFile_(std::move(storedFile)), newFile_(std::move(newFile)), file_(std::move(file)) {
    beingWritten.push_back(storedFile_);
  }
  ~AreaFile() override { Close(); }

  long Write(const char* data, long length) override {
    const long written = file_->Write(data, length);
    complete_ &= written == length;
    return written;
  }

  bool Close() override {
    if (!file_) return false;
    const bool stored = file_->Close() && complete_ &&
                        disk::Replace({newFile_.c_str(), false}, {storedFile_.c_str(), false});
    if (!stored) {
      disk::Delete({newFile_.c_str(), false});
      // Told to a person here: when the destructor closes the file, no script gets the result.
      report::Line("tavhost: " + storedFile_ + " could not be stored; it stays as it was");
    }
    file_.reset();
    beingWritten.erase(std::find(beingWritten.begin(), beingWritten.end(), storedFile_));
    return stored;
  }

 private:
  std::string storedFile_;
  std::string newFile_;
  std::unique_ptr<OutputFile> file_;
  bool complete_ = true;
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
  const disk::FolderContents contents = disk::FilesOf(folder);
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
  chosenFolder = folder.empty() || disk::IsAbsolute(folder)
                     ? folder
                     : disk::Join(disk::CurrentFolder(), folder);
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
  disk::FolderContents contents = disk::FilesOf(LibraryFolder(libraryId));
  if (!contents.readable) return std::nullopt;
  std::erase_if(contents.files, [](const std::string& name) { return !IsValidName(name); });
  return std::move(contents.files);
}

std::unique_ptr<disk::OutputFile> OpenForWriting(std::string_view path, long libraryId,
                                                 bool append) {
  const auto stored = Find(path, libraryId);
  if (!stored || !MakeLibrary(libraryId)) return nullptr;
  const disk::Name storedName{stored->file.c_str(), false};
  if (stored->exists && disk::IsReadOnly(storedName)) return nullptr;
  const std::string newFile = disk::NewFileBeside(stored->file);
  if (newFile.empty()) return nullptr;
  const disk::Name newName{newFile.c_str(), false};
  std::unique_ptr<disk::OutputFile> file;
  if (!append || !stored->exists || disk::Copy(storedName, newName, false)) {
    file = disk::OpenForWriting(newName, append);
  }
  if (file) return std::make_unique<AreaFile>(stored->file, newFile, std::move(file));
  disk::Delete(newName);
  return nullptr;
}

bool IsBeingWritten(const std::string& storedFile) {
  return std::find(beingWritten.begin(), beingWritten.end(), storedFile) != beingWritten.end();
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
