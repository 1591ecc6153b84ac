#include "tavhost/service/spare_memory.h"

namespace script::service {

// The system's heap gives large blocks back by itself.
void GiveBackMemory() {}
void GiveBackIfGrown() {}

}  // namespace script::service
