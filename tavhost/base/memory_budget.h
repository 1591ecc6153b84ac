#pragma once

#include <cstddef>
#include <new>

namespace base {

// How much memory a document's tables may still take. Many systems promise memory that they do
// not have and end the program that uses it; a text whose tables would be huge is refused instead.
class MemoryBudget {
 public:
  explicit MemoryBudget(std::size_t bytes) : left_(bytes) {}

  // Throws std::bad_alloc, and takes nothing, when less is left.
  void Take(std::size_t bytes) {
    if (bytes > left_) throw std::bad_alloc();
    left_ -= bytes;
  }
  void GiveBack(std::size_t bytes) noexcept { left_ += bytes; }

 private:
  std::size_t left_;
};

}  // namespace base
