#pragma once

// ByteBlock: a few bytes of a text, looked at together. The one for the processor built for.
#if defined(__SSE2__)
#include "tavhost/notation/byte_block_sse2.h"
namespace kel {
using ByteBlock = sse2::ByteBlock;
}
#else
#include "tavhost/notation/byte_block_portable.h"
namespace kel {
using ByteBlock = portable::ByteBlock;
}
#endif
