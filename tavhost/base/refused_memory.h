#pragma once

#include <new>

// Memory that a host operation was refused while a command of a plug-in ran. Most operations throw
// std::bad_alloc, which ends the command by itself; those whose caller may take that for an outcome
// of another kind, or leave out what there was no memory for, note it here as well: whatever the
// command then said, it ends as the script error `out of memory`. User-interface thread only.
namespace refused_memory {

namespace detail {
inline constinit bool isNoted = false;
}

inline void Note() noexcept { detail::isNoted = true; }

// Whether something was noted since this was asked last.
inline bool Take() noexcept {
  if (!detail::isNoted) [[likely]]
    return false;
  detail::isNoted = false;
  return true;
}

// Does the work, and notes that it was refused memory when std::bad_alloc leaves it.
template <typename Work>
decltype(auto) Noting(Work work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    Note();
    throw;
  }
}

}  // namespace refused_memory
