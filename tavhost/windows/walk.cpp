#include "tavhost/windows/walk.h"

#include <fcntl.h>
#include <limits.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <optional>

#include "tavhost/base/access_list_posix.h"
#include "tavhost/base/file_rights_posix.h"
#include "tavhost/base/long_work.h"
#include "tavhost/base/new_file_posix.h"
#include "tavhost/base/stop.h"
#include "tavhost/base/uninterrupted_posix.h"
#include "tavhost/windows/standing.h"

namespace windows {

namespace {

// How many directories the walk keeps open: a process may be allowed no more than 64 files, and the
// program and its commands need some too. One that was closed is opened again when a call needs it.
constexpr std::size_t kKeptOpen = 16;

std::vector<std::unique_ptr<Search>> searches;  // in the order in which they were opened
std::optional<base::LongWork> work;             // while there are any
std::uint64_t entriesReturned = 0;
std::deque<Anchor*> openAnchors;  // those whose directory is open, the one used last at the end

// The directories above `of`, itself included. Kept because a command makes one directory after the
// other in the same place, and the way up costs a look at each.
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

// Moves it to the end of the list. A call needs at most two anchors at a time, so that neither is
// closed before the call is done.
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

// Whether `path` is `base` or lies inside it.
bool IsAtOrIn(std::string_view path, std::string_view base) {
  return path.size() >= base.size() && (path.size() == base.size() || path[base.size()] == '/') &&
         path.starts_with(base);
}

// Of the open directories above `path` the nearest; null when there is none.
const Anchor* NearestOpenAbove(std::string_view path) {
  const Anchor* nearest = nullptr;
  std::size_t length = 0;
  for (auto open = openAnchors.rbegin(); open != openAnchors.rend(); ++open) {
    const std::string_view above = (*open)->path.View();
    if (above.size() <= length || above.size() >= path.size() || !IsAtOrIn(path, above)) continue;
    nearest = *open;
    length = above.size();
  }
  return nearest;
}

// Takes a descriptor for the anchor's when it is the same directory's.
bool Accept(Anchor& anchor, Descriptor opened) {
  struct stat status;
  if (!opened.IsOpen() || base::StatusOf(opened.Get(), status) != 0) return false;
  if (IdOf(status) != anchor.id) {
    errno = ESTALE;
    return false;
  }
  anchor.directory = std::move(opened);
  KeepOpen(anchor);
  return true;
}

// The open descriptor of an anchor; -1 with errno when the path leads elsewhere by now. `above` may
// be the directory in which it lies.
int DescriptorOf(Anchor& anchor, const Anchor* above = nullptr) {
  if (anchor.directory.IsOpen()) {
    MarkUsed(anchor);
    return anchor.directory.Get();
  }
  const std::string_view path = anchor.path.View();
  // The whole way again would take longer with each level.
  if (!above || !above->directory.IsOpen()) above = NearestOpenAbove(path);
  const bool opened =
      (above &&
       Accept(anchor, OpenDirectoryAt(above->directory.Get(),
                                      path.substr(above->path.View().size() + 1), O_PATH))) ||
      Accept(anchor, OpenDirectoryAt(AT_FDCWD, path, O_PATH));
  return opened ? anchor.directory.Get() : -1;
}

int DescriptorOf(MadeDirectory& made) { return DescriptorOf(made, made.above); }

// The walk leaves `anchor` for the directory above it, whose descriptor may have been closed on the
// way down.
void OpenAbove(const Anchor& anchor, Anchor& above) {
  if (!anchor.directory.IsOpen() || above.directory.IsOpen() || above.id == FileId()) return;
  Accept(above, OpenDirectoryAt(anchor.directory.Get(), "..", O_PATH));
}

// The directory made last by a search further out; null when there is none.
MadeDirectory* MadeAbove(const Search& search) {
  auto outer = searches.rbegin();
  while (outer != searches.rend() && outer->get() != &search) ++outer;
  if (outer == searches.rend()) return nullptr;
  const auto found = std::find_if(std::next(outer), searches.rend(),
                                  [](const auto& other) { return !other->made.empty(); });
  return found == searches.rend() ? nullptr : (*found)->made.back().get();
}

Search* StandingSearch() {
  auto* search = static_cast<Search*>(standing.search);
  return IsOpenSearch(search) ? search : nullptr;
}

std::string_view LastName(std::string_view path) {
  while (!path.empty() && IsSeparator(path.back())) path.remove_suffix(1);
  return path.substr(path.find_last_of("\\/") + 1);
}

// The directory made last before `search`, when it is the one that the command has told.
MadeDirectory* StandingMade(const Search& search) {
  MadeDirectory* const made = MadeAbove(search);
  const std::string_view told(standing.target, standing.targetLength);
  return made && LastName(made->path.View()) == LastName(told) ? made : nullptr;
}

// The directory from which a path counts; null when it counts from none, or the walk has left it.
const Anchor* BaseOf(const Path& path) {
  const Search* search = path.CountsFrom() == Path::Base::kNone ? nullptr : StandingSearch();
  if (!search) return nullptr;
  if (path.CountsFrom() == Path::Base::kSearched) return &search->directory;
  return StandingMade(*search);
}

std::string_view EntryNameOf(const Search& search) {
  return search.entryPath.View().substr(search.entryNameAt);
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

// The system takes fewer than PATH_MAX bytes at once; a longer path is followed piece by piece.
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
    reached = Descriptor(base::OpenAt(reached.IsOpen() ? reached.Get() : directory, chunk,
                                      O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!reached.IsOpen()) return Descriptor();
    path.remove_prefix(slash + 1);
  }
  std::memcpy(chunk, path.data(), path.size());
  chunk[path.size()] = '\0';
  return Descriptor(base::OpenAt(reached.IsOpen() ? reached.Get() : directory, chunk,
                                 O_DIRECTORY | O_CLOEXEC | flags));
}

Place::Place(const Path& path) : valid_(path.IsValid()), directory_(AT_FDCWD), name_(path.Text()) {
  const bool hasBase = path.CountsFrom() != Path::Base::kNone;
  const bool isPlain = searches.empty() && !hasBase && path.Length() < PATH_MAX;
  if (valid_ && !isPlain) [[unlikely]]
    valid_ = hasBase ? ResolveFromBase(path) : Resolve(path);
}

// As Resolve, for a path that says from where it counts.
bool Place::ResolveFromBase(const Path& path) {
  Search* const search = StandingSearch();
  inMade_ = path.CountsFrom() == Path::Base::kMade;
  MadeDirectory* const made = search && inMade_ ? StandingMade(*search) : nullptr;
  if (!search || (inMade_ && (!made || made->id == kNothing))) {
    errno = ESTALE;
    return false;
  }
  directory_ = made ? DescriptorOf(*made) : DescriptorOf(search->directory);
  if (directory_ < 0) return false;
  const std::string_view entry = made ? "" : EntryNameOf(*search);
  return !entry.empty() && IsAtOrIn(path.View(), entry) ? ResolveThroughEntry(*search, path.View())
                                                        : ResolveInside(path.View());
}

// `rest` leads from directory_, which the search searches, to its entry or through it. Through it
// only while it is still the directory that the search returned.
bool Place::ResolveThroughEntry(const Search& search, std::string_view rest) {
  const std::string entry(EntryNameOf(search));
  if (search.entryId == kNothing) {
    errno = ESTALE;
    return false;
  }
  if (rest.size() == entry.size()) {
    known_ = &search.entryId;
    return ResolveInside(rest);
  }
  owned_ = Descriptor(
      base::OpenAt(directory_, entry.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  struct stat status;
  if (!owned_.IsOpen() || base::StatusOf(owned_.Get(), status) != 0) return false;
  if (IdOf(status) != search.entryId) {
    errno = ESTALE;
    return false;
  }
  directory_ = owned_.Get();
  return ResolveInside(rest.substr(entry.size() + 1));
}

// Asks the searches, the innermost first, which of them the path goes through, and starts from the
// directory that this one knows:
// - through a directory made since the search returned its last entry: from that directory;
// - through the entry returned last: from that entry, if it is still the same directory;
// - through the directory searched: from there;
// - through none of them: from where the text says.
// ESTALE: the walk knows something of this path, but not what stands there now.
bool Place::Resolve(const Path& path) {
  const std::string_view text = path.View();
  for (auto search = searches.rbegin(); search != searches.rend(); ++search) {
    Search& open = **search;
    for (auto made = open.made.rbegin(); made != open.made.rend(); ++made) {
      Anchor& anchor = **made;
      const std::string_view madePath = anchor.path.View();
      if (!IsAtOrIn(text, madePath)) continue;
      if (anchor.id == kNothing) {
        errno = ESTALE;
        return false;
      }
      inMade_ = true;
      if (text.size() == madePath.size()) {
        known_ = &anchor.id;
        continue;  // it stands in a directory that an outer search knows
      }
      known_ = nullptr;
      directory_ = DescriptorOf(anchor);
      return directory_ >= 0 && ResolveInside(text.substr(madePath.size() + 1));
    }
    const std::string_view entryPath = open.entryPath.View();
    const bool isThroughEntry = !entryPath.empty() && IsAtOrIn(text, entryPath);
    if (isThroughEntry) {
      if (open.entryId == kNothing) {
        errno = ESTALE;
        return false;
      }
      if (text.size() == entryPath.size()) known_ = &open.entryId;
    }
    const std::string_view rest = open.named ? RestInside(text, open.directory.path.View()) : "";
    if (rest.empty()) continue;
    directory_ = DescriptorOf(open.directory);
    if (directory_ < 0) return false;
    if (!known_ && isThroughEntry) return ResolveThroughEntry(open, rest);
    return ResolveOutside(path, directory_, rest);
  }
  return ResolveOutside(path, AT_FDCWD, text);
}

// `rest` leads from `base` to where the path ends. The folder in which it ends is kept in `passed`,
// so that every later call of this walk reaches the same one.
bool Place::ResolveOutside(const Path& path, int base, std::string_view rest) {
  const auto slash = rest.rfind('/');
  if (searches.empty() || slash == std::string_view::npos) return ResolveInside(rest);
  auto& passed = searches.front()->passed;
  const std::string_view folder = path.Directory();
  const auto found = std::find_if(passed.begin(), passed.end(), [folder](const auto& anchor) {
    return anchor->path.View() == folder;
  });
  if (found != passed.end()) {
    directory_ = DescriptorOf(**found);
  } else {
    Descriptor opened =
        OpenDirectoryAt(base, rest.substr(0, std::max<std::size_t>(slash, 1)), O_PATH);
    struct stat status;
    if (!opened.IsOpen() || base::StatusOf(opened.Get(), status) != 0) return false;
    directory_ = opened.Get();
    passed.push_back(std::make_unique<Anchor>());
    *passed.back() = {SharedPath(folder, {}), IdOf(status), std::move(opened)};
    KeepOpen(*passed.back());
  }
  return directory_ >= 0 && ResolveInside(rest.substr(slash + 1));
}

// `rest` leads from directory_ to where the path ends, and its bytes are the end of the path's.
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
  return base::StatusAt(directory_, name_, status, AT_SYMLINK_NOFOLLOW) == 0 && Confirms(status);
}

Descriptor Place::OpenDirectory() const {
  const int follow = known_ ? O_NOFOLLOW : 0;
  Descriptor opened(base::OpenAt(directory_, name_, O_RDONLY | O_DIRECTORY | O_CLOEXEC | follow));
  if (opened.IsOpen() && known_) {
    struct stat status;
    if (base::StatusOf(opened.Get(), status) != 0 || !Confirms(status)) return Descriptor();
  }
  return opened;
}

Descriptor Place::OpenFolder(int flags) const {
  const std::string_view name = name_;
  const auto slash = name.rfind('/');
  return OpenDirectoryAt(
      directory_, slash == std::string_view::npos ? "." : name.substr(0, slash == 0 ? 1 : slash),
      flags);
}

SharedPath PathInWalk(const Path& path) {
  if (searches.empty()) return SharedPath(path.View(), {});
  if (const Anchor* base = BaseOf(path)) return SharedPath::In(base->path, path.View());
  const Search& innermost = *searches.back();
  const bool hasEntry = !innermost.entryPath.IsEmpty();
  return SharedPath(path.View(), hasEntry ? innermost.entryPath : innermost.directory.path);
}

Search* OpenSearch(std::unique_ptr<Search> search) {
  if (!work) {
    work.emplace("Going through files", "", base::LongWork::Unit::kThings);
    entriesReturned = 0;
  }
  searches.push_back(std::move(search));
  Search* opened = searches.back().get();
  if (opened->directory.directory.IsOpen()) KeepOpen(opened->directory);
  return opened;
}

bool IsOpenSearch(const Search* search) {
  return std::any_of(searches.rbegin(), searches.rend(),
                     [search](const auto& open) { return open.get() == search; });
}

bool IsDeep() {
  constexpr std::size_t kLevels = 256;
  return searches.size() > kLevels;
}

int DirectoryOf(Search& search) { return DescriptorOf(search.directory); }

namespace {

// Some file systems have no permissions or times, or a directory has them from elsewhere: it then
// stays as it is, never more open than it is to be.
bool IsNotToBeGiven(int error) { return error == EPERM || error == ENOTSUP; }

// Gives a copy what it is to have in the end. False when that fails.
bool Complete(MadeDirectory& made) {
  if (!made.wanted || made.isMoved) return true;
  const DirectoryLook wanted = *made.wanted;
  made.wanted.reset();
  const int directory = DescriptorOf(made);
  if (directory < 0) return false;
  const struct timespec times[2] = {{0, UTIME_OMIT}, wanted.modified};
  const int timed = base::Uninterrupted([&] { return utimensat(directory, ".", times, 0); });
  const bool isTimed = timed == 0 || IsNotToBeGiven(errno);
  constexpr mode_t kTaken = 01777;
  const mode_t mode = (made.mode & ~kTaken) | (wanted.mode & kTaken);
  if (mode == made.mode) return isTimed;
  const int given = base::Uninterrupted([&] { return fchmodat(directory, ".", mode & 07777, 0); });
  return (given == 0 || IsNotToBeGiven(errno)) && isTimed;
}

// The walk goes on from the entry for which these were made. `above` is where it stands then. After
// a stop it goes on nowhere: a slow disk would make the way up from a deep place long.
void LeaveMade(Search& search, MadeDirectory* above) {
  const bool goesOn = !stop::IsRequested();
  for (auto inner = searches.rbegin(); inner->get() != &search; ++inner) {
    for (const auto& made : (*inner)->made) made->above = nullptr;
  }
  for (const auto& made : search.made) {
    if (goesOn) Complete(*made);
    if (goesOn && above) OpenAbove(*made, *above);
    Release(*made);
  }
  search.made.clear();
}

}  // namespace

void CloseSearch(Search* search) {
  const auto found = std::find_if(searches.rbegin(), searches.rend(),
                                  [search](const auto& open) { return open.get() == search; });
  if (found == searches.rend()) return;
  if (standing.search == search) standing = {};
  if (!search->made.empty()) LeaveMade(*search, MadeAbove(*search));
  for (const auto& passed : search->passed) Release(*passed);
  const auto outer = std::next(found);
  if (outer != searches.rend() && !stop::IsRequested())
    OpenAbove(search->directory, (*outer)->directory);
  Release(search->directory);
  searches.erase(std::next(found).base());
  if (!searches.empty()) return;
  ancestors = {};
  work.reset();
}

bool FinishMade() {
  if (searches.empty() || stop::IsRequested()) return true;
  bool areGiven = true;
  for (const auto& made : searches.back()->made) areGiven &= Complete(*made);
  return areGiven;
}

void CountEntry() { work->At(++entriesReturned); }

void CountNone() { work->At(entriesReturned); }

void EntryReturned(Search& search, std::string_view name, const struct stat* status) {
  if (!search.made.empty()) LeaveMade(search, MadeAbove(search));
  search.entryPath = SharedPath();  // before the next, which can then use its room
  if (!name.empty()) search.entryPath = SharedPath::In(search.directory.path, name);
  search.entryNameAt = search.entryPath.View().size() - name.size();
  search.entryId = status ? IdOf(*status) : kNothing;
  if (status) search.entryModified = status->st_mtim;
}

void EntryMisread(Search& search, std::string_view misread) {
  EntryReturned(search, "", nullptr);
  if (misread.empty()) return;
  search.entryPath = SharedPath(misread, search.directory.path);
  search.entryNameAt = misread.size() - RestInside(misread, search.directory.path.View()).size();
}

void CurrentDirectoryChanged() {
  ancestors = {};
  standing = {};
  for (const auto& search : searches) {
    for (const auto& passed : search->passed) Release(*passed);
    search->passed.clear();
    if (search->directory.path.View()[0] == '/') continue;
    search->named = false;
    search->entryPath = SharedPath();
    LeaveMade(*search, nullptr);
  }
}

namespace {

// Whether the search stands at a directory in which the target lies, or at that itself.
bool IsAboveTarget(const Search& search) {
  return !search.entryPath.IsEmpty() && search.entryId != kNothing &&
         std::find(ancestors.ids.begin(), ancestors.ids.end(), search.entryId) !=
             ancestors.ids.end();
}

}  // namespace

bool MayMakeDirectory(const Place& place) {
  if (searches.empty()) return true;
  // Inside a directory that the walk has made, all further out has been asked for already.
  if (place.IsInMade()) return !IsAboveTarget(*searches.back());
  Descriptor parent = place.OpenFolder(O_PATH);
  struct stat status;
  if (!parent.IsOpen() || base::StatusOf(parent.Get(), status) != 0) return false;
  if (ancestors.ids.empty() || ancestors.of != IdOf(status)) {
    ancestors = {IdOf(status), {IdOf(status)}};
    while (true) {
      parent = OpenDirectoryAt(parent.Get(), "..", O_PATH);
      if (!parent.IsOpen() || base::StatusOf(parent.Get(), status) != 0) {
        ancestors = {};
        return false;
      }
      if (ancestors.ids.back() == IdOf(status)) break;
      ancestors.ids.push_back(IdOf(status));
    }
  }
  return std::none_of(searches.begin(), searches.end(),
                      [](const auto& search) { return IsAboveTarget(*search); });
}

namespace {

// That of the entry returned last. Of one that this user cannot read nothing is copied.
DirectoryLook LookOfEntry(Search& search) {
  DirectoryLook look = {S_IRWXU, search.entryModified};
  const Descriptor entry(base::OpenAt(DirectoryOf(search), std::string(EntryNameOf(search)).c_str(),
                                      O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  struct stat status;
  base::AccessList list;
  if (entry.IsOpen() && base::StatusOf(entry.Get(), status) == 0 &&
      IdOf(status) == search.entryId && list.Read(entry.Get())) {
    look.mode = list.ModeWithout(status.st_mode);
  }
  return look;
}

MadeDirectory& AddMade(const Path& path, FileId id) {
  Search& search = *searches.back();
  const MadeDirectory* above = search.made.empty() ? MadeAbove(search) : search.made.back().get();
  auto made = std::make_unique<MadeDirectory>();
  const Anchor* const base = BaseOf(path);
  if (base) {
    made->path = SharedPath::In(base->path, path.View());
    if (std::strchr(path.Text(), '/') == nullptr) made->above = base;
  } else {
    made->path = above ? SharedPath(path.View(), above->path) : SharedPath(path.View(), {});
  }
  made->id = id;
  search.made.push_back(std::move(made));
  return *search.made.back();
}

}  // namespace

std::optional<DirectoryLook> LookOfCopy(const Path& path) {
  if (searches.empty()) return std::nullopt;
  Search& search = *searches.back();
  const std::string_view entry = search.entryPath.View();
  const bool isFirst = search.made.empty() && !entry.empty() && search.entryId != kNothing;
  if (!isFirst || entry.substr(entry.rfind('/') + 1) != path.Name()) return std::nullopt;
  return LookOfEntry(search);
}

void DirectoryMade(const Path& path, const Place& place, std::optional<DirectoryLook> wanted) {
  if (searches.empty()) return;
  struct stat status;
  const bool found =
      base::StatusAt(place.Directory(), place.Name(), status, AT_SYMLINK_NOFOLLOW) == 0;
  MadeDirectory& made = AddMade(path, found && S_ISDIR(status.st_mode) ? IdOf(status) : kNothing);
  if (made.id == kNothing) return;
  made.mode = status.st_mode;
  made.wanted = wanted;
}

MadeDirectory* Place::CopyMade() const {
  const auto found = std::find_if(searches.rbegin(), searches.rend(), [this](const auto& search) {
    return known_ == &search->entryId;
  });
  if (!known_ || found == searches.rend() || (*found)->made.empty()) return nullptr;
  MadeDirectory* const first = (*found)->made.front().get();
  return first->wanted ? first : nullptr;
}

void MoveBegins() {
  // Innermost first, up to those into which something has been moved before.
  for (auto search = searches.rbegin(); search != searches.rend(); ++search) {
    if ((*search)->made.empty()) continue;
    MadeDirectory& made = *(*search)->made.front();
    if (made.isMoved) return;
    made.isMoved = true;
  }
}

bool SyncNamesOfMade(int folder) {
  Descriptor above;
  for (auto search = searches.rbegin(); search != searches.rend(); ++search) {
    if ((*search)->made.empty()) continue;
    MadeDirectory& made = *(*search)->made.front();
    if (made.isSynced) return true;
    stop::ThrowIfRequested();
    above = OpenDirectoryAt(above.IsOpen() ? above.Get() : folder, "..", O_PATH);
    if (!above.IsOpen() || !base::SyncFolder(above.Get(), ".")) return false;
    made.isSynced = true;
  }
  return true;
}

bool CompleteMoved(const Place& place, const struct stat& status) {
  MadeDirectory* const made = place.CopyMade();
  if (!made) return true;
  const Descriptor original = place.OpenDirectory();
  if (!original.IsOpen()) return false;
  const int directory = DescriptorOf(*made);
  const Descriptor copy = directory < 0 ? Descriptor() : OpenDirectoryAt(directory, ".", O_RDONLY);
  if (!copy.IsOpen()) return false;
  const struct timespec times[2] = {{0, UTIME_OMIT}, made->wanted->modified};
  const bool isGiven = base::Uninterrupted([&] { return futimens(copy.Get(), times); }) == 0 &&
                       base::TakeRightsAsFarAsAllowed(copy.Get(), original.Get(), status);
  if (!isGiven && !IsNotToBeGiven(errno)) return false;
  made->wanted.reset();
  const bool isNear = made->id.device == IdOf(status).device;
  return isNear || (base::SyncFolder(copy.Get(), ".") && SyncNamesOfMade(copy.Get()));
}

void CloseTheWay(const Path& path) {
  if (!searches.empty()) AddMade(path, kNothing);
}

}  // namespace windows
