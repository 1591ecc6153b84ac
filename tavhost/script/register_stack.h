#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "tavhost/notation/value.h"

namespace script {

// The registers of running functions: taken and given back like a stack, never moved, always
// without a value when they are not in use.
class RegisterStack {
 public:
  // `count` registers beside each other, all without a value.
  kel::Value* Take(std::uint32_t count) {
    if (left_ < count || !free_) NextBlock(count);  // nothing, too, is taken from some place
    kel::Value* taken = free_;
    free_ += count;
    left_ -= count;
    return taken;
  }

  // Only what was taken last and not given back yet.
  void GiveBack(kel::Value* taken, std::uint32_t count) noexcept {
    for (std::uint32_t i = 0; i < count; ++i) {
      if (!taken[i].IsNone()) taken[i] = kel::Value();
    }
    free_ = taken;
    left_ += count;
    if (current_ > 0 && free_ == blocks_[current_].values.get()) PreviousBlock();
  }

 private:
  static constexpr std::uint32_t kFirstBlock = 240;  // most scripts need no more: a short start
  static constexpr std::uint32_t kBlock = 4096;

  // Registers lie in blocks, so that none has to move when more are needed.
  struct Block {
    std::unique_ptr<kel::Value[]> values;
    std::uint32_t count;
    std::uint32_t left;  // when the next block was begun
  };

  void NextBlock(std::uint32_t count) {
    if (!blocks_.empty()) blocks_[current_].left = left_;
    const std::uint32_t least = blocks_.empty() ? kFirstBlock : kBlock;
    const std::uint32_t next = blocks_.empty() ? 0 : current_ + 1;
    // The block that follows is used again when there is one: a loop may call and return over the
    // border of two blocks time and again.
    if (next == blocks_.size() || blocks_[next].count < count) {
      const std::uint32_t size = count > least ? count : least;
      blocks_.resize(next);
      blocks_.push_back({std::make_unique<kel::Value[]>(size), size, size});
    }
    current_ = next;
    free_ = blocks_[current_].values.get();
    left_ = blocks_[current_].count;
  }

  void PreviousBlock() noexcept {
    --current_;
    Block& block = blocks_[current_];
    left_ = block.left;
    free_ = block.values.get() + (block.count - left_);
  }

  std::vector<Block> blocks_;
  std::uint32_t current_ = 0;
  kel::Value* free_ = nullptr;
  std::uint32_t left_ = 0;
};

}  // namespace script
