#include "tavhost/service/spare_memory.h"

#include <malloc.h>

namespace script::service {

void GiveBackMemory() { malloc_trim(0); }

}  // namespace script::service
