#include <algorithm>
#include <filesystem>
#include <system_error>

#include "host/files/dir_entry.h"
#include "tavhost/base/file_names.h"
#include "tavhost/files/dir_entry_style.h"
#include "tavhost/files/planned_files.h"
#include "tavhost/files/planned_output.h"
#include "tavhost/files/planned_paths.h"

// The steps: each is told, or why it would fail, and then stands over what is there.

using dry_run::Act;
using file_names::IsDots;
using planned_paths::EndsInSeparator;
using planned_paths::Full;
using planned_paths::IsEqual;
using planned_paths::IsWithin;
using planned_paths::MeansDirectory;
using planned_paths::Parted;
using planned_paths::Told;
using planned_paths::ToPath;

namespace {

constexpr const char* kNoPath = "no path leads to what has this name";
constexpr const char* kMeansDirectory = "a path that ends so means a directory";
constexpr const char* kNoFile = "there is no such file";
constexpr const char* kNoDirectory = "there is no such directory";
constexpr const char* kExists = "it exists";
constexpr const char* kIsDirectory = "it is a directory";
constexpr const char* kIsReadOnly = "it is protected against writing";
constexpr const char* kIsOpen = "it is open for writing";
constexpr const char* kIsInside = "it lies in the directory that is to go there";
constexpr const char* kIsCurrent = "it is the current directory";
constexpr const char* kIsFar = "a directory cannot be moved to another file system";
constexpr const char* kIsItself = "it would be copied onto itself";
constexpr const char* kIsTooLong = "its name is too long";

// The current directory, or one above it, by dots: no system moves it by such a name. Or a root.
bool IsUnmovable(disk::Name name, const std::string& path) {
  std::string_view text = name.text;
  while (EndsInSeparator(text)) text.remove_suffix(1);
  const bool isDots = IsDots(text.substr(text.find_last_of("/\\") + 1));
  return Parted(path).second.empty() ||
         (isDots && !disk::IsAbsolute(name.text) && IsWithin(Full("."), path));
}

}  // namespace

bool PlannedFiles::Fail(const std::string& path, const std::string& reason) {
  dry_run::Tell({Act::kFail, path, {}, -1, false, reason});
  return false;
}

bool PlannedFiles::Refuse(disk::Name name, const std::string& reason) {
  return Fail(Told(name), reason);
}

bool PlannedFiles::RefuseAttributes(disk::Name name) {
  const auto path = Reach(name);
  const bool isUntold = path && Find(*path).kind == Kind::kUnknown;
  return Refuse(name, isUntold ? kUntold : kNoDirectory);
}

bool PlannedFiles::MakeDirectory(disk::Name name, bool mayBeThere) {
  const auto path = Reach(name);
  if (!path) return Refuse(name, kNoPath);
  const std::string folder = Parted(*path).first;
  if (IsInSearched(folder)) return Refuse(name, kIsInside);
  const Kind kind = Find(*path).kind;
  // What cannot be told now is asked again by whoever is to fill it.
  if ((kind == Kind::kDirectory || kind == Kind::kUnknown) && mayBeThere) return false;
  if (kind == Kind::kDirectoryLink && !searches_.empty()) {
    closedWay_ = *path;
    return Refuse(name, "it is a link");
  }
  if (kind != Kind::kNone) return Refuse(name, kind == Kind::kUnknown ? kUntold : kExists);
  if (!IsDirectory(folder)) return Refuse(name, kNoDirectory);
  if (IsNameTooLong(*path)) return Refuse(name, kIsTooLong);
  dry_run::Tell({Act::kCreateDirectory, *path});
  Put(*path, {Kind::kDirectory});
  return true;
}

bool PlannedFiles::RemoveFolder(disk::Name name) {
  const auto path = Reach(name);
  if (!path) return Refuse(name, kNoPath);
  const Found found = Find(*path);
  if (found.kind == Kind::kDirectoryLink || (found.kind == Kind::kLink && LeadsNowhere(*path))) {
    dry_run::Tell({Act::kDelete, *path});
    Put(*path, {});
    return true;
  }
  if (found.kind == Kind::kUnknown) return Refuse(name, kUntold);
  if (found.kind != Kind::kDirectory) return Refuse(name, kNoDirectory);
  if (*path == Full(".")) return Refuse(name, kIsCurrent);
  const std::optional<std::vector<Entry>> entries = EntriesOf(*path, found);
  if (!entries) return Refuse(name, kUnreadable);
  if (!entries->empty()) return Refuse(name, "it is not empty");
  dry_run::Tell({Act::kDeleteDirectory, *path});
  Put(*path, {});
  return true;
}

