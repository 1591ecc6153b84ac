#pragma once

#include <new>

namespace base {

// A static object whose destructor never runs, for what is still asked when static objects are
// destroyed at the end of the program. It stands in a room of its own: making one asks for no
// memory beyond what T itself does.
template <typename T>
class NeverDestroyed {
 public:
  NeverDestroyed() { new (room_) T(); }
  NeverDestroyed(const NeverDestroyed&) = delete;
  NeverDestroyed& operator=(const NeverDestroyed&) = delete;

  T& operator*() noexcept { return *std::launder(reinterpret_cast<T*>(room_)); }

 private:
  alignas(T) unsigned char room_[sizeof(T)];
};

}  // namespace base
