#pragma once

#include "host/browser/browser_objects.h"

// A table to be read, in which rows of several lines shrink to one and expand again.
class TAV_HOST_API TavShrinkExpandBrowserObjects : public TavBrowserObjects {
 public:
  // The second number is not used by this host.
  TavShrinkExpandBrowserObjects(int withHandleColumn, int);
  ~TavShrinkExpandBrowserObjects() override;
};
