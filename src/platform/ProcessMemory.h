// How the process gives memory back to the system.
#ifndef ORVANE_PLATFORM_PROCESSMEMORY_H
#define ORVANE_PLATFORM_PROCESSMEMORY_H

namespace platform {

// Makes everything of a picture's size go back to the system when it is freed. A C library that
// learns from its callers keeps what a busy minute took for the rest of the broadcast. Once, before
// other threads run. What is needed again and again comes from pools, and is not touched by this.
void ReturnLargeBlocks();

}  // namespace platform

#endif
