#include "tavhost/base/leftover_file.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

// Far more than a program has; a file beyond them is removed at an ordinary end only.
constexpr int kMost = 64;
std::array<std::atomic<char*>, kMost> paths;  // null: free

}  // namespace

LeftoverFile::LeftoverFile(const std::string& path) {
  auto* const copy = static_cast<char*>(std::malloc(path.size() + 1));
  if (!copy) return;
  std::memcpy(copy, path.c_str(), path.size() + 1);
  for (int i = 0; i < kMost; ++i) {
    char* none = nullptr;
    if (!paths[static_cast<std::size_t>(i)].compare_exchange_strong(none, copy)) continue;
    slot_ = i;
    return;
  }
  std::free(copy);
}

LeftoverFile::LeftoverFile(LeftoverFile&& other) noexcept : slot_(std::exchange(other.slot_, -1)) {}

LeftoverFile& LeftoverFile::operator=(LeftoverFile&& other) noexcept {
  std::swap(slot_, other.slot_);
  return *this;
}

LeftoverFile::~LeftoverFile() { Forget(); }

void LeftoverFile::Forget() noexcept {
  if (slot_ < 0) return;
  std::free(paths[static_cast<std::size_t>(slot_)].exchange(nullptr));
  slot_ = -1;
}

void LeftoverFile::RemoveAll() noexcept {
  for (const std::atomic<char*>& path : paths) {
    if (const char* const file = path.load()) std::remove(file);
  }
}
