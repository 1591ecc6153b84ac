#include "tavhost/http/http_spent_memory.h"

namespace http {

SpentMemory::SpentMemory(const SV::String&) {}
void SpentMemory::UpTo(const char*) {}

}  // namespace http
