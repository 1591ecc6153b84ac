#include <algorithm>
#include <filesystem>
#include <system_error>
#include <tl/expected.hpp>

#include "tavhost/base/ascii.h"
#include "tavhost/base/file_names.h"
#include "tavhost/base/stop.h"
#include "tavhost/files/dir_entry_style.h"
#include "tavhost/files/planned_files.h"
#include "tavhost/files/planned_paths.h"

// What is in directories, and the searches that go through them.

using file_names::IsDots;
using planned_paths::EndsInSeparator;
using planned_paths::Full;
using planned_paths::IsWithin;
using planned_paths::Join;
using planned_paths::Parted;
using planned_paths::Told;
using planned_paths::ToPath;
using planned_paths::ToText;

namespace {

constexpr const char* kNoMatch = "nothing matches";

// A pattern that ends in `.` or `..` finds a directory under its own name, and that name behind the
// pattern's folder leads nowhere.
bool HidesItsName(std::string_view pattern) {
  return IsDots(pattern.substr(pattern.find_last_of("/\\") + 1));
}

// Whether a directory can be read. What is made up has no place.
bool IsReadable(const std::string& real) {
  std::error_code error;
  if (!real.empty()) std::filesystem::directory_iterator(ToPath(disk::ShortPath(real)), error);
  return !error;
}

// What a directory says of its entry; nothing when it does not, and the entry cannot be asked.
std::optional<PlannedFiles::Kind> KindOf(const std::filesystem::directory_entry& entry) {
  using Kind = PlannedFiles::Kind;
  std::error_code error;
  const bool isLink = entry.is_symlink(error);
  const bool isDirectory = !error && !isLink && entry.is_directory(error);
  const bool isGone = error == std::errc::no_such_file_or_directory;
  if (error && !isGone) return std::nullopt;
  return isLink ? Kind::kLink : isDirectory ? Kind::kDirectory : Kind::kFile;
}

}  // namespace

std::optional<std::vector<PlannedFiles::Entry>> PlannedFiles::EntriesOf(const std::string& folder) {
  const std::string path = Followed(Full(folder));
  return EntriesOf(path, Find(path));
}

std::optional<std::vector<PlannedFiles::Entry>> PlannedFiles::EntriesOf(const std::string& path,
                                                                        const Found& folder) {
  std::vector<Entry> entries;
  const auto isChanged = [&folder](const std::string& name) {
    return folder.node && folder.node->entries.count(name) != 0;
  };
  std::error_code error;
  if (folder.kind != Kind::kNone && !folder.real.empty()) {
    std::filesystem::directory_iterator entry(ToPath(disk::ShortPath(folder.real)), error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
      stop::ThrowIfRequested();
      const std::string name = ToText(entry->path().filename());
      if (isChanged(name)) continue;
      auto [kind, isReadOnly] = OnDisk(Join(folder.real, name));
      if (kind == Kind::kNone || kind == Kind::kUnknown) {
        const std::optional<Kind> told = KindOf(*entry);
        if (!told) return std::nullopt;
        kind = *told;
      }
      if (IsLink(kind)) kind = Find(Join(path, name)).kind;
      entries.push_back({name, kind, isReadOnly});
    }
    if (error) return std::nullopt;
  }
  if (folder.node) {
    for (const auto& [name, node] : folder.node->entries) {
      if (node->kind == Kind::kNone) continue;
      const Kind kind = IsLink(node->kind) ? Find(Join(path, name)).kind : node->kind;
      entries.push_back({name, kind, node->isReadOnly});
    }
  }
  std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
    const int order = ascii::CompareInUpperCase(a.name, b.name);  // as the system does
    return order != 0 ? order < 0 : a.name < b.name;
  });
  return entries;
}

