#include "commands/files_trees.h"

#include "commands/files_search.h"
#include "host/files/dir_entry.h"
#include "host/windows/windows.h"

namespace commands {

namespace {

// The directory of a pattern, which stands before the name of whatever the pattern finds. Absolute
// or not as the pattern is.
class SourceFolder {
 public:
  explicit SourceFolder(const SV::String& pattern)
      : folder_(WithBackslash(SV::DirEntry(pattern).GetPath().GetFull())) {}

  SV::String PathOf(const char* name) const {
    SV::String path = folder_;
    path += name;
    return path;
  }

 private:
  SV::String folder_;
};

SV::String TargetPath(const SV::String& target, const char* name) {
  SV::String path = target;
  path += '\\';
  path += name;
  return path;
}

SV::String AllIn(const SV::String& path) {
  SV::String pattern = path;
  pattern += "\\*";
  return pattern;
}

bool IsDirectory(const SV::String& path) {
  const DWORD attributes = GetFileAttributesA(path.GetStr());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// Calls `handle` with each entry but "." and "..", up to the first for which it returns false. The
// result is that of the last call; false when the pattern finds nothing.
template <typename Handle>
bool ForEachEntry(const SV::String& pattern, Handle handle) {
  FileSearch search(pattern);
  if (!search.Found()) return false;
  bool success;
  do {
    success = search.IsDots() || handle(search);
  } while (success && search.Next());
  return success;
}

bool DeleteDirectory(const SV::String& path) {
  bool isEmpty = false;
  if (!TestDirectoryEmpty(path, isEmpty)) return false;
  if (!isEmpty && !DeleteTree(AllIn(path))) return false;
  return RemoveDirectoryA(path.GetStr()) != 0;
}

// Removes the link itself, whatever it leads to.
bool DeleteLink(const SV::String& path, bool toDirectory) {
  return (toDirectory ? RemoveDirectoryA(path.GetStr()) : DeleteFileA(path.GetStr())) != 0;
}

}  // namespace

bool TestDirectoryEmpty(const SV::String& pattern, bool& isEmpty) {
  isEmpty = true;
  FileSearch search(pattern);
  if (!search.Found()) return false;
  do {
    if (!search.IsDots()) {
      isEmpty = false;
      return true;
    }
  } while (search.Next());
  return true;
}

bool DeleteTree(const SV::String& pattern) {
  const SourceFolder source(pattern);
  return ForEachEntry(pattern, [&](const FileSearch& entry) {
    const SV::String path = source.PathOf(entry.Name());
    if (entry.IsLink()) return DeleteLink(path, entry.IsDirectory());
    return entry.IsDirectory() ? DeleteDirectory(path) : DeleteFileA(path.GetStr()) != 0;
  });
}

bool CopyTree(const SV::String& pattern, const SV::String& target, CopyFlags flags) {
  if (!IsDirectory(target)) return false;
  const SourceFolder source(pattern);
  return ForEachEntry(pattern, [&](const FileSearch& entry) {
    const SV::String from = source.PathOf(entry.Name());
    const SV::String to = TargetPath(target, entry.Name());
    if (!entry.IsDirectory() || entry.IsLink()) {
      return CopyFileA(from.GetStr(), to.GetStr(), flags.keepExistingFiles) != 0;
    }
    const bool created = CreateDirectoryA(to.GetStr(), nullptr) != 0;
    return (created || flags.fillExistingFolders) && CopyTree(AllIn(from), to, flags);
  });
}

bool MoveTree(const SV::String& pattern, const SV::String& target) {
  if (!IsDirectory(target)) return false;
  const SourceFolder source(pattern);
  return ForEachEntry(pattern, [&](const FileSearch& entry) {
    const SV::String from = source.PathOf(entry.Name());
    const SV::String to = TargetPath(target, entry.Name());
    if (!entry.IsDirectory() || entry.IsLink()) {
      return MoveFileA(from.GetStr(), to.GetStr()) != 0;
    }
    return CreateDirectoryA(to.GetStr(), nullptr) != 0 && MoveTree(AllIn(from), to) &&
           RemoveDirectoryA(from.GetStr()) != 0;
  });
}

}  // namespace commands
