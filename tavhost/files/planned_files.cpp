#include "tavhost/files/planned_files.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "host/files/dir_entry.h"
#include "tavhost/base/ascii.h"
#include "tavhost/base/file_names.h"
#include "tavhost/files/dir_entry_style.h"
#include "tavhost/files/planned_paths.h"

using file_names::IsSeparator;
using planned_paths::AlikeUpTo;
using planned_paths::EndsInSeparator;
using planned_paths::Full;
using planned_paths::IsWithin;
using planned_paths::Join;
using planned_paths::MeansDirectory;
using planned_paths::Parted;
using planned_paths::ToPath;
using planned_paths::ToText;

namespace {

// Nothing can stand where there is no way to it.
bool IsMissing(const std::error_code& error) {
  return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory ||
         error == std::errc::filename_too_long || error == std::errc::invalid_argument;
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

PlannedFiles::~PlannedFiles() { dir_entry::SetCurrentDirectory(""); }

std::pair<PlannedFiles::Kind, bool> PlannedFiles::OnDisk(const std::string& path) {
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

bool PlannedFiles::IsLink(Kind kind) { return kind == Kind::kLink || kind == Kind::kDirectoryLink; }

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
