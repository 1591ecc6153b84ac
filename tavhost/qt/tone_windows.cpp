#include <windows.h>

#include <thread>

#include "tavhost/qt/tone.h"

namespace ui {

// The system's own tone waits for its end, so that it has a thread to itself.
class Tone::Player {
 public:
  Player(std::uint32_t frequency, std::uint32_t milliseconds)
      : thread_([frequency, milliseconds] { ::Beep(frequency, milliseconds); }) {
    thread_.detach();
  }

 private:
  std::thread thread_;
};

Tone::Tone() = default;
Tone::~Tone() = default;

// The system's tone cannot be ended early; the end of the process ends it.
void Tone::Stop() { player_.reset(); }

bool Tone::Play(std::uint32_t frequency, std::uint32_t milliseconds) {
  player_ = std::make_unique<Player>(frequency, milliseconds);
  return true;
}

}  // namespace ui
