#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tavhost/files/disk.h"
#include "tavhost/files/name_lock.h"

// The database file area: a folder of the file system with one folder a library in it, named by
// its number. Names match without regard to case (ASCII) and keep the case in which they were
// stored. Only plain files count.
namespace database_area {

// Where the area is; without, a folder below the user's data. Made when first written to.
void SetFolder(const std::string& folder);

// The library of a name that says no other.
inline constexpr long kDefaultLibrary = 0;
// The library id of the file system.
inline constexpr long kFileSystem = -1;

// Begins with `db:\`, in either case and with either separator.
bool IsAreaName(std::string_view path);
// Whether path and library mean the area rather than the file system; the name itself may be one
// that the area cannot hold.
bool IsInArea(std::string_view path, long libraryId);

// The stored file that a name means, as a path of the system: the one there is, else the one to
// be made. Nothing when the area cannot hold such a name. `path` may begin with `db:\`.
std::optional<std::string> FindFile(std::string_view path, long libraryId);

// Makes the library's folder and those above it; true when it is there already.
bool MakeLibrary(long libraryId);
// The names of a library's files; nothing when it cannot be read.
std::optional<std::vector<std::string>> FilesOfLibrary(long libraryId);

// A name without `db:\` that every system can store.
bool IsValidName(std::string_view name);

// Keeps the writers of other processes and of files that are open away from a name, which
// IsValidName holds for. Null when one of them has it; see name_lock::Take.
std::unique_ptr<name_lock::Lock> LockName(std::string_view path, long libraryId);

// A file of the area under way: it takes the place of the old one, on the disk, when it is closed.
// Null also when the name has another writer.
std::unique_ptr<disk::OutputFile> OpenForWriting(std::string_view path, long libraryId,
                                                 bool append);
}  // namespace database_area
