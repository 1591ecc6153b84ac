#pragma once

#include <unistd.h>

#include <utility>

namespace windows {

// Owns a file descriptor.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
  Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  ~Descriptor() { Close(); }

  int Get() const { return descriptor_; }
  bool IsOpen() const { return descriptor_ >= 0; }
  // False when closing reported an error; it is closed all the same.
  bool Close() {
    if (descriptor_ < 0) return true;
    return close(std::exchange(descriptor_, -1)) == 0;
  }

 private:
  int descriptor_ = -1;
};

}  // namespace windows