bool PlannedFiles::Delete(disk::Name name) {
  const auto path = Reach(name);
  if (!path) return Refuse(name, kNoPath);
  if (MeansDirectory(name)) return Refuse(name, kMeansDirectory);
  const Found found = Find(*path);
  if (found.kind == Kind::kNone) return Fail(*path, kNoFile);
  if (found.kind == Kind::kUnknown) return Fail(*path, kUntold);
  if (found.kind == Kind::kDirectory) return Fail(*path, kIsDirectory);
  if (found.isReadOnly) return Fail(*path, kIsReadOnly);
  if (IsUnderWay(*path)) return Fail(*path, kIsOpen);
  dry_run::Tell({Act::kDelete, *path});
  Put(*path, {});
  return true;
}

bool PlannedFiles::Copy(disk::Name from, disk::Name to, CopyOptions options) {
  const auto source = Reach(from);
  const auto target = Reach(to);
  if (!source) return Refuse(from, kNoPath);
  if (!target) return Refuse(to, kNoPath);
  if (MeansDirectory(from)) return Refuse(from, kMeansDirectory);
  if (MeansDirectory(to)) return Refuse(to, kMeansDirectory);
  const bool isFollowed = options.followLink && IsLink(FindItself(*source).kind);
  const std::string original = isFollowed ? Followed(*source) : *source;
  const Found copied = Find(original);
  const Found present = Find(*target);
  if (copied.kind == Kind::kNone) return Fail(*source, kNoFile);
  if (copied.kind == Kind::kUnknown) return Fail(*source, kUntold);
  if (copied.kind == Kind::kDirectory) return Fail(*source, kIsDirectory);
  // A link that is followed and still one leads in a circle.
  if (copied.kind == Kind::kOther || (options.followLink && IsLink(copied.kind))) {
    return Fail(*source, "it is no plain file");
  }
  if (!IsReadableFile(copied)) return Fail(*source, kUnreadable);
  if (present.kind == Kind::kUnknown) return Fail(*target, kUntold);
  if (!IsDirectory(Parted(*target).first)) return Fail(*target, kNoDirectory);
  if (present.kind == Kind::kDirectory) return Fail(*target, kIsDirectory);
  if (present.kind != Kind::kNone) {
    const bool isItself = IsEqual(original, *target) || IsEqual(original, Followed(*target));
    if (isItself || (!IsLink(copied.kind) && IsOneFile(copied, present)))
      return Fail(*target, kIsItself);
    if (!options.replace) return Fail(*target, kExists);
    if (present.kind == Kind::kOther) return Fail(*target, "it is no plain file");
    if (present.isReadOnly) return Fail(*target, kIsReadOnly);
  }
  if (IsUnderWay(*target)) return Fail(*target, kIsOpen);
  if (IsNameTooLong(*target)) return Fail(*target, kIsTooLong);
  dry_run::Tell({Act::kCopy, *source, *target, -1, present.kind != Kind::kNone});
  Node copy{copied.kind, copied.isReadOnly && options.keepAttributes, copied.real};
  copy.isCopy = true;
  if (copied.node) {
    copy.bytes = copied.node->bytes;
    copy.isKnown = copied.node->isKnown;
  }
  Put(*target, std::move(copy));
  return true;
}

