#include "tavhost/base/leftover_file.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace {

// Its path stands behind it.
struct Entry {
  LeftoverFile::Identity identity;

  char* Path() { return reinterpret_cast<char*>(this + 1); }
};

// Far more than a program has; a file beyond them is removed at an ordinary end only.
constexpr int kMost = 64;
std::array<std::atomic<Entry*>, kMost> entries;  // null: free

}  // namespace

LeftoverFile::LeftoverFile(const std::string& path)
    : path_(path), identity_(IdentityOf(path.c_str())) {
  void* const block = std::malloc(sizeof(Entry) + path.size() + 1);
  if (!block) return;
  auto* const entry = new (block) Entry{identity_};
  std::memcpy(entry->Path(), path.c_str(), path.size() + 1);
  for (int i = 0; i < kMost; ++i) {
    Entry* none = nullptr;
    if (!entries[static_cast<std::size_t>(i)].compare_exchange_strong(none, entry)) continue;
    slot_ = i;
    return;
  }
  std::free(block);
}

LeftoverFile::LeftoverFile(LeftoverFile&& other) noexcept
    : path_(std::exchange(other.path_, {})),
      identity_(other.identity_),
      slot_(std::exchange(other.slot_, -1)) {}

LeftoverFile& LeftoverFile::operator=(LeftoverFile&& other) noexcept {
  std::swap(path_, other.path_);
  std::swap(identity_, other.identity_);
  std::swap(slot_, other.slot_);
  return *this;
}

LeftoverFile::~LeftoverFile() { Forget(); }

void LeftoverFile::Remove() noexcept {
  if (!path_.empty()) RemoveIfSame(path_.c_str(), identity_);
  path_.clear();
  Forget();
}

void LeftoverFile::Forget() noexcept {
  if (slot_ < 0) return;
  std::free(entries[static_cast<std::size_t>(slot_)].exchange(nullptr));
  slot_ = -1;
}

void LeftoverFile::RemoveIfSame(const char* path, const Identity& identity) noexcept {
  if (identity == Identity() || identity == IdentityOf(path)) std::remove(path);
}

void LeftoverFile::RemoveAll() noexcept {
  for (const std::atomic<Entry*>& one : entries) {
    if (Entry* const entry = one.load()) RemoveIfSame(entry->Path(), entry->identity);
  }
}
