#pragma once

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstring>
#include <type_traits>
#include <utility>

#include "tavhost/base/buffer_memory.h"
#include "tavhost/base/memory_budget.h"

namespace kel {

// A growing array of plain data, also used as a stack. Throws std::bad_alloc when there is no
// memory. When it grows, its items move: references into it are then no good any more.
template <typename T>
class Table {
  static_assert(std::is_trivially_copyable_v<T> && alignof(T) <= 8);

 public:
  // Without a budget there is no limit.
  explicit Table(base::MemoryBudget* budget = nullptr) : budget_(budget) {}
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;
  ~Table() { Clear(); }

  T* Data() const noexcept { return begin_; }
  std::size_t Count() const noexcept { return static_cast<std::size_t>(end_ - begin_); }
  std::size_t Capacity() const noexcept { return static_cast<std::size_t>(limit_ - begin_); }
  T& Last() const noexcept {
    assert(end_ != begin_);
    return end_[-1];
  }
  T& operator[](std::size_t index) const noexcept { return begin_[index]; }

  // A new last one, for the caller to fill.
  T& Push() {
    if (end_ == limit_) [[unlikely]]
      Reserve(std::max<std::size_t>(Count() * 2, 16));
    return *end_++;
  }
  // Drops all items from number `count` on; their room stays.
  void Cut(std::size_t count) noexcept { end_ = begin_ + count; }

  void Reserve(std::size_t capacity) {
    if (capacity <= Capacity()) return;
    const std::size_t count = Count();
    if (budget_) budget_->Take(capacity * sizeof(T));
    auto* const grown = static_cast<T*>(buffer_memory::Allocate(capacity * sizeof(T)));
    if (count > 0) std::memcpy(static_cast<void*>(grown), begin_, count * sizeof(T));
    Clear();
    begin_ = grown;
    end_ = grown + count;
    limit_ = grown + capacity;
  }

  // Empties it and gives the memory back.
  void Clear() noexcept {
    if (begin_) buffer_memory::Free(begin_, Capacity() * sizeof(T));
    if (budget_) budget_->GiveBack(Capacity() * sizeof(T));
    begin_ = end_ = limit_ = nullptr;
  }

 private:
  T* begin_ = nullptr;
  T* end_ = nullptr;
  T* limit_ = nullptr;
  base::MemoryBudget* budget_;
};

}  // namespace kel
