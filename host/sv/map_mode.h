#pragma once

namespace SV {

enum MapUnit {
  MapAppFont = 12,  // dialog units: a quarter and an eighth of the font's mean character
};

// The unit in which positions and sizes are given.
class MapMode {
 public:
  explicit MapMode(MapUnit unit) : unit_(unit) {}
  MapUnit GetUnit() const { return unit_; }

 private:
  MapUnit unit_;
};

}  // namespace SV
