// Makes the named POSIX thread of a node. The name shows in debuggers and in the per-thread figures
// of bench/live_road.
#ifndef ORVANE_MEDIA_WORKER_H
#define ORVANE_MEDIA_WORKER_H

#include <pthread.h>

namespace media {

// Creates *thread running entry(node). name: at most 15 bytes. False when the system refuses;
// *thread is then unset and must not be joined.
bool StartWorker(pthread_t* thread, const char* name, void* (*entry)(void*), void* node);

}  // namespace media

#endif
