#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "host/windows/files.h"
#include "tavhost/base/trace.h"
#include "tavhost/windows/walk.h"
#include "tavhost/windows/wildcard.h"

namespace windows {

namespace {

bool IsDots(std::string_view name) { return name == "." || name == ".."; }

// `.` or `..` or nothing behind the last separator: the entry goes by its own name, which does not
// stand in the pattern.
bool HidesItsName(std::string_view pattern) {
  const auto separator = pattern.find_last_of("\\/");
  return IsDots(separator == std::string_view::npos ? pattern : pattern.substr(separator + 1));
}

std::string Join(std::string_view directory, std::string_view name) {
  if (directory == ".") return std::string(name);
  std::string path(directory);
  if (path != "/") path += '/';
  return path.append(name);
}

EntryType TypeOf(const struct stat& status) {
  if (S_ISDIR(status.st_mode)) return EntryType::kDirectory;
  return S_ISLNK(status.st_mode) ? EntryType::kLink : EntryType::kOther;
}

// No path can name an entry that holds a separator.
bool IsNameable(const Entry& entry) { return entry.name.find('\\') == std::string_view::npos; }

// A directory that no path can name could never be entered, so it is not told to be one.
DWORD AttributesOf(Search& search, const Entry& entry, bool nameable) {
  switch (entry.type) {
    case EntryType::kDirectory:
      return nameable ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
    case EntryType::kLink: {
      struct stat reached;
      const bool toDirectory = nameable &&
                               fstatat(DirectoryOf(search), entry.name.data(), &reached, 0) == 0 &&
                               S_ISDIR(reached.st_mode);
      return FILE_ATTRIBUTE_REPARSE_POINT | (toDirectory ? FILE_ATTRIBUTE_DIRECTORY : 0);
    }
    default:
      return FILE_ATTRIBUTE_NORMAL;
  }
}

// Fills in the next entry and tells the walk that calls by its path mean this very directory.
void Return(Search& search, WIN32_FIND_DATAA& data) {
  const Entry entry = search.entries.At(search.next++);
  const bool nameable = IsNameable(entry);
  data = {};
  std::memcpy(data.cFileName, entry.name.data(), entry.name.size() + 1);
  data.dwFileAttributes = AttributesOf(search, entry, nameable);
  std::string path;
  FileId id;
  if (!nameable) {
    // A path takes the `\` in this name for a separator, and would lead to something else: calls
    // by that path are refused while the search stands here.
    const std::string joined = Join(search.directory.path, entry.name);
    const Path misread(joined.c_str());
    if (misread.IsValid()) path = misread.View();
  } else if (entry.type == EntryType::kDirectory && !IsDots(entry.name)) {
    path = Join(search.directory.path, entry.name);
    struct stat status;
    if (search.itself != FileId()) {
      id = search.itself;
    } else if (fstatat(DirectoryOf(search), entry.name.data(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
               S_ISDIR(status.st_mode)) {
      id = IdOf(status);
    }
  }
  EntryReturned(search, path, id);
}

std::unique_ptr<Search> SearchIn(std::string_view directory) {
  const std::string text(directory);
  const Path path(text.c_str());
  const Place place(path);
  if (!place.IsValid()) return nullptr;
  auto search = std::make_unique<Search>();
  search->directory.path = path.View();
  search->directory.directory = place.OpenDirectory();
  struct stat status;
  if (!search->directory.directory.IsOpen() ||
      fstat(search->directory.directory.Get(), &status) != 0) {
    return nullptr;
  }
  search->directory.id = IdOf(status);
  return search;
}

// The entry that goes by `name` itself.
bool AddItself(Search& search, const Path& path, std::string_view name) {
  const Place place(path);
  struct stat status;
  if (!place.IsValid() || !place.Status(status)) return false;
  search.entries.Add(name, TypeOf(status));
  search.itself = IdOf(status);
  return true;
}

// A pattern that ends in `.` or `..`, or that has no other component: what it stands for goes by
// its own name, yet a path to it is put together with the directory in front.
std::unique_ptr<Search> SearchOwnName(const char* pattern, const Path& path) {
  char own[PATH_MAX];
  if (!realpath(path.Text(), own)) return nullptr;
  const char* name = std::strrchr(own, '/') + 1;
  if (*name == '\0') return nullptr;  // the root has no name
  const std::string_view text = pattern;
  const auto separator = text.find_last_of("\\/");
  auto search = SearchIn(separator == std::string_view::npos ? "." : text.substr(0, separator + 1));
  return search && AddItself(*search, path, name) ? std::move(search) : nullptr;
}

Search* Find(const char* pattern, WIN32_FIND_DATAA& data) {
  const Path path(pattern, Path::Last::kPattern);
  if (!path.IsValid() || path.HasTrailingSeparator()) return nullptr;
  std::unique_ptr<Search> search;
  if (HidesItsName(pattern)) {
    search = SearchOwnName(pattern, path);
  } else {
    search = SearchIn(path.Directory());
    if (!search) return nullptr;
    const bool found = HasWildcard(path.Name())
                           ? search->entries.Read(search->directory.directory.Get(), path.Name())
                           : AddItself(*search, path, path.Name());
    if (!found) return nullptr;
  }
  if (!search || search->entries.Count() == 0) {
    errno = ENOENT;
    return nullptr;
  }
  Search* opened = OpenSearch(std::move(search));
  Return(*opened, data);
  return opened;
}

}  // namespace

}  // namespace windows

HANDLE FindFirstFileA(LPCSTR pattern, WIN32_FIND_DATAA* data) {
  trace::Call call("FindFirstFileA", pattern);
  windows::Search* search = windows::Find(pattern, *data);
  if (!search) {
    call.Result(-1);
    return INVALID_HANDLE_VALUE;
  }
  if (trace::IsOpen()) trace::Name("Search", search);
  return call.ResultObject(search);
}

BOOL FindNextFileA(HANDLE handle, WIN32_FIND_DATAA* data) {
  trace::Call call("FindNextFileA", trace::Object{handle});
  auto* search = static_cast<windows::Search*>(handle);
  if (!windows::IsOpenSearch(search) || search->next == search->entries.Count()) {
    return call.Result(FALSE);
  }
  windows::Return(*search, *data);
  return call.Result(TRUE);
}

BOOL FindClose(HANDLE handle) {
  trace::Call call("FindClose", trace::Object{handle});
  auto* search = static_cast<windows::Search*>(handle);
  if (!windows::IsOpenSearch(search)) return call.Result(FALSE);
  const BOOL closed = call.Result(TRUE);
  if (trace::IsOpen()) trace::Forget(search);
  windows::CloseSearch(search);
  return closed;
}
