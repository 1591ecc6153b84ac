#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "tavhost/base/memory_budget.h"

namespace base {

// Memory that is only given back all at once, for the tables of one document. Nothing in it is
// destroyed, so it holds plain data only. Throws std::bad_alloc when there is no memory.
class Arena {
 public:
  // Without a budget there is no limit.
  explicit Arena(MemoryBudget* budget = nullptr) : budget_(budget) {}
  Arena(const Arena&) = delete;
  Arena& operator=(const Arena&) = delete;
  ~Arena();

  // Bytes for one table, aligned to 8, which is enough for every kind of table.
  void* Allocate(std::size_t bytes) {
    bytes = (bytes + 7) & ~std::size_t{7};
    if (bytes > static_cast<std::size_t>(end_ - at_)) Grow(bytes);
    void* given = at_;
    at_ += bytes;
    return given;
  }

  // The items in a table of their own; null when there are none.
  template <typename T>
  const T* Copy(const T* from, std::size_t count) {
    static_assert(std::is_trivially_copyable_v<T> && alignof(T) <= 8);
    if (count == 0) return nullptr;
    T* const to = static_cast<T*>(Allocate(count * sizeof(T)));
    // Most tables are short: a loop beats a call.
    for (std::size_t i = 0; i < count; ++i) to[i] = from[i];
    return to;
  }

  // About how much more will be asked for; the next chunk is made for it.
  void Expect(std::size_t bytes) { expected_ = bytes; }
  // Bytes handed out so far.
  std::size_t Used() const { return usedBefore_ + static_cast<std::size_t>(at_ - begin_); }

 private:
  // The head of a block of memory; what the block gives out follows it.
  struct Chunk {
    Chunk* previous;
    std::size_t bytes;
  };

  // Begins a new chunk with room for at least so many bytes; what was left of the old one is lost.
  void Grow(std::size_t bytes);

  // Enough for the tables of a command, which then need no memory of their own.
  static constexpr std::size_t kInlineBytes = 768;

  alignas(8) char inline_[kInlineBytes];
  // Of the chunk in use, at first `inline_`: where it begins, where the next table goes, its end.
  char* begin_ = inline_;
  char* at_ = inline_;
  char* end_ = inline_ + kInlineBytes;
  Chunk* last_ = nullptr;       // the newest; each leads to the one before it
  std::size_t usedBefore_ = 0;  // bytes handed out of earlier chunks
  std::size_t expected_ = 0;    // what Expect said, until a chunk is made for it
  MemoryBudget* budget_;        // not owned; null: no limit
};

}  // namespace base
