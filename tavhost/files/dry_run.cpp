#include "tavhost/files/dry_run.h"

#include <algorithm>
#include <cstring>

#include "host/files/dir_entry.h"
#include "host/notation/kel_parser.h"
#include "host/notation/kel_value.h"
#include "host/notation/kel_value_set.h"
#include "host/script/script_result.h"
#include "host/script/type_check.h"
#include "host/windows/windows.h"
#include "tavhost/base/ascii.h"
#include "tavhost/base/string_of.h"
#include "tavhost/base/trace.h"
#include "tavhost/files/dir_entry_style.h"
#include "tavhost/script/ports/message.h"

#undef GetObject  // a macro of the Windows headers, a member of TavScriptResult

namespace {

bool IsSeparator(char c) { return c == '/' || c == '\\'; }

// Absolute, in the system's style, without `.`, `..` and separators that are there twice.
std::string Full(const std::string& path) {
  SV::DirEntry entry(base::StringOf(path));
  entry.ToAbs();
  const SV::String written = entry.GetFull();
  std::string_view rest = written.View();
  std::string result;
  while (!rest.empty()) {
    // A component with the separator before it.
    std::size_t end = 1;
    while (end < rest.size() && !IsSeparator(rest[end])) ++end;
    const std::string_view piece = rest.substr(0, end);
    rest.remove_prefix(end);
    const bool isShare = dir_entry::kSeparator == '\\' && result.empty();
    const std::string_view name = piece.substr(IsSeparator(piece[0]) ? 1 : 0);
    if (name == "..") {
      result.erase(std::min(result.find_last_of("/\\"), result.size()));
    } else if (name != "." && (!name.empty() || isShare)) {
      result += piece;
    }
  }
  if (result.empty() || result.back() == ':') result += dir_entry::kSeparator;
  return result;
}

// A path as its folder and its name, both as the system writes them.
std::pair<std::string, std::string> Parted(const std::string& path) {
  std::string full = Full(path);
  const std::size_t slash = full.find_last_of("/\\");
  if (slash == std::string::npos) return {"", full};
  return {full.substr(0, slash == 0 ? 1 : slash), full.substr(slash + 1)};
}

// `*` and `?` without regard to case; `*.*` matches every name.
bool Matches(std::string_view pattern, std::string_view name) {
  if (pattern == "*.*") pattern = "*";
  std::size_t p = 0;
  std::size_t n = 0;
  std::size_t star = std::string_view::npos;
  std::size_t mark = 0;
  while (n < name.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      mark = n;
    } else if (p < pattern.size() &&
               (pattern[p] == '?' || ascii::EqualIgnoringCase(pattern[p], name[n]))) {
      ++p;
      ++n;
    } else if (star != std::string_view::npos) {
      p = star + 1;
      n = ++mark;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == '*') ++p;
  return p == pattern.size();
}

bool IsDots(std::string_view name) { return name == "." || name == ".."; }

// A pattern that ends in `.` or `..` finds a directory under its own name, and that name behind the
// pattern's folder leads nowhere.
bool HidesItsName(std::string_view pattern) {
  return IsDots(pattern.substr(pattern.find_last_of("/\\") + 1));
}

// A name that another program has made may hold what a path cannot: a `\`, which separates here, or
// a wildcard.
bool IsNameable(const std::string& name) { return name.find_first_of("\\*?") == std::string::npos; }

std::string FolderOf(const std::string& pattern) {
  std::string folder(SV::DirEntry(base::StringOf(pattern)).GetPath().GetFull().View());
  if (!folder.ends_with('\\')) folder += '\\';
  return folder;
}

std::string AllIn(const std::string& path) { return path + "\\*"; }

// Whether `path` is `folder` or lies in it.
bool IsWithin(const std::string& path, const std::string& folder) {
  const std::string inner = Full(path);
  const std::string outer = Full(folder);
  return inner == outer ||
         (inner.size() > outer.size() && inner.compare(0, outer.size(), outer) == 0 &&
          IsSeparator(inner[outer.size()]));
}

void SetCode(TavScriptResult& result, bool success) {
  const long code = success ? 0 : 1;
  if (TavKelValueSet* variables = result.GetValueSet()) {
    variables->OldMoveValue("ecode", new TavKelValue(code), false);
  } else if (TavKelValue* object = result.GetObject()) {
    object->MoveValue("ecode", new TavKelValue(code));
  } else {
    result.GetText() += success ? " ecode:0" : " ecode:1";
  }
}

}  // namespace

bool DryRun::Handle(const char* command, TavKelParser& params, TavMessage& message) {
  return Handle(command, params, message.Result());
}

