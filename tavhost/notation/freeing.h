#pragma once

// Freeing what large values held can take seconds, and nobody waits for that: neither whoever stops
// a script, nor whoever comes next. What takes too long is left, and freed by and by: in small
// pieces, whenever events are handled; at the end of the program not at all.
namespace kel {

// From now on this thread may leave something behind a stop: it handles posted work.
void LetFreeingWait() noexcept;

// While one lives, freeing takes some 50 ms at most, stop or not.
class BriefFreeing {
 public:
  BriefFreeing() noexcept;
  BriefFreeing(const BriefFreeing&) = delete;
  BriefFreeing& operator=(const BriefFreeing&) = delete;
  ~BriefFreeing();
};

}  // namespace kel
