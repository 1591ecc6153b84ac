#include "host/system/sound.h"

#include <string>

#include "tavhost/base/dry_run.h"
#include "tavhost/base/trace.h"
#include "tavhost/ui/toolkit.h"

namespace SV {

void Sound::Beep(std::uint32_t frequency, std::uint32_t milliseconds) {
  trace::Call call("SV::Sound::Beep", frequency, milliseconds);
  call.Write();
  if (dry_run::IsOn()) {
    return dry_run::Tell({dry_run::Act::kBeep, std::to_string(frequency) + " Hz for " +
                                                   std::to_string(milliseconds) + " ms"});
  }
  ui::CurrentToolkit().Beep(frequency, milliseconds);
}

}  // namespace SV
