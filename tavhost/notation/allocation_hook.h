#pragma once

namespace kel {

// Makes the next TavKelValue::operator new return null, as it does when there is no memory, so that
// tests can see that those who make values live with it.
void FailNextAllocation();

}  // namespace kel
