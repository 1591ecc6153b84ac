#include "tavhost/base/arena.h"

#include <algorithm>

#include "tavhost/base/buffer_memory.h"

namespace base {

namespace {
constexpr std::size_t kFirstChunk = 4096;
constexpr std::size_t kLargestStep = std::size_t{64} << 20;  // beyond it, chunks stop growing
}  // namespace

Arena::~Arena() {
  while (last_) {
    Chunk* const previous = last_->previous;
    buffer_memory::Free(last_, last_->bytes);
    last_ = previous;
  }
}

void Arena::Grow(std::size_t bytes) {
  const std::size_t doubled = last_ ? std::min(last_->bytes * 2, kLargestStep) : kFirstChunk;
  const std::size_t wanted = std::max({bytes + sizeof(Chunk), doubled, expected_});
  expected_ = 0;
  if (budget_) budget_->Take(wanted);
  auto* const chunk = static_cast<Chunk*>(buffer_memory::Allocate(wanted));
  usedBefore_ = Used();
  chunk->previous = last_;
  chunk->bytes = wanted;
  last_ = chunk;
  begin_ = at_ = reinterpret_cast<char*>(chunk + 1);
  end_ = reinterpret_cast<char*>(chunk) + wanted;
}

}  // namespace base
