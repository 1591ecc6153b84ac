#include "tavhost/loader/module.h"

#include <utility>

namespace loader {

Module::Module(Module&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}

Module& Module::operator=(Module&& other) noexcept {
  std::swap(handle_, other.handle_);
  return *this;
}

Module::~Module() { Unload(); }

}  // namespace loader
