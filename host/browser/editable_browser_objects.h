#pragma once

#include "host/base/string.h"
#include "host/browser/browser_objects.h"

// A table that can be changed. Handles cannot.
class TAV_HOST_API TavEditableBrowserObjects : public TavBrowserObjects {
 public:
  explicit TavEditableBrowserObjects(int withHandleColumn);
  ~TavEditableBrowserObjects() override;

  // Titles and rows as they are now, rows joined by line feeds; fields are quoted where they must
  // be, so that reading the text gives the same table.
  SV::String WriteToText(char fieldSeparator);
};
