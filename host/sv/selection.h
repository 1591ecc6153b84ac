#pragma once

namespace SV {

// A range of a text, in bytes; both ends equal: the place of the cursor. Ends behind the text's
// end count as its end.
class Selection {
 public:
  Selection(long min, long max) : min_(min), max_(max) {}
  long Min() const { return min_; }
  long Max() const { return max_; }
  bool operator==(const Selection&) const = default;

 private:
  long min_;
  long max_;
};

}  // namespace SV
