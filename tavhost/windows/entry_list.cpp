#include "tavhost/windows/entry_list.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>

#include "host/windows/files.h"
#include "tavhost/base/ascii.h"
#include "tavhost/base/file_names.h"
#include "tavhost/base/long_work.h"
#include "tavhost/base/stop.h"
#include "tavhost/base/uninterrupted_posix.h"

namespace windows {

namespace {

constexpr std::size_t kReadAtOnce = std::size_t{128} << 10;

using file_names::IsDots;
using file_names::MatchesWildcard;

// Nothing when it cannot be told.
std::optional<EntryType> TypeOf(int directory, const dirent64& entry) {
  switch (entry.d_type) {
    case DT_DIR:
      return EntryType::kDirectory;
    case DT_LNK:
      return EntryType::kLink;
    case DT_UNKNOWN: {
      struct stat status;
      if (base::StatusAt(directory, entry.d_name, status, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno != ENOENT) return std::nullopt;
        return EntryType::kOther;  // gone meanwhile
      }
      if (S_ISDIR(status.st_mode)) return EntryType::kDirectory;
      return S_ISLNK(status.st_mode) ? EntryType::kLink : EntryType::kOther;
    }
    default:
      return EntryType::kOther;
  }
}

std::uint64_t KeyOf(std::string_view name, std::size_t from) {
  std::uint64_t key = 0;
  for (std::size_t i = from; i < from + sizeof key; ++i) {
    key = key << 8 | (i < name.size() ? static_cast<unsigned char>(ascii::ToUpper(name[i])) : 0);
  }
  return key;
}

}  // namespace

bool EntryList::Read(int directory, std::string_view pattern) {
  const auto buffer = std::make_unique_for_overwrite<char[]>(kReadAtOnce);
  const bool all = pattern == "*" || pattern == "*.*";
  for (const std::string_view dots : {".", ".."}) {
    if (all || MatchesWildcard(dots, pattern)) Add(dots, EntryType::kDirectory);
  }
  const std::size_t dotCount = Count();
  base::LongWork work("Reading a folder", "", base::LongWork::Unit::kThings);
  while (true) {
    const auto bytes =
        base::Uninterrupted([&] { return getdents64(directory, buffer.get(), kReadAtOnce); });
    if (bytes < 0) return false;
    if (bytes == 0) break;
    work.At(Count());
    for (char* read = buffer.get(); read < buffer.get() + bytes;) {
      const auto* entry = reinterpret_cast<const dirent64*>(read);
      read += entry->d_reclen;
      const std::string_view name = entry->d_name;
      if (IsDots(name) || !(all || MatchesWildcard(name, pattern))) continue;
      const auto type = TypeOf(directory, *entry);
      if (!type) return false;
      if (name.size() > kLongestFileName) {
        errno = ENAMETOOLONG;
        return false;
      }
      Add(name, *type);
    }
  }
  if (Count() > dotCount) Sort();
  return true;
}

void EntryList::Add(std::string_view name, EntryType type) {
  const auto offset = names_.size();
  names_.insert(names_.end(), name.data(), name.data() + name.size());
  names_.push_back('\0');
  entries_.push_back(
      {0, static_cast<std::uint32_t>(offset), static_cast<std::uint16_t>(name.size()), type});
}

void EntryList::Sort() {
  auto begin = entries_.begin();
  while (begin != entries_.end() && IsDots(NameOf(*begin))) ++begin;
  if (begin == entries_.end()) return;
  // Names of one directory often begin alike; what they share says nothing about their order.
  const std::string_view first = NameOf(*begin);
  std::size_t shared = first.size();
  for (auto entry = begin; entry != entries_.end() && shared > 0; ++entry) {
    const std::string_view name = NameOf(*entry);
    shared = std::min(shared, name.size());
    std::size_t same = 0;
    while (same < shared && ascii::EqualIgnoringCase(name[same], first[same])) ++same;
    shared = same;
  }
  for (auto entry = begin; entry != entries_.end(); ++entry) {
    entry->key = KeyOf(NameOf(*entry), shared);
  }
  std::uint32_t compared = 0;
  const auto before = [this, shared, &compared](const Record& a, const Record& b) {
    constexpr std::uint32_t kBetweenLooks = 1u << 16;
    if (++compared % kBetweenLooks == 0) stop::ThrowIfRequested();
    if (a.key != b.key) return a.key < b.key;
    const std::string_view nameA = NameOf(a);
    const std::string_view nameB = NameOf(b);
    const std::size_t skip = std::min({shared + sizeof a.key, nameA.size(), nameB.size()});
    if (const int order = ascii::CompareInUpperCase(nameA.substr(skip), nameB.substr(skip)))
      return order < 0;
    return nameA < nameB;
  };
  // By reference: a copy of the order would count by itself.
  if (!std::is_sorted(begin, entries_.end(), std::ref(before))) {
    std::sort(begin, entries_.end(), std::ref(before));
  }
}

Entry EntryList::At(std::size_t index) const {
  return {NameOf(entries_[index]), entries_[index].type};
}

}  // namespace windows
