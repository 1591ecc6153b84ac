#pragma once

#include "host/base/string.h"

namespace http {

// The memory of a long text that is read from its beginning to its end for the last time: what lies
// behind is given back to the system on the way, and reads as anything from then on. Does nothing
// for short texts, and where the system takes back whole blocks only. Nobody else may hold the
// text.
class SpentMemory {
 public:
  explicit SpentMemory(const SV::String& text);

  void UpTo(const char* position);

 private:
  const char* from_ = nullptr;  // what has not been given back; null when nothing is to be
};

}  // namespace http
