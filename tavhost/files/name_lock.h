#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

// One writer of a stored file at a time, in this process and between processes. The locks are bytes
// of one empty file, two for each name; the system gives them back when a process dies. A name's
// second writer waits as long as the first one is within one command, for kLongestWaitSeconds at
// most; one that keeps the file open over several commands makes it fail at once.
//
// Whoever has a name also shares a byte with all programs of the same process number: as long as
// that byte can be had alone, no program of that number writes, in whatever container it runs.
namespace name_lock {

inline constexpr int kLongestWaitSeconds = 10;

class Lock {
 public:
  Lock() = default;
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;
  virtual ~Lock();  // gives the name back
  // From now on nobody waits for the name.
  virtual void KeepOpen() = 0;

  enum class Outcome { kTaken, kBusy, kRefused };
  // To be tried again while it is busy.
  virtual Outcome Try() = 0;
  // Has another byte together with others; false while one of them has it alone.
  virtual bool Share(std::uint64_t offset) = 0;
  // As Try, but only where the system is sure to keep all other programs away.
  virtual bool TryForSure() = 0;

 private:
  friend std::unique_ptr<Lock> Take(const std::string& file, std::string_view name);
  std::uint64_t taken_ = 0;  // the number of the name that this process has by it; 0 for none
};

// Null when another writer keeps the name, or this process has it already: the command that waited
// would be the one that is to give it back. `file` is where the locks are, made if need be; its
// folder is there. Leaves with stop::Stopped when a stop is asked for.
std::unique_ptr<Lock> Take(const std::string& file, std::string_view name);

// For removing `leftover`, which a program of this process number has made while it had a name:
// null unless that program is gone for certain. None of that number takes a name while this is
// held.
std::unique_ptr<Lock> TakeFromGone(const std::string& file, std::uint32_t process,
                                   const std::string& leftover);

namespace detail {

std::uint32_t OwnProcess();
// Another process has that number, and was there before the file was last written.
bool MayBeWriting(std::uint32_t process, const std::string& leftover);

// The platform's part: not tried yet; null when the file cannot be opened. The byte at `offset` is
// had by whoever writes, the one behind it also by one who keeps the file open.
std::unique_ptr<Lock> Open(const std::string& file, std::uint64_t offset);

}  // namespace detail

}  // namespace name_lock
