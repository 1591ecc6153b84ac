#include <alsa/asoundlib.h>
#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdarg>
#include <mutex>
#include <numbers>
#include <thread>

#include "tavhost/qt/tone.h"

namespace ui {

namespace {

constexpr unsigned kRate = 48000;  // frames a second
constexpr std::uint32_t kHighest = kRate / 2;
constexpr std::size_t kPiece = kRate / 50;  // written at once: 20 ms
constexpr double kFade = kRate / 200.0;     // 5 ms at both ends, so that the tone does not click
constexpr double kLoudness = 0.25;          // of the full range
constexpr unsigned kLatency = 60000;        // microseconds that the device holds
constexpr std::chrono::seconds kPatience{2};

// The sound library, loaded at the first tone.
struct Library {
  decltype(&::snd_pcm_open) open = nullptr;
  decltype(&::snd_pcm_set_params) setParams = nullptr;
  decltype(&::snd_pcm_writei) write = nullptr;
  decltype(&::snd_pcm_recover) recover = nullptr;
  decltype(&::snd_pcm_drain) drain = nullptr;
  decltype(&::snd_pcm_close) close = nullptr;
  decltype(&::snd_lib_error_set_handler) setErrorHandler = nullptr;
};

template <typename Function>
bool Find(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(library, name));
  return function != nullptr;
}

// A machine without sound is no error; Play says so.
void IgnoreError(const char*, int, const char*, int, const char*, ...) {}

const Library* LoadLibrary() {
  static const Library* const loaded = []() -> const Library* {
    static Library library;
    void* const handle = dlopen("libasound.so.2", RTLD_NOW | RTLD_LOCAL);
    if (!handle || !Find(handle, "snd_pcm_open", library.open) ||
        !Find(handle, "snd_pcm_set_params", library.setParams) ||
        !Find(handle, "snd_pcm_writei", library.write) ||
        !Find(handle, "snd_pcm_recover", library.recover) ||
        !Find(handle, "snd_pcm_drain", library.drain) ||
        !Find(handle, "snd_pcm_close", library.close) ||
        !Find(handle, "snd_lib_error_set_handler", library.setErrorHandler)) {
      return nullptr;
    }
    library.setErrorHandler(&IgnoreError);
    return &library;
  }();
  return loaded;
}

std::int16_t Sample(std::uint32_t frequency, std::uint64_t frame, std::uint64_t frames) {
  if (frequency == 0 || frequency >= kHighest) return 0;
  const double fromStart = static_cast<double>(frame);
  const double toEnd = static_cast<double>(frames - frame);
  const double loudness = kLoudness * std::min({1.0, fromStart / kFade, toEnd / kFade});
  // The phase in whole turns stays exact however long the tone is.
  const double turns = static_cast<double>(frame * frequency % kRate) / kRate;
  return static_cast<std::int16_t>(32767 * loudness * std::sin(2 * std::numbers::pi * turns));
}

}  // namespace

// One tone on a thread of its own.
class Tone::Player {
 public:
  Player(const Library& library, snd_pcm_t* device, std::uint32_t frequency,
         std::uint32_t milliseconds)
      : library_(library),
        device_(device),
        thread_([this, frequency, milliseconds](const std::stop_token& stop) {
          Run(stop, frequency, std::uint64_t{milliseconds} * kRate / 1000);
        }) {}

  ~Player() {
    thread_.request_stop();
    thread_.join();
    library_.close(device_);
  }

  void WaitForEnd() {
    std::unique_lock lock(mutex_);
    ended_.wait_for(lock, kPatience, [this] { return hasEnded_; });
  }

 private:
  void Run(const std::stop_token& stop, std::uint32_t frequency, std::uint64_t frames) {
    std::array<std::int16_t, kPiece> piece;
    for (std::uint64_t done = 0; done < frames && !stop.stop_requested();) {
      const std::size_t count = std::min<std::uint64_t>(kPiece, frames - done);
      for (std::size_t i = 0; i < count; ++i) piece[i] = Sample(frequency, done + i, frames);
      const snd_pcm_sframes_t written = library_.write(device_, piece.data(), count);
      if (written < 0 && library_.recover(device_, static_cast<int>(written), 1) < 0) break;
      done += written > 0 ? static_cast<std::uint64_t>(written) : 0;
    }
    if (!stop.stop_requested()) library_.drain(device_);
    const std::lock_guard lock(mutex_);
    hasEnded_ = true;
    ended_.notify_all();
  }

  const Library& library_;
  snd_pcm_t* const device_;
  std::mutex mutex_;
  std::condition_variable ended_;
  bool hasEnded_ = false;
  std::jthread thread_;  // last: it uses what stands above
};

Tone::Tone() = default;

Tone::~Tone() {
  if (player_) player_->WaitForEnd();
}

void Tone::Stop() { player_.reset(); }

bool Tone::Play(std::uint32_t frequency, std::uint32_t milliseconds) {
  player_.reset();
  const Library* const library = LoadLibrary();
  snd_pcm_t* device = nullptr;
  if (!library || library->open(&device, "default", SND_PCM_STREAM_PLAYBACK, 0) < 0) return false;
  if (library->setParams(device, SND_PCM_FORMAT_S16, SND_PCM_ACCESS_RW_INTERLEAVED, 1, kRate, 1,
                         kLatency) < 0) {
    library->close(device);
    return false;
  }
  player_ = std::make_unique<Player>(*library, device, frequency, milliseconds);
  return true;
}

}  // namespace ui