base::Result<PlannedFiles::Search*> PlannedFiles::OpenSearch(const char* pattern) {
  const auto nothing = base::Failure(kNoMatch, Told({pattern}));
  if (!dir_entry::CanBePattern(pattern) || EndsInSeparator(pattern)) return nothing;
  const std::string_view text = pattern;
  const auto [written, mask] = Parted(Full(text));
  const std::string folder = Followed(written);
  auto search = std::make_unique<Search>();
  if (HidesItsName(text)) {
    if (mask.empty() || !IsDirectory(Followed(Full(text)))) return nothing;
    const std::size_t separator = text.find_last_of("/\\");
    search->folder =
        Followed(Full(separator == std::string_view::npos ? "." : text.substr(0, separator + 1)));
    if (!IsDirectory(search->folder)) return nothing;
    search->entries.push_back({mask, Kind::kDirectory, false});
    search->itself = Followed(Full(text));
  } else {
    if (!Reach({folder.c_str(), false})) return nothing;
    const Found in = Find(folder);
    if (in.kind == Kind::kUnknown) return base::Failure(kUntold, folder);
    if (in.kind != Kind::kDirectory && in.kind != Kind::kDirectoryLink) return nothing;
    search->folder = folder;
    if (!file_names::HasWildcard(mask)) {
      Entry entry = At({pattern});
      if (!IsReadable(in.real)) return base::Failure(kUnreadable, folder);
      if (entry.kind == Kind::kUnknown) return base::Failure(kUntold, Told({pattern}));
      if (entry.kind != Kind::kNone) search->entries.push_back(std::move(entry));
    } else {
      for (const char* dots : {".", ".."}) {
        if (file_names::MatchesWildcard(dots, mask)) {
          search->entries.push_back({dots, Kind::kDirectory, false});
        }
      }
      std::optional<std::vector<Entry>> entries = EntriesOf(folder, in);
      if (!entries) return base::Failure(kUnreadable, folder);
      for (Entry& entry : *entries) {
        if (file_names::MatchesWildcard(entry.name, mask)) {
          search->entries.push_back(std::move(entry));
        }
      }
    }
  }
  if (search->entries.empty()) return nothing;
  searches_.push_back(std::move(search));
  return searches_.back().get();
}

const PlannedFiles::Entry* PlannedFiles::Next(Search& search) {
  if (search.next == search.entries.size()) return nullptr;
  const Entry& entry = search.entries[search.next++];
  search.entryPath = IsDots(entry.name) ? "" : Join(search.folder, entry.name);
  return &entry;
}

bool PlannedFiles::IsOpen(const Search* search) const {
  return std::any_of(searches_.begin(), searches_.end(),
                     [search](const auto& open) { return open.get() == search; });
}

void PlannedFiles::Close(Search* search) {
  const auto found = std::find_if(searches_.rbegin(), searches_.rend(),
                                  [search](const auto& open) { return open.get() == search; });
  if (found != searches_.rend()) searches_.erase(std::next(found).base());
  if (!searches_.empty()) return;
  closedWay_.clear();
  passed_.clear();
}

// Whether a search stands at an entry that holds this folder: then a tree would go into itself.
bool PlannedFiles::IsInSearched(const std::string& folder) const {
  return std::any_of(searches_.begin(), searches_.end(), [&folder](const auto& search) {
    return !search->Place().empty() && IsWithin(folder, search->Place());
  });
}

bool PlannedFiles::GoesIntoItself(const char* pattern, const char* target) {
  const auto reached = Reach({target});
  if (!reached || !IsDirectory(*reached)) return false;
  const base::Result<Search*> opened = OpenSearch(pattern);
  if (!opened) return false;
  Search* const search = *opened;
  const std::string path = Followed(*reached);
  bool isInside = false;
  while (const Entry* entry = Next(*search)) {
    const std::string& place = search->Place();
    if (entry->kind == Kind::kDirectory && !place.empty() && IsWithin(path, place)) isInside = true;
  }
  Close(search);
  return isInside;
}
