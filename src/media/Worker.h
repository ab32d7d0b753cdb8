// Makes the named POSIX thread of a node. The name shows in debuggers and in the per-thread figures
// of bench/live_road.
#ifndef ORVANE_MEDIA_WORKER_H
#define ORVANE_MEDIA_WORKER_H

#include <pthread.h>

#include <functional>

namespace media {

// What a busy machine serves first. Threads that the stream waits for run as the program does;
// those that prepare pictures stand a little behind them, and those that only show something
// further. It holds for what such a thread starts in turn, so no encoder is opened on one that
// stands behind: an unprivileged program can't take it back.
enum class WorkerRole { kStream, kPrepare, kShow };

// Creates *thread running entry(node). name: at most 15 bytes. False when the system refuses, which
// is then in the log; *thread is unset and must not be joined.
bool StartWorker(pthread_t* thread, const char* name, void* (*entry)(void*), void* node,
                 WorkerRole role = WorkerRole::kStream);

// Calls work() on a thread of that role and returns when it is done: the threads that a library
// starts in it have the role too. Called here and now when the system gives no thread.
void RunAs(WorkerRole role, const std::function<void()>& work);

}  // namespace media

#endif
