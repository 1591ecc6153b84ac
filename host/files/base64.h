#pragma once

#include "host/export.h"

// Base64 with the standard alphabet, padded, without line breaks. Each makes a new buffer that the
// caller frees with the global operator delete, whether the call succeeded or not; behind its
// `newLength` bytes stands a NUL. `buffer` is null when none was made.

// Fails when the text would be longer than 2147483647 bytes. Throws std::bad_alloc, as does the
// other, when memory runs out.
TAV_HOST_API bool Tav_NewBase64Encode(const char* data, unsigned long length, char*& buffer,
                                      unsigned long& newLength);

// CR, LF and blanks are passed over; any other foreign byte or wrong padding fails, the buffer then
// holding what stood before the fault.
TAV_HOST_API bool Tav_NewBase64Decode(const char* data, unsigned long length, char*& buffer,
                                      unsigned long& newLength);
