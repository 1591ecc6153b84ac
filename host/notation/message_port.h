#pragma once

#include "host/export.h"

// A port that takes messages under a name.
class TAV_HOST_API TavMessagePort {
 public:
  virtual ~TavMessagePort();

  // The name of the built-in port of the script language; always the same pointer.
  static const char* TavScript();
};
