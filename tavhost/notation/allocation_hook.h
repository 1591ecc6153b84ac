#pragma once

namespace kel {

// Makes the next TavKelValue::operator new return null, as it does when there is no memory, so that
// tests can see that those who make values live with it.
void FailNextAllocation();

namespace detail {
extern constinit bool allocationRefused;
}

// Whether TavKelValue::operator new has returned null since this was asked last. Those who make
// values leave out what they have no memory for; who called them learns of it here.
inline bool TakeAllocationRefused() noexcept {
  if (!detail::allocationRefused) [[likely]]
    return false;
  detail::allocationRefused = false;
  return true;
}

}  // namespace kel
