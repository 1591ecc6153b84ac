#pragma once

#include <cstdint>
#include <memory>

namespace ui {

// Plays tones beside the script. A new tone ends the one before; the last one is waited for when
// the host ends, as long as a user would.
class Tone {
 public:
  Tone();
  ~Tone();

  // False when there is nothing here to play it with. A frequency that cannot be heard, 0 or above
  // 24,000 Hz, is silence of that length.
  bool Play(std::uint32_t frequency, std::uint32_t milliseconds);
  void Stop();

 private:
  class Player;
  std::unique_ptr<Player> player_;
};

}  // namespace ui
