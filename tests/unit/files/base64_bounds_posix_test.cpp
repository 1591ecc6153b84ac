// Base64 reads and writes nothing beyond what it was given: behind each buffer lies a page that
// nobody may touch.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "tavhost/files/base64_codec.h"

namespace {

// Memory that ends where a forbidden page begins.
class Bounded {
 public:
  explicit Bounded(std::size_t bytes) : page_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))) {
    room_ = (bytes + page_ - 1) / page_ * page_;
    memory_ = static_cast<char*>(
        mmap(nullptr, room_ + page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    EXPECT_EQ(mprotect(memory_ + room_, page_, PROT_NONE), 0);
    begin_ = memory_ + room_ - bytes;
  }
  Bounded(const Bounded&) = delete;
  Bounded& operator=(const Bounded&) = delete;
  ~Bounded() { munmap(memory_, room_ + page_); }

  char* Begin() { return begin_; }

 private:
  std::size_t page_;
  std::size_t room_;
  char* memory_;
  char* begin_;
};

TEST(Base64Bounds, NothingBeyondTheBuffersIsTouched) {
  for (const base64::Codec* codec : {&base64::Portable(), base64::Avx2()}) {
    if (!codec) continue;
    for (std::size_t length = 0; length <= 200; ++length) {
      const std::size_t encoded = base64::EncodedLength(length);
      Bounded data(length);
      Bounded text(encoded);
      Bounded back(encoded / 4 * 3 + 3 + base64::kDecodeSlack);
      std::memset(data.Begin(), 0x5A, length);
      base64::Encode(*codec, data.Begin(), length, text.Begin());
      const base64::Decoded decoded = base64::Decode(*codec, text.Begin(), encoded, back.Begin());
      ASSERT_TRUE(decoded.whole) << length;
      ASSERT_EQ(std::string(back.Begin(), decoded.length), std::string(length, 0x5A));
    }
  }
}

}  // namespace
