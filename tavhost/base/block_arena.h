#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

namespace script {

// Memory for plain data that goes all at once. Small texts need none but its own.
class Arena {
 public:
  Arena() = default;
  Arena(const Arena&) = delete;
  Arena& operator=(const Arena&) = delete;

  void* Allocate(std::size_t bytes) {
    bytes = (bytes + 7) & ~std::size_t{7};
    if (left_ < bytes) Grow(bytes);
    void* given = free_;
    free_ += bytes;
    left_ -= bytes;
    return given;
  }

 private:
  static constexpr std::size_t kInline = 1024;
  static constexpr std::size_t kFirstBlock = std::size_t{4} << 10;
  static constexpr std::size_t kLargestBlock = std::size_t{256} << 10;

  void Grow(std::size_t atLeast) {
    const std::size_t size = std::max(atLeast, nextBlock_);
    nextBlock_ = std::min(nextBlock_ * 2, kLargestBlock);
    blocks_.emplace_back(new std::byte[size]);
    free_ = blocks_.back().get();
    left_ = size;
  }

  alignas(8) std::byte inline_[kInline];
  std::byte* free_ = inline_;
  std::size_t left_ = kInline;
  std::size_t nextBlock_ = kFirstBlock;
  std::vector<std::unique_ptr<std::byte[]>> blocks_;
};

}  // namespace script
