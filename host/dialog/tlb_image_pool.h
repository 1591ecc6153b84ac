#pragma once

#include <map>

#include "host/base/string.h"
#include "host/export.h"
#include "host/sv/image.h"

// Hands out the images of tree list boxes by name, each read once. Making one touches neither
// files nor a user interface.
class TAV_HOST_API TavTLBImagePool {
 public:
  TavTLBImagePool();
  TavTLBImagePool(const TavTLBImagePool&) = delete;
  TavTLBImagePool& operator=(const TavTLBImagePool&) = delete;
  ~TavTLBImagePool();

  // `name` is that of a built-in icon (`folder`, `document`, `warning` …), of a file of the
  // database file area, or of a file. Empty when there is no such image.
  SV::Image GetImage(const SV::String& name);

 private:
  std::map<SV::String, SV::Image> images_;
};
