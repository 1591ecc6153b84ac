#include "host/system/system.h"

#include "tavhost/base/trace.h"
#include "tavhost/ui/toolkit.h"

namespace SV {

Size System::GetScreenSizePixel() {
  trace::Call call("SV::System::GetScreenSizePixel");
  return call.Result(ui::CurrentToolkit().ScreenSizePixel());
}

}  // namespace SV
