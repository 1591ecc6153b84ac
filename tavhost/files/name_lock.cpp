#include "tavhost/files/name_lock.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

#include "tavhost/base/ascii.h"
#include "tavhost/base/long_work.h"

namespace name_lock {

namespace {

// The numbers of the names that this process has. Never destroyed: locks may outlive static
// objects.
std::vector<std::uint64_t>& namesTaken = *new std::vector<std::uint64_t>;

bool IsTakenHere(std::uint64_t number) {
  return std::find(namesTaken.begin(), namesTaken.end(), number) != namesTaken.end();
}

// The case of letters makes no difference. Two names with one number would only wait for each
// other; of 2^61 numbers that will not be.
std::uint64_t OffsetOf(std::string_view name) {
  std::uint64_t hash = 0xcbf29ce484222325u;  // FNV-1a
  for (const char byte : name) {
    hash = (hash ^ static_cast<unsigned char>(ascii::ToLower(byte))) * 0x100000001b3u;
  }
  return (hash >> 3) * 2;  // a file's offsets are signed
}

// No name is like this: names have a library in front.
std::uint64_t OffsetOf(std::uint32_t process) {
  return OffsetOf("process " + std::to_string(process));
}

Lock::Outcome Try(Lock& lock) {
  const Lock::Outcome outcome = lock.Try();
  // Somebody who removes what a gone program of this number has left is soon done.
  const bool isHeldUp =
      outcome == Lock::Outcome::kTaken && !lock.Share(OffsetOf(detail::OwnProcess()));
  return isHeldUp ? Lock::Outcome::kBusy : outcome;
}

}  // namespace

Lock::~Lock() {
  if (taken_ != 0) namesTaken.erase(std::find(namesTaken.begin(), namesTaken.end(), taken_));
}

std::unique_ptr<Lock> Take(const std::string& file, std::string_view name) {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::milliseconds kLongestNap{8};
  const std::uint64_t number = OffsetOf(name);
  if (IsTakenHere(number)) return nullptr;
  std::unique_ptr<Lock> lock = detail::Open(file, number);
  if (!lock) return nullptr;
  const Clock::time_point end = Clock::now() + std::chrono::seconds(kLongestWaitSeconds);
  std::chrono::milliseconds nap{1};
  base::LongWork work("Waiting for", name);
  Lock::Outcome outcome;
  while ((outcome = Try(*lock)) == Lock::Outcome::kBusy && Clock::now() < end) {
    work.At(0);
    std::this_thread::sleep_for(nap);
    nap = std::min(2 * nap, kLongestNap);
  }
  if (outcome != Lock::Outcome::kTaken) return nullptr;
  namesTaken.push_back(number);
  lock->taken_ = number;
  return lock;
}

std::unique_ptr<Lock> TakeFromGone(const std::string& file, std::uint32_t process,
                                   const std::string& leftover) {
  if (detail::MayBeWriting(process, leftover)) return nullptr;
  std::unique_ptr<Lock> lock = detail::Open(file, OffsetOf(process));
  return lock && lock->TryForSure() ? std::move(lock) : nullptr;
}

}  // namespace name_lock
