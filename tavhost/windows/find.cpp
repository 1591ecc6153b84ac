#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>

#include "host/windows/files.h"
#include "tavhost/base/file_names.h"
#include "tavhost/base/trace.h"
#include "tavhost/base/uninterrupted_posix.h"
#include "tavhost/windows/file_functions.h"
#include "tavhost/windows/file_operations.h"
#include "tavhost/windows/find_types.h"
#include "tavhost/windows/walk.h"

namespace windows {

namespace {

using file_names::HasWildcard;
using file_names::IsDots;

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

// What can be told of an entry that is gone, or whose status cannot be had.
DWORD AttributesOfType(EntryType type) {
  switch (type) {
    case EntryType::kDirectory:
      return FILE_ATTRIBUTE_DIRECTORY;
    case EntryType::kLink:
      return FILE_ATTRIBUTE_REPARSE_POINT;
    default:
      return FILE_ATTRIBUTE_NORMAL;
  }
}

// The status of an entry, links not followed; nothing when it cannot be had.
std::optional<struct stat> StatusOf(Search& search, const Entry& entry) {
  if (search.itself) return search.itself;
  struct stat status;
  if (base::StatusAt(DirectoryOf(search), entry.name.data(), status, AT_SYMLINK_NOFOLLOW) != 0)
    return {};
  return status;
}

// A path takes the `\` in this name for a separator, and would lead to something else: calls by
// that path are refused while the search stands here.
void RefuseMisread(Search& search, const Entry& entry) {
  const std::string joined = Join(search.directory.path.View(), entry.name);
  const Path misread(joined.c_str());
  EntryMisread(search, misread.IsValid() ? misread.View() : "");
}

// Fills in the next entry and tells the walk that calls by its path mean this very directory.
void Return(Search& search, WIN32_FIND_DATAA& data) {
  const Entry entry = search.entries.At(search.next++);
  std::memset(&data, 0, offsetof(WIN32_FIND_DATAA, cFileName));
  std::memcpy(data.cFileName, entry.name.data(), entry.name.size() + 1);
  data.cAlternateFileName[0] = '\0';
  if (IsDots(entry.name)) {
    data.dwFileAttributes = FILE_ATTRIBUTE_DIRECTORY;
    return EntryReturned(search, "", nullptr);
  }
  if (search.typesOnly && entry.type == EntryType::kOther && IsNameable(entry)) {
    data.dwFileAttributes = FILE_ATTRIBUTE_NORMAL;
    return EntryReturned(search, "", nullptr);
  }
  const std::optional<struct stat> status = StatusOf(search, entry);
  data.dwFileAttributes = status ? AttributesOf(DirectoryOf(search), entry.name.data(), *status)
                                 : AttributesOfType(entry.type);
  if (!IsNameable(entry)) return RefuseMisread(search, entry);
  const bool isDirectory = status ? S_ISDIR(status->st_mode) : entry.type == EntryType::kDirectory;
  if (!isDirectory) return EntryReturned(search, "", nullptr);
  EntryReturned(search, entry.name, status ? &*status : nullptr);
}

std::unique_ptr<Search> SearchIn(const Path& directory) {
  const Place place(directory);
  if (!place.IsValid()) return nullptr;
  auto search = std::make_unique<Search>();
  search->directory.path = PathInWalk(directory);
  search->directory.directory = place.OpenDirectory();
  struct stat status;
  if (!search->directory.directory.IsOpen() ||
      base::StatusOf(search->directory.directory.Get(), status) != 0) {
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
  search.itself = status;
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
  const std::string folder(separator == std::string_view::npos ? "."
                                                               : text.substr(0, separator + 1));
  auto search = SearchIn(Path(folder.c_str()));
  return search && AddItself(*search, path, name) ? std::move(search) : nullptr;
}

HANDLE Find(const char* pattern, WIN32_FIND_DATAA& data) {
  const Path path(pattern, Path::Last::kPattern);
  if (!path.IsValid() || path.HasTrailingSeparator()) return INVALID_HANDLE_VALUE;
  std::unique_ptr<Search> search;
  const bool isWhole =
      path.CountsFrom() == Path::Base::kNone;  // the rest of a path ends in no dots
  if (isWhole && HidesItsName(pattern)) {
    search = SearchOwnName(pattern, path);
  } else {
    const std::string folder(path.Directory());
    search = SearchIn(Path(Path::System{folder.c_str()}, path.CountsFrom()));
    if (!search) return INVALID_HANDLE_VALUE;
    const bool found = HasWildcard(path.Name())
                           ? search->entries.Read(search->directory.directory.Get(), path.Name())
                           : AddItself(*search, path, path.Name());
    if (!found) return INVALID_HANDLE_VALUE;
  }
  if (!search || search->entries.Count() == 0) {
    errno = ENOENT;
    return INVALID_HANDLE_VALUE;
  }
  search->typesOnly = AreTypesEnough();
  Search* opened = OpenSearch(std::move(search));
  Return(*opened, data);
  return opened;
}

}  // namespace

}  // namespace windows

using windows::replacedFunctions;

HANDLE FindFirstFileA(LPCSTR pattern, WIN32_FIND_DATAA* data) {
  trace::Call call("FindFirstFileA", pattern);
  const HANDLE search = replacedFunctions ? replacedFunctions->findFirst(pattern, data)
                                          : windows::Find(pattern, *data);
  if (search == INVALID_HANDLE_VALUE) {
    call.Result(-1);
    return search;
  }
  if (trace::IsOpen()) trace::Name("Search", search);
  return call.ResultObject(search);
}

BOOL FindNextFileA(HANDLE handle, WIN32_FIND_DATAA* data) {
  trace::Call call("FindNextFileA", trace::Object{handle});
  if (replacedFunctions) return call.Result(replacedFunctions->findNext(handle, data));
  auto* search = static_cast<windows::Search*>(handle);
  if (!windows::IsOpenSearch(search)) return call.Result(FALSE);
  if (search->next == search->entries.Count()) {
    windows::CountNone();
    return call.Result(FALSE);
  }
  windows::CountEntry();
  windows::Return(*search, *data);
  return call.Result(TRUE);
}

BOOL FindClose(HANDLE handle) {
  trace::Call call("FindClose", trace::Object{handle});
  auto* search = static_cast<windows::Search*>(handle);
  const bool isOpen =
      replacedFunctions ? replacedFunctions->findClose(handle) != 0 : windows::IsOpenSearch(search);
  const BOOL closed = call.Result(BOOL{isOpen});
  if (!isOpen) return closed;
  if (trace::IsOpen()) trace::Forget(handle);
  if (!replacedFunctions) windows::CloseSearch(search);
  return closed;
}
