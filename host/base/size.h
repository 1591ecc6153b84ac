#pragma once

namespace SV {

// A width and a height; the unit is that of the use, mostly pixels or dialog units.
class Size {
 public:
  Size(long width, long height) : width_(width), height_(height) {}
  long Width() const { return width_; }
  long Height() const { return height_; }
  bool operator==(const Size&) const = default;

 private:
  long width_;
  long height_;
};

}  // namespace SV
