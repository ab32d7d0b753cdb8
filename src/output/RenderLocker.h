// Holds one of the renderer's locks: the order lock, a layer's position or size lock, the lock of
// what a reset took out. No two of these are held at once by one thread, which the sanitizer builds
// check.
#ifndef ORVANE_OUTPUT_RENDERLOCKER_H
#define ORVANE_OUTPUT_RENDERLOCKER_H

#include "media/Contract.h"
#include "media/QtLock.h"

namespace output {

class ORVANE_SCOPED_CAPABILITY RenderLocker {
 public:
  explicit RenderLocker(media::Mutex* mutex) ORVANE_ACQUIRE(mutex) : m_locker(Alone(mutex)) {}
  ~RenderLocker() ORVANE_RELEASE() { Count(-1); }
  RenderLocker(const RenderLocker&) = delete;
  RenderLocker& operator=(const RenderLocker&) = delete;

 private:
#if ORVANE_CONTRACTS
  static int Count(int more) {
    thread_local int held = 0;
    return held += more;
  }
#else
  static int Count(int /*more*/) {
    return 0;
  }
#endif
  static media::Mutex* Alone(media::Mutex* mutex) {
    ORVANE_CONTRACT(Count(1) == 1, "no two of the renderer's locks are held at once");
    return mutex;
  }

  QMutexLocker m_locker;
};

}  // namespace output

#endif
