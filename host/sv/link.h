#pragma once

namespace SV {

// What a link calls: the object that it was made with, and whoever calls.
typedef void (*LinkFunction)(void* object, void* caller);

// An object and a function to call with it when something happens. The object is not owned and has
// to live as long as whoever keeps the link.
class Link {
 public:
  Link() = default;
  Link(void* object, LinkFunction function) : object_(object), function_(function) {}

  void Call(void* caller) const {
    if (function_) function_(object_, caller);
  }

 private:
  void* object_ = nullptr;
  LinkFunction function_ = nullptr;
};

}  // namespace SV
