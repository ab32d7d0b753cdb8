#include "platform/ProcessMemory.h"

#include <malloc.h>

namespace platform {

namespace {

// Mapped on its own from this size on. Set explicitly, it no longer follows the largest block that
// was freed, up to 32 MB.
constexpr int kLargeBytes = 1 << 20;

}  // namespace

void ReturnLargeBlocks() {
#ifdef __GLIBC__
  mallopt(M_MMAP_THRESHOLD, kLargeBytes);
#endif
}

}  // namespace platform
