#pragma once

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace base {

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
  int Release() { return std::exchange(descriptor_, -1); }  // whoever takes it closes it
  bool IsOpen() const { return descriptor_ >= 0; }
  // False when closing reported an error; it is closed all the same. An interrupted close has
  // closed it too, and is no error: a second try would close somebody else's descriptor.
  bool Close() {
    if (descriptor_ < 0) return true;
    return close(std::exchange(descriptor_, -1)) == 0 || errno == EINTR;
  }

 private:
  int descriptor_ = -1;
};

}  // namespace base
