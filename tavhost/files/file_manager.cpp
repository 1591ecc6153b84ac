#include "host/files/file_manager.h"

#include <map>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <tl/expected.hpp>
#include <vector>

#include "tavhost/base/ascii.h"
#include "tavhost/base/command_end.h"
#include "tavhost/base/report.h"
#include "tavhost/base/string_of.h"
#include "tavhost/base/trace.h"
#include "tavhost/files/database_area.h"
#include "tavhost/files/disk.h"
#include "tavhost/files/open_output_files.h"
#include "tavhost/files/planned_file_manager.h"
#include "tavhost/files/planned_functions.h"

namespace {

std::string NotStoredText(const base::Error& error) {
  return error.file.value_or("the file") + " could not be stored: " + error.message;
}

// Files open for writing, by handle. Handles are never given out twice; what a plug-in forgets to
// close is closed when the host ends (open_output_files.h). Never destroyed: no static object may
// be needed then that is gone already.
auto& openFiles = *new std::map<TavFileHandle, std::unique_ptr<disk::OutputFile>>;
// Those that the running command has opened and not closed.
TavFileHandle newestFile = 0;
auto& openedNow = *new std::vector<TavFileHandle>;

// Ends the command: a file could not be stored although every write has been taken.
[[noreturn]] void Fail(const base::Error& error) {
  throw command_end::Failure(NotStoredText(error));
}

// A command that comes to its end has kept the files open for others to come. One that was left by
// a stop or an error has forgotten them: what was not whole is not stored.
void SettleOpenedFiles(bool returned) {
  std::vector<TavFileHandle> handles;
  handles.swap(openedNow);
  std::optional<base::Error> failed;
  bool hasMemory = true;
  for (const TavFileHandle handle : handles) {
    const auto file = openFiles.find(handle);
    if (file == openFiles.end()) continue;
    try {
      const base::Result<void> stays = returned ? file->second->StayOpen() : base::Result<void>();
      if (returned && stays) continue;
      if (!stays) failed = stays.error();
    } catch (const std::bad_alloc&) {
      hasMemory = false;
    }
    openFiles.erase(file);
  }
  if (!hasMemory) throw std::bad_alloc();
  if (failed) Fail(*failed);
}

// What a path and a library mean: a name of the disk, or nothing when the area cannot hold it.
class Target {
 public:
  Target(std::string_view path, long libraryId)
      : inArea_(database_area::IsInArea(path, libraryId)) {
    if (path.find('\0') != std::string_view::npos) return;
    if (inArea_) {
      path_ = path;
      libraryId_ = libraryId;
      Find();
    } else {
      name_ = disk::Name{path.data(), true};
    }
  }
  Target(const Target&) = delete;
  Target& operator=(const Target&) = delete;

  bool IsValid() const { return name_.has_value(); }
  bool IsInArea() const { return inArea_; }
  disk::Name Name() const { return *name_; }
  // Keeps writers of the area away as long as this object lives. False when one has the name: the
  // file may be neither removed, nor moved, nor replaced then.
  bool Lock() {
    if (!inArea_) return true;
    lock_ = database_area::LockName(path_, libraryId_);
    if (lock_) Find();  // whoever had the name until now may have changed what it means
    return lock_ && IsValid();
  }

 private:
  void Find() {
    name_.reset();
    stored_ = database_area::FindFile(path_, libraryId_);
    if (stored_) name_ = disk::Name{stored_->c_str(), false};
  }

  bool inArea_;
  std::string path_;
  long libraryId_ = database_area::kFileSystem;
  std::optional<std::string> stored_;
  std::unique_ptr<name_lock::Lock> lock_;
  std::optional<disk::Name> name_;
};

TavFileHandle OpenWrite(const char* path, int mode, long libraryId) {
  if (*path == '\0') return 0;  // no file has an empty name
  const bool append = (mode & TavFileManager::kAppend) != 0;
  PlannedFiles* const planned = planned_functions::Files();
  auto file = planned ? planned_file_manager::OpenForWriting(*planned, path, append, libraryId)
              : database_area::IsInArea(path, libraryId)
                  ? database_area::OpenForWriting(path, libraryId, append)
              : append ? disk::OpenForWriting({path}, true)
                       : disk::OpenForReplacing({path});
  if (!file) return 0;
  if (command_end::IsInCommand()) {
    openedNow.push_back(newestFile + 1);
    command_end::Do(SettleOpenedFiles);
  } else if (!file->StayOpen()) {
    return 0;
  }
  openFiles[++newestFile] = std::move(file);
  return newestFile;
}

bool Copy(const char* from, const char* to, long fromLibraryId, long toLibraryId,
          bool copyAttributes) {
  const Target source(from, fromLibraryId);
  Target target(to, toLibraryId);
  if (!source.IsValid() || !target.IsValid()) return false;
  if (target.IsInArea() &&
      (!disk::IsFile(source.Name()) || !database_area::MakeLibrary(toLibraryId))) {
    return false;
  }
  disk::CopyOptions options;
  options.keepAttributes = copyAttributes;
  options.synced = target.IsInArea();
  return target.Lock() && disk::Copy(source.Name(), target.Name(), options);
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
  Target source(from, libraryId);
  Target target(to, libraryId);
  if (!source.IsValid() || !target.IsValid()) return false;
  // Nothing is renamed into the area or out of it; that takes a copy.
  if (source.IsInArea() != target.IsInArea()) return false;
  // Always in the same order, so that two programs never wait for each other.
  const int order = source.IsInArea() ? ascii::CompareInUpperCase(LastName(from), LastName(to)) : 0;
  Target& first = order <= 0 ? source : target;
  Target& second = order <= 0 ? target : source;
  const bool isOneName = source.IsInArea() && order == 0;
  if (!first.Lock() || (!isOneName && !second.Lock())) return false;
  return source.IsInArea() ? RenameInArea(source, target, to)
                           : disk::Rename(source.Name(), target.Name());
}

}  // namespace

