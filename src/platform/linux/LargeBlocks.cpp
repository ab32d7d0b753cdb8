#include "platform/linux/LargeBlocks.h"

#include <malloc.h>

namespace platform {

namespace {

// Below are strings and small pictures, above frames of video from about 640 x 500 on.
[[maybe_unused]] constexpr int kLargeBytes = 1 << 20;

}  // namespace

void GiveLargeBlocksBack() {
#ifdef M_MMAP_THRESHOLD
  mallopt(M_MMAP_THRESHOLD, kLargeBytes);
#endif
}

}  // namespace platform
