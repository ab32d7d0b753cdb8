// The life of a thread of a node, written once: made in Start, joined in Stop, and what comes of it
// when it is asked for a second time, or when the system gives none.
//
// Life: new, running from Start to Join, over afterwards. The thread's work may end by itself
// before that; it still is to be joined. A worker that is over may be started again where its node
// may be. The name shows in debuggers and in the per-thread figures of bench/live_road.
//
// Threads: one thread, the node's owner's, starts, joins and destroys it.
//
// Failure: a thread that the system refuses is named in the log.
#ifndef ORVANE_MEDIA_WORKER_H
#define ORVANE_MEDIA_WORKER_H

#include <pthread.h>

#include <atomic>
#include <functional>

#include "media/Contract.h"

namespace media {

// What a busy machine serves first. Threads that the stream waits for run as the program does;
// those that prepare pictures stand a little behind them, and those that only show something
// further. It holds for what such a thread starts in turn, so no encoder is opened on one that
// stands behind: an unprivileged program can't take it back.
enum class WorkerRole { kStream, kPrepare, kShow };

class Worker {
 public:
  Worker() = default;
  ~Worker() { ORVANE_CONTRACT(!IsRunning(), "a worker is joined before it goes"); }
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  // Runs work on a thread of its own. name: at most 15 bytes. False when the system refuses. Not to
  // be called while it is running.
  bool Start(const char* name, std::function<void()> work, WorkerRole role = WorkerRole::kStream);
  // Returns when the work has ended; no effect when it is not running.
  void Join();

  // Start of a node with one worker, whose Stop is StopOnce: 0 while it runs, a second call
  // included; -1 when the system refuses, and for good after the stop.
  int StartOnce(const char* name, std::function<void()> work,
                WorkerRole role = WorkerRole::kStream);
  // Sets the stop signal of the work and joins it; no effect when it is not running. Always 0.
  int StopOnce(std::atomic<bool>* stop);

  bool IsRunning() const { return m_state == State::kRunning; }
  bool IsOver() const { return m_state == State::kOver; }

 private:
  enum class State { kNew, kRunning, kOver };

  pthread_t m_thread{};
  State m_state = State::kNew;
};

// Calls work() on a thread of that role and returns when it is done: the threads that a library
// starts in it have the role too. Called here and now when the system gives no thread.
void RunAs(WorkerRole role, const std::function<void()>& work);

// Runs work on a thread that nobody joins, for what a library may hold up without limit; what work
// has captured goes with its end. False when the system refuses.
bool StartDetached(const char* name, std::function<void()> work);

}  // namespace media

#endif
