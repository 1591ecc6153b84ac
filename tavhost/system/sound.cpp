#include "host/system/sound.h"

#include "tavhost/base/trace.h"
#include "tavhost/ui/toolkit.h"

namespace SV {

void Sound::Beep(std::uint32_t frequency, std::uint32_t milliseconds) {
  trace::Call call("SV::Sound::Beep", frequency, milliseconds);
  call.Write();
  ui::CurrentToolkit().Beep(frequency, milliseconds);
}

}  // namespace SV
