// Freed pictures go back to the system.
//
// The C library maps a block of its own for every large allocation, until the first such block is
// freed: from then on blocks of that size come out of its heaps, where a small one left on top
// keeps the whole from going back. A scene that changes for hours frees pictures of 1 to 70 MB all
// the time. Full-size pictures on the road come from pools, so that mapping the others anew costs
// little.
#ifndef ORVANE_PLATFORM_LINUX_LARGEBLOCKS_H
#define ORVANE_PLATFORM_LINUX_LARGEBLOCKS_H

namespace platform {

// For the whole process, at its start. Where the C library has no such setting, nothing happens.
void GiveLargeBlocksBack();

}  // namespace platform

#endif
