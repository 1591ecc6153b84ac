#pragma once

#include <cstddef>

namespace http {

// The longest body that requests take, after content encodings are undone; 256 MiB unless set.
void SetBodyLimit(std::size_t bytes);

}  // namespace http
