#include "commands/files_trees.h"

#include <deque>
#include <string>
#include <string_view>

#include "commands/files_copy.h"
#include "commands/files_directory_times.h"
#include "commands/files_final_path.h"
#include "commands/files_same_directory.h"
#include "commands/files_search.h"
#include "commands/files_standing.h"
#include "commands/support/long_command.h"
#include "host/files/dir_entry.h"
#include "host/windows/windows.h"

namespace commands {

namespace {

bool IsSeparator(char byte) { return byte == '\\' || byte == '/'; }

bool IsDirectory(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// The directory of a pattern, which stands before the name of whatever the pattern finds. Absolute
// or not as the pattern is.
std::string FolderOf(const SV::String& pattern) {
  return std::string(WithBackslash(SV::DirEntry(pattern).GetPath().GetFull()).View());
}

// What a command does with the entries of a tree, each told by its path and by the path that it
// has in the target. False ends the command.
class Steps {
 public:
  enum class Directory { kFailed, kEmpty, kEnter, kMade };

  virtual ~Steps() = default;
  LongCommand& Command() { return command_; }
  // A file or a link.
  virtual bool Leaf(const char* from, const char* to, bool isToDirectory) = 0;
  // A directory, before what is in it, and behind that. kEmpty: nothing is to be looked for in it;
  // kMade: the target was made for it.
  virtual Directory Before(const std::string& from, const std::string& to) = 0;
  virtual bool Behind(const std::string& from, const std::string& to) = 0;

 private:
  LongCommand command_;
};

// A walk through all that a pattern finds, directories with all that is in them, in the order of
// the searches. Trees may be deeper than the stack: what the walk must know of each level stands in
// a list, and the paths of all levels in two texts that grow and shrink. These move only in Stand,
// which tells the host where they are.
class Walk {
 public:
  Walk(const SV::String& pattern, const SV::String& target)
      : pattern_(pattern.View()), source_(FolderOf(pattern)), target_(target.View()) {}
  Walk(const Walk&) = delete;
  Walk& operator=(const Walk&) = delete;
  // Inner searches end before outer ones.
  ~Walk() {
    while (!levels_.empty()) levels_.pop_back();
  }

  bool Do(Steps& steps) {
    if (!Search(pattern_.c_str())) return false;
    Stand();
    while (true) {
      steps.Command().BetweenSteps();
      const std::size_t depth = levels_.size();
      if (!DoEntry(steps)) return false;
      if (levels_.size() > depth) continue;
      while (!levels_.back().search.Next()) {
        levels_.pop_back();
        if (levels_.empty()) return true;
        steps.Command().BetweenSteps();
        if (!DoBehind(steps)) return false;
      }
    }
  }

 private:
  struct Level {
    explicit Level(const char* pattern) : search(pattern) {}

    FileSearch search;
    std::size_t sourceLength = 0;  // of the texts in the directory searched
    std::size_t targetLength = 0;
    bool hasMade = false;  // the target of the entry at which the search stands
  };

  bool Search(const char* pattern) {
    levels_.emplace_back(pattern);
    return levels_.back().search.Found();
  }

  // The walk is at its innermost level from now on, whose directories' paths stand in the texts.
  void Stand() {
    levels_.back().sourceLength = source_.size();
    levels_.back().targetLength = target_.size();
    constexpr std::size_t kSeparatorsAndMask = 4;
    constexpr std::size_t kRoom = sizeof WIN32_FIND_DATAA::cFileName + kSeparatorsAndMask;
    for (std::string* text : {&source_, &target_}) {
      if (text->capacity() - text->size() >= kRoom) continue;
      StandAt(nullptr, {}, {});
      text->reserve(2 * (text->size() + kRoom));
    }
    // Where the entries of the first level go the script says; nothing was made for it.
    const std::string_view made = levels_.size() > 1 ? target_ : std::string_view();
    StandAt(levels_.back().search.Handle(), source_, made);
  }

  bool DoEntry(Steps& steps) {
    const FileSearch& entry = levels_.back().search;
    const std::string_view name = entry.Name();
    if (entry.IsDots()) return true;
    // A path with such a name would mean something else.
    if (name.find_first_of("\\/") != std::string_view::npos) return false;
    source_ += name;
    target_ += '\\';
    target_ += name;
    if (!entry.IsDirectory() || entry.IsLink()) {
      const bool success = steps.Leaf(source_.c_str(), target_.c_str(), entry.IsDirectory());
      StandInDirectory();
      return success;
    }
    const Steps::Directory directory = steps.Before(source_, target_);
    if (directory == Steps::Directory::kEnter || directory == Steps::Directory::kMade) {
      levels_.back().hasMade = directory == Steps::Directory::kMade;
      return Enter(name.size());
    }
    const bool success = directory == Steps::Directory::kEmpty && steps.Behind(source_, target_);
    StandInDirectory();
    return success;
  }

  // Goes on in the directory whose path stands in source_. The system's own separators stand in
  // front of its name from now on.
  bool Enter(std::size_t nameLength) {
    const std::size_t separator = source_.size() - nameLength - 1;
    source_ += "\\*";
    if (!Search(source_.c_str())) return false;
    source_.pop_back();
    const bool isBehindRoot = separator > 0 && IsSeparator(source_[separator - 1]);
    if (isBehindRoot) {
      source_.erase(separator, 1);
    } else {
      source_[separator] = systemSeparator_;
    }
    Stand();
    return true;
  }

  // All in a directory has been handled, and its search has ended.
  bool DoBehind(Steps& steps) {
    const std::string name(levels_.back().search.Name());
    StandInDirectory();
    source_.back() = '\\';
    Stand();
    source_ += name;
    target_ += '\\';
    target_ += name;
    if (levels_.back().hasMade) TakeTimes(target_, levels_.back().search.Entry());
    const bool success = steps.Behind(source_, target_);
    StandInDirectory();
    return success;
  }

  void StandInDirectory() {
    source_.resize(levels_.back().sourceLength);
    target_.resize(levels_.back().targetLength);
  }

  const char systemSeparator_ = SV::DirEntry("\\").GetFull().GetChar(0);
  std::string pattern_;
  std::string source_;  // of the directory searched, or of the entry handled
  std::string target_;
  std::deque<Level> levels_;
};

class DeleteSteps : public Steps {
 public:
  // Removes a link itself, whatever it leads to.
  bool Leaf(const char* from, const char*, bool isToDirectory) override {
    return (isToDirectory ? RemoveDirectoryA(from) : DeleteFileA(from)) != 0;
  }
  Directory Before(const std::string& from, const std::string&) override {
    bool isEmpty = false;
    if (!TestDirectoryEmpty(from.c_str(), isEmpty)) return Directory::kFailed;
    return isEmpty ? Directory::kEmpty : Directory::kEnter;
  }
  bool Behind(const std::string& from, const std::string&) override {
    return RemoveDirectoryA(from.c_str()) != 0;
  }
};

class CopySteps : public Steps {
 public:
  explicit CopySteps(CopyFlags flags) : flags_(flags) {}

  bool Leaf(const char* from, const char* to, bool) override {
    return CopyFileInSteps(from, to, flags_.keepExistingFiles, Command()) != 0;
  }
  Directory Before(const std::string&, const std::string& to) override {
    const bool created = CreateDirectoryA(to.c_str(), nullptr) != 0;
    if ((!created && !flags_.fillExistingFolders) || !IsDirectory(to)) return Directory::kFailed;
    return created ? Directory::kMade : Directory::kEnter;
  }
  bool Behind(const std::string&, const std::string&) override { return FinishCopy(); }

 private:
  CopyFlags flags_;
};

class MoveSteps : public Steps {
 public:
  bool Leaf(const char* from, const char* to, bool) override { return MoveFileA(from, to) != 0; }
  Directory Before(const std::string&, const std::string& to) override {
    const bool created = CreateDirectoryA(to.c_str(), nullptr) != 0;
    return created && IsDirectory(to) ? Directory::kMade : Directory::kFailed;
  }
  bool Behind(const std::string& from, const std::string&) override {
    return RemoveDirectoryA(from.c_str()) != 0;
  }
};

// How `path` goes on in `folder`; empty when it does not lie inside. Both are final paths.
std::string_view RestInside(std::string_view path, std::string_view folder) {
  if (folder.empty() || !path.starts_with(folder) || path.size() == folder.size()) return {};
  const std::string_view rest = path.substr(folder.size());
  if (IsSeparator(folder.back())) return rest;  // a root
  return IsSeparator(rest[0]) ? rest.substr(1) : std::string_view();
}

SV::String InLowerCase(std::string_view text) {
  SV::String lower;
  lower.Append(text.data(), static_cast<long>(text.size()));
  lower.ToLower();
  return lower;
}

// Whether a search with this mask finds the name. Both are in lower case. A search itself does not
// tell: where a folder cannot be read it finds nothing, and the tree would go into itself.
bool Finds(std::string_view mask, std::string_view name) {
  if (mask == "*.*") return true;
  std::size_t at = 0;
  std::size_t read = 0;
  // Where to go on when what stands behind the last star does not fit: the star takes one more.
  std::size_t star = std::string_view::npos;
  std::size_t starTook = 0;
  while (at < name.size()) {
    if (read < mask.size() && mask[read] == '*') {
      star = read++;
      starTook = at;
    } else if (read < mask.size() && (mask[read] == '?' || mask[read] == name[at])) {
      ++read;
      ++at;
    } else if (star != std::string_view::npos) {
      read = star + 1;
      at = ++starTook;
    } else {
      return false;
    }
  }
  return mask.find_first_not_of('*', read) == std::string_view::npos;
}

bool IsLink(const SV::String& path) {
  const DWORD attributes = GetFileAttributesA(path.GetStr());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

// Of a pattern, in lower case; empty when it has no wildcards.
SV::String MaskOf(const SV::String& pattern) {
  const std::string_view text = pattern.View();
  const std::string_view mask = text.substr(text.find_last_of("\\/") + 1);
  return mask.find_first_of("*?") == std::string_view::npos ? SV::String() : InLowerCase(mask);
}

bool GoesIntoItselfByPath(const SV::String& pattern, const SV::String& target) {
  const SV::String folderPath = SV::DirEntry(pattern).GetPath().GetFull();
  SV::String folder = FinalPath(folderPath);
  SV::String end = FinalPath(target);
  const bool areFinal = folder.Len() > 0 && end.Len() > 0;
  if (!areFinal) {  // then as the two are spelt
    folder = PlainPath(folderPath);
    end = PlainPath(target);
  }
  std::string_view name = RestInside(end.View(), folder.View());
  if (name.empty()) return false;
  name = name.substr(0, name.find_first_of("\\/"));
  const SV::String mask = MaskOf(pattern);
  if (mask.Len() > 0) return Finds(mask.View(), InLowerCase(name).View());
  // No wildcards: then the pattern is a path, in whatever case the file system knows it by.
  const SV::String found = areFinal ? FinalPath(pattern) : PlainPath(pattern);
  return RestInside(found.View(), folder.View()) == name && !IsLink(pattern);
}

// By what the directories are: the same one can be mounted under several names.
bool GoesIntoItselfByIdentity(Steps& steps, const SV::String& pattern, const SV::String& target) {
  const SV::String mask = MaskOf(pattern);
  if (mask.Len() == 0) return LiesInDirectory(target, pattern);
  const SV::String folder = SV::DirEntry(pattern).GetPath().GetFull();
  return LiesInDirectoryOf(target, folder, [&](std::string_view name) {
    steps.Command().BetweenSteps();
    return Finds(mask.View(), InLowerCase(name).View());
  });
}

// Whether the target lies in a directory that the pattern finds, so that a tree would go into
// itself. Asked before the first write: what is written there could be found and taken again.
bool GoesIntoItself(Steps& steps, const SV::String& pattern, const SV::String& target) {
  return GoesIntoItselfByPath(pattern, target) || GoesIntoItselfByIdentity(steps, pattern, target);
}

bool DoInto(Steps& steps, const SV::String& pattern, const SV::String& target) {
  if (!paths::IsPath(pattern) || !paths::IsPath(target)) return false;
  if (!IsDirectory(target.GetStr()) || GoesIntoItself(steps, pattern, target)) return false;
  return Walk(pattern, target).Do(steps);
}

}  // namespace

bool TestDirectoryEmpty(const char* pattern, bool& isEmpty) {
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
  if (!paths::IsPath(pattern)) return false;
  DeleteSteps steps;
  return Walk(pattern, {}).Do(steps);
}

bool CopyTree(const SV::String& pattern, const SV::String& target, CopyFlags flags) {
  CopySteps steps(flags);
  return DoInto(steps, pattern, target);
}

bool MoveTree(const SV::String& pattern, const SV::String& target) {
  MoveSteps steps;
  return DoInto(steps, pattern, target);
}

}  // namespace commands
