#include "tavhost/files/planned_file_manager.h"

#include "tavhost/base/ascii.h"
#include "tavhost/base/string_of.h"
#include "tavhost/files/database_area.h"

namespace planned_file_manager {

namespace {

// What a path and a library mean; without a text nothing.
struct Target {
  std::string text;
  bool isInArea;
  bool isValid;

  disk::Name Name() const { return {text.c_str(), !isInArea}; }
};

// A file of the area under the name by which it is known by now, whatever its case; the one to be
// made under that which the script gives it.
std::string PathInArea(PlannedFiles& files, const std::string& stored, std::string_view path) {
  const std::string wanted(path.substr(path.find_last_of("\\/") + 1));
  const std::string folder = disk::FolderOf(stored);
  std::string found;
  const auto entries = files.EntriesOf(folder);
  if (!entries) return disk::Join(folder, wanted);
  for (const PlannedFiles::Entry& entry : *entries) {
    if (entry.kind != PlannedFiles::Kind::kFile) continue;
    if (entry.name == wanted) return disk::Join(folder, wanted);
    if (found.empty() && ascii::EqualIgnoringCase(entry.name, wanted)) found = entry.name;
  }
  return disk::Join(folder, found.empty() ? wanted : found);
}

Target TargetOf(PlannedFiles& files, std::string_view path, long libraryId) {
  const bool isInArea = database_area::IsInArea(path, libraryId);
  if (path.find('\0') != std::string_view::npos) return {{}, isInArea, false};
  if (!isInArea) return {std::string(path), false, true};
  const std::optional<std::string> stored = database_area::FindFile(path, libraryId);
  if (!stored) return {{}, true, false};
  return {PathInArea(files, *stored, path), true, true};
}

// A step that has no place to go to.
bool Refuse(PlannedFiles& files, const std::string& path) {
  return files.Refuse({path.c_str(), false}, "no file can have this name");
}

void MakeLibrary(PlannedFiles& files, const Target& target) {
  if (target.isInArea) files.EnsureFolder(disk::FolderOf(target.text));
}

}  // namespace

std::unique_ptr<disk::OutputFile> OpenForWriting(PlannedFiles& files, const char* path, bool append,
                                                 long libraryId) {
  const Target target = TargetOf(files, path, libraryId);
  if (!target.isValid) {
    Refuse(files, path);
    return nullptr;
  }
  MakeLibrary(files, target);
  using Appears = PlannedFiles::Appears;
  const Appears when = target.isInArea ? Appears::kAtClose
                       : append        ? Appears::kAtOnce
                                       : Appears::kWhole;
  return files.OpenForWriting(target.Name(), append, when);
}

bool Exists(PlannedFiles& files, std::string_view path, long libraryId) {
  const Target target = TargetOf(files, path, libraryId);
  return target.isValid && files.IsFile(target.Name());
}

bool Delete(PlannedFiles& files, std::string_view path, long libraryId) {
  const Target target = TargetOf(files, path, libraryId);
  return target.isValid ? files.Delete(target.Name()) : Refuse(files, std::string(path));
}

bool Copy(PlannedFiles& files, const char* from, const char* to, long fromLibraryId,
          long toLibraryId, bool copyAttributes) {
  const Target source = TargetOf(files, from, fromLibraryId);
  const Target target = TargetOf(files, to, toLibraryId);
  if (!source.isValid) return Refuse(files, from);
  if (!target.isValid) return Refuse(files, to);
  MakeLibrary(files, target);
  return files.Copy(source.Name(), target.Name(), {true, copyAttributes, true});
}

bool Rename(PlannedFiles& files, const char* from, const char* to, long libraryId) {
  const Target source = TargetOf(files, from, libraryId);
  Target target = TargetOf(files, to, libraryId);
  if (!source.isValid) return Refuse(files, from);
  if (!target.isValid || source.isInArea != target.isInArea) return Refuse(files, to);
  if (source.isInArea && source.text == target.text) {
    // The new name finds the old file: only its case is to change.
    const std::string_view wanted = to;
    target.text = disk::Join(disk::FolderOf(source.text),
                             std::string(wanted.substr(wanted.find_last_of("\\/") + 1)));
  }
  return files.Move(source.Name(), target.Name());
}

bool NamesOf(PlannedFiles& files, long libraryId,
             std::set<SV::String, std::less<SV::String>>& names) {
  if (!database_area::FilesOfLibrary(libraryId)) return false;
  const std::optional<std::string> some = database_area::FindFile("db:\\x", libraryId);
  if (!some) return false;
  const auto entries = files.EntriesOf(disk::FolderOf(*some));
  if (!entries) return false;
  for (const PlannedFiles::Entry& entry : *entries) {
    const bool isFile = entry.kind == PlannedFiles::Kind::kFile;
    if (isFile && database_area::IsValidName(entry.name)) names.insert(base::StringOf(entry.name));
  }
  return true;
}

disk::ReadCode Read(PlannedFiles& files, std::string_view path, SV::String& contents) {
  const Target target = TargetOf(files, path, database_area::kFileSystem);
  return target.isValid ? files.Read(target.Name(), contents) : disk::kNotFound;
}

}  // namespace planned_file_manager
