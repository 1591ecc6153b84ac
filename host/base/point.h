#pragma once

namespace SV {

// A position; its unit is that of its use, mostly pixels or dialog units.
class Point {
 public:
  Point(long x, long y) : x_(x), y_(y) {}
  long X() const { return x_; }
  long Y() const { return y_; }
  bool operator==(const Point&) const = default;

 private:
  long x_;
  long y_;
};

}  // namespace SV
