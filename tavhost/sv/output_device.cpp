#include "host/sv/output_device.h"

#include "tavhost/base/trace.h"
#include "tavhost/ui/toolkit.h"

namespace SV {

OutputDevice::OutputDevice() : font_("", Size(0, 0)) {}

OutputDevice::~OutputDevice() = default;

// Dialog units (MapAppFont) depend on the font of the user interface; all other units are pixels.

Point OutputDevice::LogicToPixel(const Point& point, const MapMode& mode) const {
  trace::Call call(this, "LogicToPixel", point, mode.GetUnit());
  if (mode.GetUnit() != MapAppFont) return call.Result(point);
  const Size pixels = ui::CurrentToolkit().DialogUnitsToPixel({point.X(), point.Y()});
  return call.Result(Point(pixels.Width(), pixels.Height()));
}

Size OutputDevice::LogicToPixel(const Size& size, const MapMode& mode) const {
  trace::Call call(this, "LogicToPixel", size, mode.GetUnit());
  if (mode.GetUnit() != MapAppFont) return call.Result(size);
  return call.Result(ui::CurrentToolkit().DialogUnitsToPixel(size));
}

Font OutputDevice::ChangeFont(const Font& font) {
  trace::Call call(this, "ChangeFont", trace::Window(&font));
  Font before(font_);
  font_ = font;
  trace::Name("SV::Font", &before);
  call.ResultObject(&before);
  return before;
}

}  // namespace SV