bool PlannedFiles::Move(disk::Name from, disk::Name to) {
  const auto source = Reach(from);
  const auto target = Reach(to);
  if (!source) return Refuse(from, kNoPath);
  if (!target) return Refuse(to, kNoPath);
  const Found moved = Find(*source);
  const bool namesDirectory = MeansDirectory(from) || MeansDirectory(to);
  if (moved.kind == Kind::kNone) return Refuse(from, kNoFile);
  if (moved.kind == Kind::kUnknown) return Refuse(from, kUntold);
  if (namesDirectory && moved.kind != Kind::kDirectory) return Refuse(from, kNoDirectory);
  if (IsUnderWay(*source)) return Refuse(from, kIsOpen);
  if (IsUnderWay(*target)) return Refuse(to, kIsOpen);
  if (IsUnmovable(from, *source)) return Refuse(from, kIsCurrent);
  const bool isItself = *source == *target;
  if (!isItself && !IsEqual(*source, *target)) {
    const Kind present = Find(*target).kind;
    if (present == Kind::kUnknown) return Refuse(to, kUntold);
    if (present != Kind::kNone) return Refuse(to, kExists);
  }
  if (!IsDirectory(Parted(*target).first)) return Refuse(to, kNoDirectory);
  if (IsNameTooLong(*target)) return Refuse(to, kIsTooLong);
  if (moved.kind == Kind::kDirectory && !isItself && IsWithin(*target, *source)) {
    return Refuse(to, kIsInside);
  }
  const auto isFar = [&] {
    return !isItself &&
           !disk::IsOneFileSystem(RealFolderOf(*source), RealFolderOf(Parted(*target).first));
  };
  if (moved.kind == Kind::kDirectory && isFar()) return Refuse(from, kIsFar);
  // There it is copied.
  if (!IsReadableFile(moved) && isFar()) return Refuse(from, kUnreadable);
  dry_run::Tell({Act::kMove, *source, *target});
  if (isItself) return true;
  Node node = moved.node ? *moved.node : Node{moved.kind, moved.isReadOnly, moved.real};
  Put(*source, {});
  Put(*target, std::move(node));
  return true;
}

bool PlannedFiles::ChangeDirectory(disk::Name name) {
  const auto path = Reach(name);
  if (!path || !IsDirectory(*path)) return false;
  const std::string final = Followed(*path);
  dir_entry::SetCurrentDirectory(final);
  // Where that can be, the process goes there too: not all paths come by here.
  const Found found = Find(final);
  std::error_code ignored;
  if (!found.real.empty())
    std::filesystem::current_path(ToPath(disk::ShortPath(found.real)), ignored);
  return true;
}

bool PlannedFiles::IsUnderWay(const std::string& path) const {
  return std::any_of(outputs_.begin(), outputs_.end(),
                     [&path](const PlannedOutput* output) { return output->IsAt(path); });
}

std::unique_ptr<disk::OutputFile> PlannedFiles::OpenForWriting(disk::Name name, bool append,
                                                               Appears when) {
  const auto path = Reach(name);
  if (!path || MeansDirectory(name)) {
    Refuse(name, path ? kMeansDirectory : kNoPath);
    return nullptr;
  }
  if (disk::IsStandardStream(name)) {
    return std::make_unique<PlannedOutput>(*this, *path, Kind::kOther, append, when);
  }
  // What is written behind a link goes into the file to which it leads.
  const std::string written = Followed(*path);
  const Found present = Find(written);
  const char* reason = nullptr;
  if (!IsDirectory(Parted(written).first)) reason = kNoDirectory;
  if (IsLink(present.kind)) reason = "its links lead in a circle";
  if (present.kind == Kind::kDirectory || present.kind == Kind::kDirectoryLink) {
    reason = kIsDirectory;
  }
  if (present.kind == Kind::kUnknown) reason = kUntold;
  if (present.isReadOnly) reason = kIsReadOnly;
  if (when == Appears::kAtClose && IsUnderWay(written)) reason = kIsOpen;
  if (!reason && IsNameTooLong(written)) reason = kIsTooLong;
  if (reason) {
    Fail(*path, reason);
    return nullptr;
  }
  return std::make_unique<PlannedOutput>(*this, written, present.kind, append, when);
}

std::string PlannedFiles::NewTemporaryFile(const std::string& prefix) {
  const std::string folder = disk::TemporaryFolder();
  if (!IsDirectory(Followed(Full(folder)))) {
    Fail(Full(folder), kNoDirectory);
    return "";
  }
  std::string path;
  Kind present;
  std::string place;
  do {
    const std::string number = std::to_string(++temporaryFiles_);
    path = Full(disk::Join(folder, prefix + "dry" + number));
    place = Followed(path);
    present = Find(place).kind;
  } while (present != Kind::kNone && present != Kind::kUnknown);
  if (present == Kind::kUnknown) {
    Fail(path, kUntold);
    return "";
  }
  dry_run::Tell({Act::kCreate, path});
  Put(place, {Kind::kFile});
  return path;
}

void PlannedFiles::EnsureFolder(const std::string& folder) {
  std::vector<std::string> missing;  // the innermost first
  for (std::string path = Followed(Full(folder)); !IsDirectory(path); path = Parted(path).first) {
    missing.push_back(path);
    if (Parted(path).second.empty()) break;
  }
  std::for_each(missing.rbegin(), missing.rend(),
                [this](const std::string& path) { Put(path, {Kind::kDirectory}); });
}
