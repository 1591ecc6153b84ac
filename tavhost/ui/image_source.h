#pragma once

#include <string>

namespace ui {

// A picture that a user interface can draw.
struct ImageSource {
  std::string icon;   // the name of a built-in icon; empty: the bytes
  std::string bytes;  // of an image file: PNG, JPEG, GIF, BMP, SVG, ICO
};

}  // namespace ui