bool DryRun::Handle(const char* command, TavKelParser& params, TavScriptResult& result) {
  const bool copies = std::strcmp(command, "COPY_FILES") == 0;
  const bool moves = std::strcmp(command, "MOVE_FILES") == 0;
  if (!copies && !moves && std::strcmp(command, "DELETE_FILES") != 0) return false;
  trace::Call call("DryRun::Handle", command);
  call.Write();
  if (Tav_IsInvalidKelParamType(params, "", TavKelString, result, false)) return true;
  const bool hasTarget = copies || moves;
  if (hasTarget && Tav_IsInvalidKelParamType(params, "to", TavKelString, result, false)) {
    return true;
  }
  const std::string pattern(params.GetStrValue().View());
  const std::string target(hasTarget ? params.GetStrValue("to").View() : std::string_view());
  const CopyFlags flags{params.IsContained("no-overwrite"),
                        params.IsContained("overwrite-existing-dir")};
  const bool success = copies  ? Copy(pattern, target, flags)
                       : moves ? Move(pattern, target)
                               : Delete(pattern);
  SetCode(result, success);
  return true;
}

DryRun::Entry DryRun::EntryAt(const std::string& path) const {
  const auto [folder, name] = Parted(path);
  const auto inFolder = changed_.find(folder);
  if (inFolder != changed_.end()) {
    const auto found = inFolder->second.find(name);
    if (found != inFolder->second.end()) return found->second;
  }
  const DWORD attributes = GetFileAttributesA(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return {name, Kind::kNone};
  const bool isLink = (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
  const bool isDirectory = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  return {name,
          isLink        ? isDirectory ? Kind::kDirectoryLink : Kind::kLink
          : isDirectory ? Kind::kDirectory
                        : Kind::kFile,
          !isLink && (attributes & FILE_ATTRIBUTE_READONLY) != 0};
}

void DryRun::Put(const std::string& path, Entry entry) {
  const auto [folder, name] = Parted(path);
  entry.name = name;
  changed_[folder][name] = std::move(entry);
}

std::vector<DryRun::Entry> DryRun::List(const std::string& pattern, bool& matches) const {
  std::vector<Entry> entries;
  matches = false;
  if (pattern.empty() || IsSeparator(pattern.back())) return entries;
  if (HidesItsName(pattern)) {
    Entry own = EntryAt(pattern);
    matches = own.kind == Kind::kDirectory && !own.name.empty() &&
              EntryAt(FolderOf(pattern)).kind != Kind::kNone;
    own.isElsewhere = true;
    if (matches) entries.push_back(own);
    return entries;
  }
  WIN32_FIND_DATAA data;
  const HANDLE search = FindFirstFileA(pattern.c_str(), &data);
  const auto [folder, mask] = Parted(pattern);
  const bool isThere = EntryAt(folder).kind != Kind::kNone;
  const auto inFolder = changed_.find(folder);
  const auto changed = [&](const std::string& name) {
    return inFolder != changed_.end() && inFolder->second.count(name) != 0;
  };
  if (search != INVALID_HANDLE_VALUE) {
    do {
      const std::string name = data.cFileName;
      if (IsDots(name)) matches = isThere;
      if (IsDots(name) || changed(name)) continue;
      const bool isLink = (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
      const bool isDirectory = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
      entries.push_back({name,
                         isLink        ? isDirectory ? Kind::kDirectoryLink : Kind::kLink
                         : isDirectory ? Kind::kDirectory
                                       : Kind::kFile,
                         !isLink && (data.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0});
    } while (FindNextFileA(search, &data));
    FindClose(search);
  }
  if (inFolder != changed_.end()) {
    for (const auto& [name, entry] : inFolder->second) {
      if (entry.kind != Kind::kNone && Matches(mask, name)) entries.push_back(entry);
    }
    std::stable_sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
      const int order = ascii::CompareInUpperCase(a.name, b.name);  // as the system does
      return order != 0 ? order < 0 : a.name < b.name;
    });
  }
  // A directory that would be new is there to be searched.
  if ((Matches(mask, ".") || Matches(mask, "..")) && EntryAt(folder).kind == Kind::kDirectory) {
    matches = true;
  }
  matches = matches || !entries.empty();
  return entries;
}

namespace {

constexpr const char* kUnreachable = "no path leads to what has this name";
constexpr const char* kIsInside = "it lies in the directory that is to go there";
constexpr const char* kIsCurrent = "it is the current directory";

}  // namespace

bool DryRun::IsReachable(const Entry& entry) {
  return !entry.isElsewhere && IsNameable(entry.name);
}

bool DryRun::Delete(const std::string& pattern) {
  bool matches = false;
  const std::vector<Entry> entries = List(pattern, matches);
  if (!matches) return Fail(pattern, "nothing matches");
  const std::string folder = FolderOf(pattern);
  for (const Entry& entry : entries) {
    const std::string path = folder + entry.name;
    if (!IsReachable(entry)) return Fail(path, kUnreachable);
    if (entry.kind == Kind::kDirectory) {
      const bool hasEntries = !List(AllIn(path), matches).empty();
      if (hasEntries && !Delete(AllIn(path))) return false;
      if (Full(path) == Full(".")) return Fail(path, kIsCurrent);
      Say("delete the directory", path);
    } else {
      // Entries of a search do not always say whether they are protected; the file itself does.
      if (EntryAt(path).isReadOnly) return Fail(path, "it is protected against writing");
      Say("delete", path);
    }
    Put(path, {});
  }
  return true;
}

bool DryRun::Copy(const std::string& pattern, const std::string& target, CopyFlags flags) {
  const Kind kind = EntryAt(target).kind;
  if (kind != Kind::kDirectory && kind != Kind::kDirectoryLink) {
    return Fail(target, "there is no such directory");
  }
  bool matches = false;
  const std::vector<Entry> entries = List(pattern, matches);
  if (!matches) return Fail(pattern, "nothing matches");
  const std::string folder = FolderOf(pattern);
  for (const Entry& entry : entries) {
    if (!IsNameable(entry.name)) return Fail(folder + entry.name, kUnreachable);
    if (entry.isElsewhere && IsWithin(target, pattern)) return Fail(target, kIsInside);
    if (!CopyEntry(folder + entry.name, target + '\\' + entry.name, entry, flags)) return false;
  }
  return true;
}

bool DryRun::CopyEntry(const std::string& from, const std::string& to, const Entry& entry,
                       CopyFlags flags) {
  const Entry present = EntryAt(to);
  if (entry.kind == Kind::kDirectory) {
    if (Full(to) != Full(from) && IsWithin(to, from)) return Fail(to, kIsInside);
    if (present.kind == Kind::kNone) {
      Say("create the directory", to);
      Put(to, {{}, Kind::kDirectory});
    } else if (!flags.fillFolders) {
      return Fail(to, "it exists");
    } else if (present.kind == Kind::kDirectoryLink) {
      return Fail(to, "it is a link");
    }
    if (entry.isElsewhere) return Fail(from, kUnreachable);
    return Copy(AllIn(from), to, flags);
  }
  if (present.kind == Kind::kDirectory) return Fail(to, "it is a directory");
  if (present.kind != Kind::kNone) {
    if (Full(from) == Full(to)) return Fail(to, "it would be copied onto itself");
    if (flags.keepFiles) return Fail(to, "it exists");
    if (present.isReadOnly) return Fail(to, "it is protected against writing");
  }
  Say(present.kind == Kind::kNone ? "copy" : "copy, replacing what is there,", from, to);
  Put(to, EntryAt(from));  // a copy keeps the protection
  return true;
}

bool DryRun::Move(const std::string& pattern, const std::string& target) {
  const Kind kind = EntryAt(target).kind;
  if (kind != Kind::kDirectory && kind != Kind::kDirectoryLink) {
    return Fail(target, "there is no such directory");
  }
  bool matches = false;
  const std::vector<Entry> entries = List(pattern, matches);
  if (!matches) return Fail(pattern, "nothing matches");
  const std::string folder = FolderOf(pattern);
  for (const Entry& entry : entries) {
    if (!IsNameable(entry.name)) return Fail(folder + entry.name, kUnreachable);
    if (entry.isElsewhere && IsWithin(target, pattern)) return Fail(target, kIsInside);
    if (!MoveEntry(folder + entry.name, target + '\\' + entry.name, entry)) return false;
  }
  return true;
}

bool DryRun::MoveEntry(const std::string& from, const std::string& to, const Entry& entry) {
  const bool isItself = Full(from) == Full(to);
  if (EntryAt(to).kind != Kind::kNone && (entry.kind == Kind::kDirectory || !isItself)) {
    return Fail(to, "it exists");
  }
  if (entry.kind != Kind::kDirectory) {
    Say("move", from, to);
    if (!isItself) {
      const Entry moved = EntryAt(from);
      Put(from, {});
      Put(to, moved);
    }
    return true;
  }
  if (IsWithin(to, from)) return Fail(to, kIsInside);
  Say("create the directory", to);
  Put(to, {{}, Kind::kDirectory});
  if (entry.isElsewhere) return Fail(from, kUnreachable);
  if (!Move(AllIn(from), to)) return false;
  if (Full(from) == Full(".")) return Fail(from, kIsCurrent);
  Say("delete the directory", from);
  Put(from, {});
  return true;
}

void DryRun::Say(const char* what, const std::string& path) {
  report_("would " + std::string(what) + ' ' + Full(path) + '\n');
}

void DryRun::Say(const char* what, const std::string& from, const std::string& to) {
  report_("would " + std::string(what) + ' ' + Full(from) + " to " + Full(to) + '\n');
}

bool DryRun::Fail(const std::string& what, const char* reason) {
  report_("would fail at " + Full(what) + ": " + reason + '\n');
  return false;
}
