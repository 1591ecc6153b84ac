#include "tavhost/files/planned_files.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <tl/expected.hpp>

#include "host/files/dir_entry.h"
#include "tavhost/base/ascii.h"
#include "tavhost/base/file_names.h"
#include "tavhost/base/stop.h"
#include "tavhost/base/string_of.h"
#include "tavhost/files/dir_entry_style.h"

using dry_run::Act;
using file_names::IsDots;
using file_names::IsSeparator;

namespace {

constexpr const char* kNoPath = "no path leads to what has this name";
constexpr const char* kMeansDirectory = "a path that ends so means a directory";
constexpr const char* kNoMatch = "nothing matches";
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
constexpr const char* kUntold = "it cannot be told what is there";
constexpr const char* kUnreadable = "what is in it cannot be read";

// What scripts hold in their variables as well; longer files are told, but not kept.
constexpr long kKeptBytes = 64L << 20;

std::filesystem::path ToPath(const std::string& text) {
  return std::filesystem::path(std::u8string(text.begin(), text.end()));
}

std::string ToText(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

// Absolute, in the system's style, without `.`, `..` and separators that are there twice.
std::string Full(std::string_view path) {
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

// A whole path as its folder and its name.
std::pair<std::string, std::string> Parted(const std::string& full) {
  const std::size_t slash = full.find_last_of("/\\");
  if (slash == std::string::npos) return {"", full};
  const bool isRoot = slash == 0 || full[slash - 1] == ':';
  return {full.substr(0, isRoot ? slash + 1 : slash), full.substr(slash + 1)};
}

bool IsEqual(std::string_view a, std::string_view b) {
  return dir_entry::kIgnoresCase ? ascii::EqualIgnoringCase(a, b) : a == b;
}

// Whether `path` is `folder` or lies in it; both are whole.
bool IsWithin(std::string_view path, std::string_view folder) {
  if (path.size() < folder.size() || !IsEqual(path.substr(0, folder.size()), folder)) return false;
  return path.size() == folder.size() || IsSeparator(folder.back()) ||
         IsSeparator(path[folder.size()]);
}

bool EndsInSeparator(std::string_view text) { return !text.empty() && IsSeparator(text.back()); }

bool MeansDirectory(disk::Name name) { return name.isScripts && EndsInSeparator(name.text); }

// A path as a failure tells it: with the separator at its end, which makes it a directory's.
std::string Told(disk::Name name) {
  if (!name.isScripts) return name.text;
  std::string path = Full(name.text);
  if (EndsInSeparator(name.text) && !EndsInSeparator(path)) path += dir_entry::kSeparator;
  return path;
}

std::string Join(const std::string& folder, const std::string& name) {
  return EndsInSeparator(folder) ? folder + name : folder + dir_entry::kSeparator + name;
}

// A pattern that ends in `.` or `..` finds a directory under its own name, and that name behind the
// pattern's folder leads nowhere.
bool HidesItsName(std::string_view pattern) {
  return IsDots(pattern.substr(pattern.find_last_of("/\\") + 1));
}

// Nothing can stand where there is no way to it.
bool IsMissing(const std::error_code& error) {
  return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory ||
         error == std::errc::filename_too_long || error == std::errc::invalid_argument;
}

// What the disk has at a path.
std::pair<PlannedFiles::Kind, bool> OnDisk(const std::string& path) {
  using Kind = PlannedFiles::Kind;
  std::error_code error;
  const std::filesystem::path real = ToPath(disk::ShortPath(path));
  const std::filesystem::file_status status = std::filesystem::symlink_status(real, error);
  switch (status.type()) {
    case std::filesystem::file_type::regular:
      return {Kind::kFile, (status.permissions() & std::filesystem::perms::owner_write) ==
                               std::filesystem::perms::none};
    case std::filesystem::file_type::directory:
      return {Kind::kDirectory, false};
    case std::filesystem::file_type::symlink:
      return {std::filesystem::is_directory(real, error) ? Kind::kDirectoryLink : Kind::kLink,
              false};
    case std::filesystem::file_type::not_found:
      return {Kind::kNone, false};
    case std::filesystem::file_type::none:
      return {IsMissing(error) ? Kind::kNone : Kind::kUnknown, false};
    default:
      return {Kind::kOther, false};
  }
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

// The current directory, or one above it, by dots: no system moves it by such a name. Or a root.
bool IsUnmovable(disk::Name name, const std::string& path) {
  std::string_view text = name.text;
  while (EndsInSeparator(text)) text.remove_suffix(1);
  const bool isDots = IsDots(text.substr(text.find_last_of("/\\") + 1));
  return Parted(path).second.empty() ||
         (isDots && !disk::IsAbsolute(name.text) && IsWithin(Full("."), path));
}

bool IsLink(PlannedFiles::Kind kind) {
  return kind == PlannedFiles::Kind::kLink || kind == PlannedFiles::Kind::kDirectoryLink;
}

// How far two paths are alike, up to a separator or an end of both.
std::size_t AlikeUpTo(const std::string& a, const std::string& b) {
  std::size_t same = static_cast<std::size_t>(
      std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first - a.begin());
  const auto ends = [same](const std::string& path) {
    return path.size() == same || IsSeparator(path[same]);
  };
  if (ends(a) && ends(b)) return same;
  same = same == 0 ? std::string::npos : a.find_last_of("/\\", same - 1);
  return same == std::string::npos ? 0 : same;
}

}  // namespace

bool PlannedFiles::ByName::operator()(const std::string& a, const std::string& b) const {
  return dir_entry::kIgnoresCase ? ascii::CompareInUpperCase(a, b) < 0 : a < b;
}

// Paths are told apart by how they are written from the root on: where they begin is asked once, so
// that no later answer differs.
PlannedFiles::PlannedFiles() : root_(MakeNode({Kind::kDirectory})) {
  if (!disk::CurrentFolder().empty()) dir_entry::SetCurrentDirectory(Full("."));
}

PlannedFiles::Node* PlannedFiles::MakeNode(Node node) {
  nodes_.push_back(std::make_unique<Node>(std::move(node)));
  return nodes_.back().get();
}

std::optional<std::string> PlannedFiles::Reach(disk::Name name) {
  if (name.isScripts && !dir_entry::CanBePath(name.text)) return std::nullopt;
  const std::string whole = ByWayPassed(Full(name.text));
  // In a circle of links the disk knows what fails.
  std::string path = Final(whole, false).value_or(whole);
  const bool isRefused = std::any_of(searches_.begin(), searches_.end(), [&](const auto& search) {
    return !search->itself.empty() && IsWithin(path, search->entryPath);
  });
  if (isRefused || (!closedWay_.empty() && IsWithin(path, closedWay_))) return std::nullopt;
  return path;
}

// A tree command reaches a folder outside of the tree, as its target, once: a link on the way there
// may be taken away meanwhile by the command itself.
std::string PlannedFiles::ByWayPassed(const std::string& path) {
  const Passed* nearest = nullptr;
  for (const Passed& passed : passed_) {
    const bool isNearer = !nearest || passed.folder.size() > nearest->folder.size();
    if (isNearer && path.size() > passed.folder.size() && IsWithin(path, passed.folder)) {
      nearest = &passed;
    }
  }
  if (nearest) return nearest->final + path.substr(nearest->folder.size());
  if (searches_.size() != 1) return path;
  const std::string folder = Parted(path).first;
  const std::optional<std::string> final = Final(folder, true);
  // Without a link on the way nothing can change.
  if (final && *final != folder) passed_.push_back({folder, *final});
  return path;
}

// The nodes along a path, as far as there are any. A tree command asks for paths that are nearly
// alike, two at a time: of those asked for last the one that begins most like this is gone on from.
PlannedFiles::Way& PlannedFiles::WayTo(const std::string& path) {
  const auto alike = [&path](const Way& way) {
    return std::mismatch(way.path.begin(), way.path.end(), path.begin(), path.end()).second -
           path.begin();
  };
  Way* way = &ways_[0];
  std::ptrdiff_t same = -1;
  for (Way& other : ways_) {
    const std::ptrdiff_t length = alike(other);
    if (length > same) {
      way = &other;
      same = length;
    }
  }
  // One that shares little would be lost for what it was kept for.
  if (static_cast<std::size_t>(same) * 2 < way->path.size())
    way = &ways_[nextWay_++ % ways_.size()];
  const auto isPassed = [&](const Way::Stop& stop) {
    return stop.end <= static_cast<std::size_t>(same) &&
           (stop.end == path.size() || IsSeparator(path[stop.end]));
  };
  same = alike(*way);
  while (!way->stops.empty() && !isPassed(way->stops.back())) way->stops.pop_back();
  way->path = path;
  Node* node = way->stops.empty() ? root_ : way->stops.back().node;
  std::size_t at = way->stops.empty() ? 0 : way->stops.back().end;
  while (node->kind != Kind::kNone && at < path.size()) {
    while (at < path.size() && IsSeparator(path[at])) ++at;
    const std::size_t end = std::min(path.find_first_of("/\\", at), path.size());
    const auto entry = node->entries.find(path.substr(at, end - at));
    if (end == at || entry == node->entries.end()) break;
    node = entry->second;
    at = end;
    way->stops.push_back({end, node});
  }
  return *way;
}

std::optional<std::string> PlannedFiles::Final(const std::string& path, bool follow) {
  if (dir_entry::kSeparator != '/') return path;  // the disk is not asked for links there
  constexpr int kLongestChain = 40;               // of links, as the system takes it
  std::size_t known = 0;
  for (const std::string& plain : plainPaths_) known = std::max(known, AlikeUpTo(plain, path));
  std::string final = path.substr(0, known);
  std::string rest = path.substr(known);
  int links = 0;
  for (std::size_t at = 0; at < rest.size();) {
    const std::size_t begin = std::min(rest.find_first_not_of('/', at), rest.size());
    const std::size_t end = std::min(rest.find('/', begin), rest.size());
    const std::string_view name = std::string_view(rest).substr(begin, end - begin);
    at = end;
    if (name.empty() || name == ".") continue;
    if (name == "..") {
      final.erase(std::min(final.rfind('/'), final.size()));
      continue;
    }
    const std::size_t above = final.size();
    (final += '/') += name;
    const bool isLast = rest.find_first_not_of('/', end) == std::string::npos;
    if (isLast && !follow) break;
    const Found found = FindItself(final);
    if (!IsLink(found.kind) || found.real.empty()) continue;
    std::error_code error;
    const auto leads = std::filesystem::read_symlink(ToPath(disk::ShortPath(found.real)), error);
    if (error || ++links > kLongestChain) return std::nullopt;
    const std::string text = ToText(leads);
    final.resize(text.starts_with('/') ? 0 : above);
    rest = text + rest.substr(end);
    at = 0;
  }
  if (final.empty()) final = "/";
  const std::string folder = Parted(final).first;
  if (links == 0 && known >= folder.size()) return final;
  const bool isKnown = std::any_of(plainPaths_.begin(), plainPaths_.end(), [&](const auto& plain) {
    return AlikeUpTo(plain, folder) == folder.size();
  });
  if (!isKnown) {
    // One that goes on where another ends takes its place.
    auto place = std::find_if(plainPaths_.begin(), plainPaths_.end(), [&](const auto& plain) {
      return AlikeUpTo(plain, folder) * 2 > plain.size();
    });
    if (place == plainPaths_.end())
      place =
          plainPaths_.begin() + static_cast<std::ptrdiff_t>(nextPlainPath_++ % plainPaths_.size());
    *place = folder;
  }
  return final;
}

std::string PlannedFiles::Followed(const std::string& path) {
  return Final(path, true).value_or(path);
}

bool PlannedFiles::LeadsToFile(const std::string& link) {
  const Kind kind = FindItself(Followed(link)).kind;
  return kind == Kind::kFile || kind == Kind::kOther;
}

bool PlannedFiles::LeadsNowhere(const std::string& link) {
  const auto final = Final(link, true);
  if (!final || FindItself(*final).kind != Kind::kNone) return false;
  const Kind above = FindItself(Parted(*final).first).kind;
  return above == Kind::kDirectory || above == Kind::kNone;
}

PlannedFiles::Found PlannedFiles::Find(const std::string& path) {
  Found found = FindItself(path);
  if (IsLink(found.kind)) {
    const bool isDirectory = FindItself(Followed(path)).kind == Kind::kDirectory;
    found.kind = isDirectory ? Kind::kDirectoryLink : Kind::kLink;
  }
  return found;
}

PlannedFiles::Found PlannedFiles::FindItself(const std::string& path) {
  const Way& way = WayTo(path);
  Found found;
  std::string_view rest = path;
  if (way.stops.empty()) {
    found.real = path;
  } else {
    Node& node = *way.stops.back().node;
    if (node.kind == Kind::kNone) return {};
    rest.remove_prefix(way.stops.back().end);
    const bool isThere = rest.find_first_not_of("/\\") == std::string_view::npos;
    found.real = node.real;
    if (isThere && !IsSeparator(path.back())) {
      found.kind = node.kind;
      found.isReadOnly = node.isReadOnly;
      found.node = &node;
      return found;
    }
    if (isThere) found.node = &node;
    if (node.real.empty()) return found;
    if (EndsInSeparator(found.real)) found.real.pop_back();
    found.real += rest;
  }
  if (rest.find_first_not_of("/\\") == std::string_view::npos && way.stops.empty()) {
    found.node = root_;
  }
  const auto [kind, isReadOnly] = OnDisk(found.real);
  found.kind = kind;
  found.isReadOnly = isReadOnly;
  return found;
}

PlannedFiles::Node& PlannedFiles::NodeOfFolder(const std::string& path) {
  const Way& way = WayTo(path);
  Node* node = way.stops.empty() ? root_ : way.stops.back().node;
  std::size_t at = way.stops.empty() ? 0 : way.stops.back().end;
  std::string real = way.stops.empty() ? path.substr(0, path.find_first_of("/\\") + 1) : node->real;
  while (at < path.size()) {
    const std::size_t end = std::min(path.find_first_of("/\\", at), path.size());
    const std::string name = path.substr(at, end - at);
    const bool isDrive = at == 0;
    at = end + 1;
    if (name.empty()) continue;
    if (!isDrive && !real.empty()) real = Join(real, name);
    Node*& entry = node->entries[name];
    if (!entry) {
      const Kind kind = OnDisk(real).first;
      const bool isThere = kind != Kind::kNone;
      const bool isTold = isThere && kind != Kind::kUnknown;
      entry = MakeNode({isTold ? kind : Kind::kDirectory, false, isThere ? real : ""});
    }
    node = entry;
    real = node->real;
  }
  return *node;
}

PlannedFiles::Node& PlannedFiles::Put(const std::string& path, Node node) {
  const auto [folder, name] = Parted(path);
  Node*& entry = NodeOfFolder(folder).entries[name];
  entry = MakeNode(std::move(node));
  for (Way& way : ways_) {
    while (!way.stops.empty() && way.stops.back().end > folder.size()) way.stops.pop_back();
  }
  for (std::string& plain : plainPaths_) {
    if (IsWithin(plain, path)) plain = folder;
  }
  return *entry;
}

bool PlannedFiles::IsDirectory(const std::string& path) {
  const Kind kind = Find(path).kind;
  return kind == Kind::kDirectory || kind == Kind::kDirectoryLink;
}

std::string PlannedFiles::RealFolderOf(std::string path) {
  while (true) {
    const Found found = Find(path);
    const std::string above = Parted(path).first;
    if ((!found.real.empty() && found.kind != Kind::kNone) || above == path) return found.real;
    path = above;
  }
}

bool PlannedFiles::IsNameTooLong(const std::string& path) {
  constexpr std::size_t kTakenEverywhere = 128;  // bytes
  const auto [folder, name] = Parted(path);
  if (name.size() <= kTakenEverywhere) return false;
  std::error_code error;
  const std::string place = Join(RealFolderOf(folder), name);
  static_cast<void>(std::filesystem::symlink_status(ToPath(disk::ShortPath(place)), error));
  return error == std::errc::filename_too_long;
}

bool PlannedFiles::IsOneFile(const Found& first, const Found& second) {
  const auto isItself = [](const Found& found) {
    return !found.real.empty() && !(found.node && found.node->isCopy);
  };
  std::error_code error;
  return isItself(first) && isItself(second) &&
         std::filesystem::equivalent(ToPath(first.real), ToPath(second.real), error);
}

// What is no file is not asked.
bool PlannedFiles::IsReadableFile(const Found& found) {
  return found.kind != Kind::kFile || found.real.empty() ||
         disk::MayRead(disk::ShortPath(found.real));
}

PlannedFiles::Entry PlannedFiles::At(disk::Name name) {
  const auto path = Reach(name);
  if (!path) return {};
  const Found found = Find(*path);
  const bool isDirectory = found.kind == Kind::kDirectory || found.kind == Kind::kDirectoryLink;
  if (MeansDirectory(name) && !isDirectory) return {};
  return {Parted(*path).second, found.kind, found.isReadOnly};
}

bool PlannedFiles::IsFile(disk::Name name) {
  const auto path = Reach(name);
  if (!path || MeansDirectory(name)) return false;
  const Found found = Find(*path);
  if (found.kind == Kind::kLink) return LeadsToFile(*path);
  return found.kind == Kind::kFile || found.kind == Kind::kOther;
}

disk::ReadCode PlannedFiles::Read(disk::Name name, SV::String& contents) {
  const auto path = Reach(name);
  if (!path) return disk::kNotFound;
  const Found found = FindItself(Followed(*path));
  if (found.kind == Kind::kNone) return disk::kNotFound;
  if (MeansDirectory(name)) {
    return FindItself(*path).kind == Kind::kFile ? disk::kNotFound : disk::kUnreadable;
  }
  if (found.node && found.real.empty() && found.kind == Kind::kFile) {
    if (!found.node->isKnown) return disk::kTooLarge;
    contents = found.node->bytes;
    return disk::kRead;
  }
  return found.real.empty() ? disk::kUnreadable : disk::Read({found.real.c_str(), false}, contents);
}

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
    const std::string& entry = search->itself.empty() ? search->entryPath : search->itself;
    return !entry.empty() && IsWithin(folder, entry);
  });
}

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

