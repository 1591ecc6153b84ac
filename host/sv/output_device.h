#pragma once

#include "host/base/point.h"
#include "host/base/size.h"
#include "host/export.h"
#include "host/sv/font.h"
#include "host/sv/map_mode.h"

namespace SV {

// Something that can be drawn on.
class TAV_HOST_API OutputDevice {
 public:
  OutputDevice(const OutputDevice&) = delete;
  OutputDevice& operator=(const OutputDevice&) = delete;
  virtual ~OutputDevice();

  Point LogicToPixel(const Point& point, const MapMode& mode) const;
  Size LogicToPixel(const Size& size, const MapMode& mode) const;
  // Sets the font and returns the one before.
  virtual Font ChangeFont(const Font& font);

 protected:
  OutputDevice();

 private:
  Font font_;
};

}  // namespace SV
