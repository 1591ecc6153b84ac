#pragma once

#include <stdexcept>
#include <utility>

// What a host operation leaves to be done when the command that called it has come to its end: only
// then is it known what the command made of what the operation gave it. User-interface thread only.
namespace command_end {

// Ends the command as an error of the script: an operation could not do what the command has been
// told is done. The host catches it where it called the plug-in, as it does a stop.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// `returned`: the command came to its end by itself; the work may then throw Failure. Otherwise
// something was thrown through it, and the work throws nothing.
using Work = void (*)(bool returned);

namespace detail {

inline int depth = 0;
inline Work work = nullptr;

}  // namespace detail

inline bool IsInCommand() { return detail::depth > 0; }

// To be done when the innermost command that runs now has ended; once, however often it is asked
// for. There is one kind of such work.
inline void Do(Work work) { detail::work = work; }

// Around each call of a command of a plug-in.
class Scope {
 public:
  Scope() { ++detail::depth; }
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;
  ~Scope() {
    --detail::depth;
    if (detail::work) [[unlikely]]
      std::exchange(detail::work, nullptr)(false);
  }
  void Returned() {
    if (detail::work) [[unlikely]]
      std::exchange(detail::work, nullptr)(true);
  }
};

}  // namespace command_end