bool PlannedFiles::GoesIntoItself(const char* pattern, const char* target) {
  const auto reached = Reach({target});
  if (!reached || !IsDirectory(*reached)) return false;
  const base::Result<Search*> opened = OpenSearch(pattern);
  if (!opened) return false;
  Search* const search = *opened;
  const std::string path = Followed(*reached);
  bool isInside = false;
  while (const Entry* entry = Next(*search)) {
    const std::string& own = search->itself.empty() ? search->entryPath : search->itself;
    if (entry->kind == Kind::kDirectory && !own.empty() && IsWithin(path, own)) isInside = true;
  }
  Close(search);
  return isInside;
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

// Keeps what is written where a later step can read it.
class PlannedOutput : public disk::OutputFile {
 public:
  PlannedOutput(PlannedFiles& files, std::string path, PlannedFiles::Kind before, bool append,
                PlannedFiles::Appears when)
      : files_(files),
        path_(std::move(path)),
        when_(when),
        existed_(before != PlannedFiles::Kind::kNone),
        isDevice_(before == PlannedFiles::Kind::kOther),
        isAppending_(append && existed_) {
    if (isAppending_ && !isDevice_) {
      isKnown_ = files_.Read({path_.c_str(), false}, bytes_) == disk::kRead;
    }
    if (when == PlannedFiles::Appears::kAtOnce) Appear();
    files_.outputs_.push_back(this);
  }
  // What was not whole is not stored.
  ~PlannedOutput() override {
    auto& outputs = files_.outputs_;
    outputs.erase(std::find(outputs.begin(), outputs.end(), this));
  }

  // A name of the area is one whatever its case.
  bool IsAt(const std::string& path) const {
    return when_ == PlannedFiles::Appears::kAtClose ? ascii::EqualIgnoringCase(path, path_)
                                                    : path == path_;
  }

  long Write(const char* data, long length) override {
    count_ += length;
    isKnown_ = isKnown_ && bytes_.Len() + length <= kKeptBytes;
    if (isKnown_) bytes_.Append(data, length);
    if (node_) Keep();
    if (isGrowing_) dry_run::Tell({Act::kAppend, path_, {}, length});
    return length;
  }

  // From now on each text is in the file at once, and told then; but a file that appears when it is
  // closed is told then, as a whole.
  base::Result<void> StayOpen() override {
    if (when_ == PlannedFiles::Appears::kAtClose) return {};
    if (!node_) Appear();
    isGrowing_ = true;
    dry_run::Tell({Act::kOpen, path_, {}, -1, IsReplacing()});
    return {};
  }

  base::Result<bool> Close() override {
    if (isGrowing_) return true;
    if (!node_) Appear();
    const Act act = isAppending_ ? Act::kAppend : Act::kWrite;
    dry_run::Tell({act, path_, {}, count_, IsReplacing()});
    return true;
  }

 private:
  bool IsReplacing() const { return existed_ && !isAppending_ && !isDevice_; }
  void Appear() {
    if (isDevice_) return;
    node_ = &files_.Put(path_, {PlannedFiles::Kind::kFile});
    Keep();
  }
  void Keep() {
    node_->bytes = isKnown_ ? bytes_ : SV::String();
    node_->isKnown = isKnown_;
  }

  PlannedFiles& files_;
  std::string path_;
  PlannedFiles::Appears when_;
  bool existed_;
  bool isDevice_;
  bool isAppending_;
  bool isGrowing_ = false;
  PlannedFiles::Node* node_ = nullptr;
  SV::String bytes_;
  std::int64_t count_ = 0;
  bool isKnown_ = true;
};

PlannedFiles::~PlannedFiles() { dir_entry::SetCurrentDirectory(""); }

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
