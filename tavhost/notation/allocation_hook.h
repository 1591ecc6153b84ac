#pragma once

namespace kel {

// Makes the next TavKelValue::operator new return null, as it does when there is no memory. For
// tests of what stands that.
void FailNextAllocation();

}  // namespace kel
