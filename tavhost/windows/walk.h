#pragma once

#include <sys/stat.h>

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "tavhost/windows/descriptor.h"
#include "tavhost/windows/entry_list.h"
#include "tavhost/windows/file_id.h"
#include "tavhost/windows/path.h"
#include "tavhost/windows/shared_path.h"

// Open searches, and how they keep a walk through a tree on its way. A recursive command names
// files by longer and longer paths; anyone may exchange a directory on such a path for a link
// while the command runs. So every call made while a search is open goes through the directory
// that the search found, recognised by device and inode, or fails.
//
// User-interface thread only. Descriptors are kept for the innermost directories only: trees may
// be deeper than a process may have files open. On its way up a walk goes by `..`, and takes what
// is there for the directory that it knows only when it is that. A command that tells where it
// stands (standing.h) needs for each entry no longer than it would at the top, however deep it is.
namespace windows {

// A directory on which a walk relies.
struct Anchor {
  SharedPath path;       // as translated
  FileId id;             // nothing: no call may lead through that path
  Descriptor directory;  // opened when first needed, closed when many are open
};

// What a copy of a directory takes over from it.
struct DirectoryLook {
  mode_t mode;  // without an access list, so that it lets nobody do more
  struct timespec modified;
};

// A directory that was made during the walk, or found where one was to be made.
struct MadeDirectory : Anchor {
  // The directory in which it was made, while the walk holds that too; null where not known.
  const Anchor* above = nullptr;
  mode_t mode = 0;                      // as it is now
  std::optional<DirectoryLook> wanted;  // once all is in it
  bool isMoved = false;                 // something has been moved into it
  bool isSynced = false;                // its own name is on the disk
};

struct Search {
  Anchor directory;
  EntryList entries;
  std::size_t next = 0;
  std::optional<struct stat> itself;  // the only entry's, when the pattern names it
  bool typesOnly = false;             // nobody wants to know which files are read-only
  bool named = true;  // false once the current directory changed under a relative path

  // The entry returned last when it is a directory, or when no call may name it.
  SharedPath entryPath;
  std::size_t entryNameAt = 0;  // where in it begins what calls from the directory searched say
  FileId entryId;
  struct timespec entryModified = {};

  // Directories made, or found where one was to be made, since that entry was returned.
  std::vector<std::unique_ptr<MadeDirectory>> made;

  // Directories outside the walk through which calls have led since the first search was opened,
  // such as the target of a copy. The first search holds them.
  std::vector<std::unique_ptr<Anchor>> passed;
};

// Where a path leads, searches considered: a directory's descriptor and a name in it, to be used by
// the system's `...at` functions. The path must outlive it.
class Place {
 public:
  explicit Place(const Path& path);
  Place(const Place&) = delete;
  Place& operator=(const Place&) = delete;

  bool IsValid() const { return valid_; }  // otherwise errno says why
  int Directory() const { return directory_; }
  const char* Name() const { return name_; }
  // The walk knows which directory stands here, and accepts no other one.
  bool IsKnown() const { return known_ != nullptr; }
  // It is, or lies inside, a directory made during the walk.
  bool IsInMade() const { return inMade_; }
  // The copy made of the directory that stands here since the search returned that; null when there
  // is none.
  MadeDirectory* CopyMade() const;

  // Status of what stands here, links not followed. Fails when it is not what the walk knows.
  bool Status(struct stat& status) const;
  // Opens what stands here as a directory for reading.
  Descriptor OpenDirectory() const;
  // Opens the directory in which it stands.
  Descriptor OpenFolder(int flags) const;

 private:
  bool Resolve(const Path& path);
  bool ResolveFromBase(const Path& path);
  bool ResolveThroughEntry(const Search& search, std::string_view rest);
  bool ResolveOutside(const Path& path, int base, std::string_view rest);
  bool ResolveInside(std::string_view rest);
  bool Confirms(const struct stat& status) const;

  bool valid_;
  bool inMade_ = false;
  int directory_;
  const char* name_;
  const FileId* known_ = nullptr;
  Descriptor owned_;
};

// A directory's path that a new search is to remember.
SharedPath PathInWalk(const Path& path);
// Takes a search into the walk, before it returns its first entry. The walk owns it.
//
// A walk is long work while any search is open: each entry that is returned counts as one thing,
// and a stop leaves from there. On its way out of a stopped walk nothing is done but closing.
Search* OpenSearch(std::unique_ptr<Search> search);
void CloseSearch(Search* search);
bool IsOpenSearch(const Search* search);
// A walk stands so many levels down that to rename there takes long: the system goes all the way up
// for it. A second name takes no longer anywhere.
bool IsDeep();
// The descriptor of the directory searched; -1 when its path leads elsewhere by now.
int DirectoryOf(Search& search);
// The search has returned this entry: a directory with its status, or, without, an entry through
// whose path no call may lead. Any other entry is told by an empty name. The copies of the entry
// returned before are complete now.
void EntryReturned(Search& search, std::string_view name, const struct stat* status);
// Likewise, an entry whose name makes a path lead elsewhere, to `misread`: no call may lead there.
void EntryMisread(Search& search, std::string_view misread);
// What was made for the entry at which the innermost search stands gets what it is to have in the
// end. False when that fails.
bool FinishMade();
// Before a search returns its next entry, and when it has none left: on its way up from a deep
// place a walk meets nothing else. Both throw stop::Stopped.
void CountEntry();
void CountNone();
// After the current directory has changed, relative paths name other directories.
void CurrentDirectoryChanged();

// A directory is to be made at `place`: false when that lies inside an entry which a search has
// returned last, that is, when a tree would be copied or moved into itself.
bool MayMakeDirectory(const Place& place);
// What a directory made at `path` is to look like in the end: nothing in particular unless it is
// the copy of the directory at which the innermost search stands, made under the same name.
std::optional<DirectoryLook> LookOfCopy(const Path& path);
// Something moves into a directory made by the walk. Until all is moved that directory stays its
// owner's alone: it is to belong to somebody else in the end.
void MoveBegins();
// The names of the directories made on the way to `folder`, the one made last, are on the disk when
// this returns. False with errno set.
bool SyncNamesOfMade(int folder);
// A directory of this status goes from its place: when all in it went into a copy of it, that has
// moved, and becomes all that it was, on the disk if that is another one. False with errno set.
bool CompleteMoved(const Place& place, const struct stat& status);
// What stands at `path` now is where the walk goes on; all but a directory closes the way.
void DirectoryMade(const Path& path, const Place& place, std::optional<DirectoryLook> wanted);
void CloseTheWay(const Path& path);

// Opens a directory by a path of any length.
Descriptor OpenDirectoryAt(int directory, std::string_view path, int flags);

}  // namespace windows