TavFileHandle open_output_files::Newest() { return newestFile; }

bool open_output_files::HasSince(TavFileHandle mark) {
  return openFiles.upper_bound(mark) != openFiles.end();
}

base::Result<void> open_output_files::CloseSince(TavFileHandle mark) {
  base::Result<void> areStored;
  for (auto file = openFiles.upper_bound(mark); file != openFiles.end();
       file = openFiles.upper_bound(mark)) {
    const std::unique_ptr<disk::OutputFile> closing = std::move(file->second);
    openFiles.erase(file);
    const base::Result<bool> stored = closing->Close();
    if (stored) continue;
    const std::string text = NotStoredText(stored.error());
    report::Line("tavhost: " + text);
    if (areStored) areStored = base::Failure(text);
  }
  return areStored;
}

void open_output_files::DropSince(TavFileHandle mark) {
  openFiles.erase(openFiles.upper_bound(mark), openFiles.end());
}

bool open_output_files::CloseAll() { return CloseSince(0).has_value(); }
void open_output_files::DropAll() { DropSince(0); }

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
  const std::unique_ptr<disk::OutputFile> closing = std::move(file->second);
  openFiles.erase(file);
  const base::Result<bool> stored = closing->Close();
  if (!stored) Fail(stored.error());
  return call.Result(*stored);
}

bool TavFileManager::fileExists(const SV::String& path, long libraryId, bool unused) {
  trace::Call call("TavFileManager::fileExists", path, libraryId, unused);
  if (PlannedFiles* planned = planned_functions::Files()) {
    return call.Result(planned_file_manager::Exists(*planned, path.View(), libraryId));
  }
  const Target target(path.View(), libraryId);
  return call.Result(target.IsValid() && disk::IsFile(target.Name()));
}

bool TavFileManager::fileDelete(const SV::String& path, long libraryId) {
  trace::Call call("TavFileManager::fileDelete", path, libraryId);
  if (PlannedFiles* planned = planned_functions::Files()) {
    return call.Result(planned_file_manager::Delete(*planned, path.View(), libraryId));
  }
  Target target(path.View(), libraryId);
  return call.Result(target.IsValid() && target.Lock() && disk::Delete(target.Name()));
}

bool TavFileManager::fileCopy(const char* from, const char* to, long fromLibraryId,
                              long toLibraryId, bool copyAttributes) {
  trace::Call call("TavFileManager::fileCopy", from, to, fromLibraryId, toLibraryId,
                   copyAttributes);
  if (PlannedFiles* planned = planned_functions::Files()) {
    return call.Result(
        planned_file_manager::Copy(*planned, from, to, fromLibraryId, toLibraryId, copyAttributes));
  }
  return call.Result(Copy(from, to, fromLibraryId, toLibraryId, copyAttributes));
}

bool TavFileManager::fileRename(const char* from, const char* to, long libraryId) {
  trace::Call call("TavFileManager::fileRename", from, to, libraryId);
  if (PlannedFiles* planned = planned_functions::Files()) {
    return call.Result(planned_file_manager::Rename(*planned, from, to, libraryId));
  }
  return call.Result(Rename(from, to, libraryId));
}

bool TavFileManager::getAllDBFilesOfDir(long directoryId,
                                        std::set<SV::String, std::less<SV::String>>& names) {
  trace::Call call("TavFileManager::getAllDBFilesOfDir", directoryId);
  if (PlannedFiles* planned = planned_functions::Files()) {
    return call.Result(planned_file_manager::NamesOf(*planned, directoryId, names));
  }
  const auto files = database_area::FilesOfLibrary(directoryId);
  if (!files) return call.Result(false);
  for (const std::string& file : *files) {
    names.insert(base::StringOf(file));
  }
  return call.Result(true);
}
