#include "host/files/file_manager.h"

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "tavhost/base/string_of.h"
#include "tavhost/base/trace.h"
#include "tavhost/files/database_area.h"
#include "tavhost/files/disk.h"

namespace {

// Files open for writing, by handle. Handles are never given out twice; what a plug-in forgets to
// close is closed when the program ends.
std::map<TavFileHandle, std::unique_ptr<disk::OutputFile>> openFiles;

// What a path and a library mean: a name of the disk, or nothing when the area cannot hold it.
class Target {
 public:
  Target(std::string_view path, long libraryId)
      : inArea_(database_area::IsInArea(path, libraryId)) {
    if (std::find(path.begin(), path.end(), '\0') != path.end()) return;
    if (inArea_) {
      stored_ = database_area::FindFile(path, libraryId);
      if (stored_) name_ = disk::Name{stored_->c_str(), false};
    } else {
      name_ = disk::Name{path.data(), true};
    }
  }
  Target(const Target&) = delete;
  Target& operator=(const Target&) = delete;

  bool IsValid() const { return name_.has_value(); }
  bool IsInArea() const { return inArea_; }
  disk::Name Name() const { return *name_; }
  // It may be removed, moved or replaced.
  bool IsFree() const { return !inArea_ || !database_area::IsBeingWritten(*stored_); }

 private:
  bool inArea_;
  std::optional<std::string> stored_;
  std::optional<disk::Name> name_;
};

TavFileHandle OpenWrite(const char* path, int mode, long libraryId) {
  static TavFileHandle last = 0;
  const bool append = (mode & TavFileManager::kAppend) != 0;
  auto file = database_area::IsInArea(path, libraryId)
                  ? database_area::OpenForWriting(path, libraryId, append)
                  : disk::OpenForWriting({path}, append);
  if (!file) return 0;
  openFiles[++last] = std::move(file);
  return last;
}

bool Copy(const char* from, const char* to, long fromLibraryId, long toLibraryId,
          bool copyAttributes) {
  const Target source(from, fromLibraryId);
  const Target target(to, toLibraryId);
  if (!source.IsValid() || !target.IsValid() || !target.IsFree()) return false;
  if (target.IsInArea() &&
      (!disk::IsFile(source.Name()) || !database_area::MakeLibrary(toLibraryId))) {
    return false;
  }
  return disk::Copy(source.Name(), target.Name(), copyAttributes);
}

std::string_view LastName(std::string_view path) {
  return path.substr(path.find_last_of("\\/") + 1);
}

bool RenameInArea(const Target& source, const Target& target, std::string_view wanted) {
  const std::string stored = source.Name().text;
  if (stored != target.Name().text) return disk::Rename(source.Name(), target.Name());
  // The new name finds the old file: only its case is to change.
  const std::string folder = stored.substr(0, stored.size() - LastName(stored).size());
  const std::string renamed = folder + std::string(LastName(wanted));
  return disk::Rename(source.Name(), {renamed.c_str(), false});
}

bool Rename(const char* from, const char* to, long libraryId) {
  const Target source(from, libraryId);
  const Target target(to, libraryId);
  if (!source.IsValid() || !target.IsValid() || !source.IsFree() || !target.IsFree()) return false;
  // Nothing is renamed into the area or out of it; that takes a copy.
  if (source.IsInArea() != target.IsInArea()) return false;
  return source.IsInArea() ? RenameInArea(source, target, to)
                           : disk::Rename(source.Name(), target.Name());
}

}  // namespace

TavFileHandle TavFileManager::fileOpenWrite(const char* path, int mode, long libraryId) {
  trace::Call call("TavFileManager::fileOpenWrite", path, mode, libraryId);
  return call.Result(OpenWrite(path, mode, libraryId));
}

long TavFileManager::fileWrite(TavFileHandle handle, const char* data, long length) {
  trace::Call call("TavFileManager::fileWrite", handle,
                   std::string_view(data, static_cast<std::size_t>(length)), length);
  const auto file = openFiles.find(handle);
  return call.Result(file == openFiles.end() ? 0L : file->second->Write(data, length));
}

bool TavFileManager::fileClose(TavFileHandle& handle) {
  trace::Call call("TavFileManager::fileClose", handle);
  const auto file = openFiles.find(handle);
  handle = 0;
  if (file == openFiles.end()) return call.Result(false);
  const bool closed = file->second->Close();
  openFiles.erase(file);
  return call.Result(closed);
}

bool TavFileManager::fileExists(const SV::String& path, long libraryId, bool unused) {
  trace::Call call("TavFileManager::fileExists", path, libraryId, unused);
  const Target target(path.View(), libraryId);
  return call.Result(target.IsValid() && disk::IsFile(target.Name()));
}

bool TavFileManager::fileDelete(const SV::String& path, long libraryId) {
  trace::Call call("TavFileManager::fileDelete", path, libraryId);
  const Target target(path.View(), libraryId);
  return call.Result(target.IsValid() && target.IsFree() && disk::Delete(target.Name()));
}

bool TavFileManager::fileCopy(const char* from, const char* to, long fromLibraryId,
                              long toLibraryId, bool copyAttributes) {
  trace::Call call("TavFileManager::fileCopy", from, to, fromLibraryId, toLibraryId,
                   copyAttributes);
  return call.Result(Copy(from, to, fromLibraryId, toLibraryId, copyAttributes));
}

bool TavFileManager::fileRename(const char* from, const char* to, long libraryId) {
  trace::Call call("TavFileManager::fileRename", from, to, libraryId);
  return call.Result(Rename(from, to, libraryId));
}

bool TavFileManager::getAllDBFilesOfDir(long directoryId,
                                        std::set<SV::String, std::less<SV::String>>& names) {
  trace::Call call("TavFileManager::getAllDBFilesOfDir", directoryId);
  const auto files = database_area::FilesOfLibrary(directoryId);
  if (!files) return call.Result(false);
  for (const std::string& file : *files) {
    names.insert(base::StringOf(file));
  }
  return call.Result(true);
}
