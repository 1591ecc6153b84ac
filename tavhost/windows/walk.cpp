#include "tavhost/windows/walk.h"

#include <fcntl.h>
#include <limits.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>

namespace windows {

namespace {

// Of at most 256 files that a process may have open; two lists of directories share it.
constexpr std::size_t kKeptOpen = 64;

std::vector<std::unique_ptr<Search>> searches;  // in the order in which they were opened
std::deque<Anchor*> openAnchors;  // those whose directory is open, the one used last at the end

// The directories above one in which the walk wants to make others.
struct Ancestors {
  FileId of;
  std::vector<FileId> ids;
} ancestors;

void KeepOpen(Anchor& anchor) {
  openAnchors.push_back(&anchor);
  if (openAnchors.size() <= kKeptOpen) return;
  openAnchors.front()->directory.Close();
  openAnchors.pop_front();
}

// A call uses two of them at a time, which therefore are never the next to be closed.
void MarkUsed(Anchor& anchor) {
  if (openAnchors.back() == &anchor) return;
  const auto found = std::find(openAnchors.rbegin(), openAnchors.rend(), &anchor);
  openAnchors.erase(std::next(found).base());
  openAnchors.push_back(&anchor);
}

void Release(Anchor& anchor) {
  if (!anchor.directory.IsOpen()) return;
  anchor.directory.Close();
  const auto found = std::find(openAnchors.rbegin(), openAnchors.rend(), &anchor);
  if (found != openAnchors.rend()) openAnchors.erase(std::next(found).base());
}

// The open descriptor of an anchor; -1 with errno when the path leads elsewhere by now.
int DescriptorOf(Anchor& anchor) {
  if (anchor.directory.IsOpen()) {
    MarkUsed(anchor);
    return anchor.directory.Get();
  }
  Descriptor opened = OpenDirectoryAt(AT_FDCWD, anchor.path, O_PATH);
  if (!opened.IsOpen()) return -1;
  struct stat status;
  if (fstat(opened.Get(), &status) != 0) return -1;
  if (IdOf(status) != anchor.id) {
    errno = ESTALE;
    return -1;
  }
  anchor.directory = std::move(opened);
  KeepOpen(anchor);
  return anchor.directory.Get();
}

// Whether `path` is `base` or lies inside it.
bool IsAtOrIn(std::string_view path, std::string_view base) {
  return path.size() >= base.size() && (path.size() == base.size() || path[base.size()] == '/') &&
         path.starts_with(base);
}

// How a path inside `base` goes on from there; empty when it is not inside.
std::string_view RestInside(std::string_view path, std::string_view base) {
  if (base == ".") return path[0] == '/' || path == "." || IsAtOrIn(path, "..") ? "" : path;
  if (base == "/") return path[0] == '/' ? path.substr(1) : std::string_view();
  return path.size() > base.size() && IsAtOrIn(path, base) ? path.substr(base.size() + 1)
                                                           : std::string_view();
}

constexpr FileId kNothing = {};

}  // namespace

Descriptor OpenDirectoryAt(int directory, std::string_view path, int flags) {
  Descriptor reached;
  char chunk[PATH_MAX];
  while (path.size() >= sizeof chunk) {
    const auto slash = path.substr(0, sizeof chunk - 1).rfind('/');
    if (slash == std::string_view::npos || slash == 0) {
      errno = ENAMETOOLONG;
      return Descriptor();
    }
    std::memcpy(chunk, path.data(), slash);
    chunk[slash] = '\0';
    reached = Descriptor(openat(reached.IsOpen() ? reached.Get() : directory, chunk,
                                O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!reached.IsOpen()) return Descriptor();
    path.remove_prefix(slash + 1);
  }
  std::memcpy(chunk, path.data(), path.size());
  chunk[path.size()] = '\0';
  return Descriptor(
      openat(reached.IsOpen() ? reached.Get() : directory, chunk, O_DIRECTORY | O_CLOEXEC | flags));
}

Place::Place(const Path& path) : valid_(path.IsValid()), directory_(AT_FDCWD), name_(path.Text()) {
  const bool isPlain = searches.empty() && path.Length() < PATH_MAX;
  if (valid_ && !isPlain) [[unlikely]]
    valid_ = Resolve(path);
}

bool Place::Resolve(const Path& path) {
  const std::string_view text = path.View();
  for (auto search = searches.rbegin(); search != searches.rend(); ++search) {
    Search& open = **search;
    for (auto made = open.made.rbegin(); made != open.made.rend(); ++made) {
      Anchor& anchor = **made;
      if (!IsAtOrIn(text, anchor.path)) continue;
      if (anchor.id == kNothing) {
        errno = ESTALE;
        return false;
      }
      inMade_ = true;
      if (text.size() == anchor.path.size()) {
        known_ = &anchor.id;
        continue;  // it stands in a directory that an outer search knows
      }
      known_ = nullptr;
      directory_ = DescriptorOf(anchor);
      return directory_ >= 0 && ResolveInside(text.substr(anchor.path.size() + 1));
    }
    if (!open.entryPath.empty() && IsAtOrIn(text, open.entryPath)) {
      if (open.entryId == kNothing) {
        errno = ESTALE;
        return false;
      }
      if (text.size() == open.entryPath.size()) known_ = &open.entryId;
    }
    std::string_view rest = open.named ? RestInside(text, open.directory.path) : "";
    if (rest.empty()) continue;
    directory_ = DescriptorOf(open.directory);
    if (directory_ < 0) return false;
    if (!known_ && !open.entryPath.empty() && IsAtOrIn(text, open.entryPath)) {
      // Through the entry: only when it is still the directory that the search returned.
      const auto entry =
          std::string(rest.substr(0, open.entryPath.size() - (text.size() - rest.size())));
      owned_ = Descriptor(
          openat(directory_, entry.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
      struct stat status;
      if (!owned_.IsOpen() || fstat(owned_.Get(), &status) != 0) return false;
      if (IdOf(status) != open.entryId) {
        errno = ESTALE;
        return false;
      }
      directory_ = owned_.Get();
      rest.remove_prefix(entry.size() + 1);
      return ResolveInside(rest);
    }
    return ResolveOutside(path, directory_, rest);
  }
  return ResolveOutside(path, AT_FDCWD, text);
}

// `rest` leads from `base` to where the path ends.
bool Place::ResolveOutside(const Path& path, int base, std::string_view rest) {
  const auto slash = rest.rfind('/');
  if (searches.empty() || slash == std::string_view::npos) return ResolveInside(rest);
  auto& passed = searches.front()->passed;
  const std::string_view folder = path.Directory();
  const auto found = std::find_if(passed.begin(), passed.end(),
                                  [folder](const auto& anchor) { return anchor->path == folder; });
  if (found != passed.end()) {
    directory_ = DescriptorOf(**found);
  } else {
    Descriptor opened =
        OpenDirectoryAt(base, rest.substr(0, std::max<std::size_t>(slash, 1)), O_PATH);
    struct stat status;
    if (!opened.IsOpen() || fstat(opened.Get(), &status) != 0) return false;
    directory_ = opened.Get();
    passed.push_back(std::make_unique<Anchor>());
    *passed.back() = {std::string(folder), IdOf(status), std::move(opened)};
    KeepOpen(*passed.back());
  }
  return directory_ >= 0 && ResolveInside(rest.substr(slash + 1));
}

// `rest` ends where the path ends.
bool Place::ResolveInside(std::string_view rest) {
  name_ = rest.data();
  if (rest.size() < PATH_MAX) return true;
  const auto slash = rest.rfind('/');
  if (slash == std::string_view::npos) {
    errno = ENAMETOOLONG;
    return false;
  }
  Descriptor reached = OpenDirectoryAt(directory_, rest.substr(0, slash), O_PATH);
  if (!reached.IsOpen()) return false;
  owned_ = std::move(reached);
  directory_ = owned_.Get();
  name_ = rest.data() + slash + 1;
  return true;
}

bool Place::Confirms(const struct stat& status) const {
  if (!known_ || *known_ == IdOf(status)) return true;
  errno = ESTALE;
  return false;
}

bool Place::Status(struct stat& status) const {
  return fstatat(directory_, name_, &status, AT_SYMLINK_NOFOLLOW) == 0 && Confirms(status);
}

Descriptor Place::OpenDirectory() const {
  const int follow = known_ ? O_NOFOLLOW : 0;
  Descriptor opened(openat(directory_, name_, O_RDONLY | O_DIRECTORY | O_CLOEXEC | follow));
  if (opened.IsOpen() && known_) {
    struct stat status;
    if (fstat(opened.Get(), &status) != 0 || !Confirms(status)) return Descriptor();
  }
  return opened;
}

Search* OpenSearch(std::unique_ptr<Search> search) {
  searches.push_back(std::move(search));
  Search* opened = searches.back().get();
  if (opened->directory.directory.IsOpen()) KeepOpen(opened->directory);
  return opened;
}

bool IsOpenSearch(const Search* search) {
  return std::any_of(searches.rbegin(), searches.rend(),
                     [search](const auto& open) { return open.get() == search; });
}

int DirectoryOf(Search& search) { return DescriptorOf(search.directory); }

void CloseSearch(Search* search) {
  const auto found = std::find_if(searches.rbegin(), searches.rend(),
                                  [search](const auto& open) { return open.get() == search; });
  if (found == searches.rend()) return;
  for (const auto& made : search->made) Release(*made);
  for (const auto& passed : search->passed) Release(*passed);
  Release(search->directory);
  searches.erase(std::next(found).base());
  if (searches.empty()) ancestors = {};
}

void EntryReturned(Search& search, std::string_view path, FileId id) {
  for (const auto& made : search.made) Release(*made);
  search.made.clear();
  if (path.empty()) {
    search.entryPath.clear();
  } else {
    search.entryPath = path;
  }
  search.entryId = id;
}

void CurrentDirectoryChanged() {
  ancestors = {};
  for (const auto& search : searches) {
    for (const auto& passed : search->passed) Release(*passed);
    search->passed.clear();
    if (search->directory.path[0] == '/') continue;
    search->named = false;
    search->entryPath.clear();
    for (const auto& made : search->made) Release(*made);
    search->made.clear();
  }
}

bool MayMakeDirectory(const Place& place) {
  // Inside a directory that the walk has made, all has been asked for already.
  if (searches.empty() || place.IsInMade()) return true;
  Descriptor parent;
  if (std::strchr(place.Name(), '/')) {
    const std::string_view name = place.Name();
    const auto slash = name.rfind('/');
    parent = OpenDirectoryAt(place.Directory(), name.substr(0, slash == 0 ? 1 : slash), O_PATH);
  } else {
    parent = OpenDirectoryAt(place.Directory(), ".", O_PATH);
  }
  struct stat status;
  if (!parent.IsOpen() || fstat(parent.Get(), &status) != 0) return false;
  if (ancestors.ids.empty() || ancestors.of != IdOf(status)) {
    ancestors = {IdOf(status), {IdOf(status)}};
    while (true) {
      parent = OpenDirectoryAt(parent.Get(), "..", O_PATH);
      if (!parent.IsOpen() || fstat(parent.Get(), &status) != 0) {
        ancestors = {};
        return false;
      }
      if (ancestors.ids.back() == IdOf(status)) break;
      ancestors.ids.push_back(IdOf(status));
    }
  }
  return std::none_of(searches.begin(), searches.end(), [](const auto& search) {
    return !search->entryPath.empty() && search->entryId != kNothing &&
           std::find(ancestors.ids.begin(), ancestors.ids.end(), search->entryId) !=
               ancestors.ids.end();
  });
}

namespace {

void AddMade(const Path& path, FileId id) {
  auto made = std::make_unique<Anchor>();
  made->path = path.View();
  made->id = id;
  searches.back()->made.push_back(std::move(made));
}

}  // namespace

void DirectoryMade(const Path& path, const Place& place) {
  if (searches.empty()) return;
  struct stat status;
  const bool found = fstatat(place.Directory(), place.Name(), &status, AT_SYMLINK_NOFOLLOW) == 0;
  AddMade(path, found && S_ISDIR(status.st_mode) ? IdOf(status) : kNothing);
}

void CloseTheWay(const Path& path) {
  if (!searches.empty()) AddMade(path, kNothing);
}

}  // namespace windows
