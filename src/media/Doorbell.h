// Wakes a worker that has nothing to do when there is something: in the place of looking a thousand
// times a second.
//
// A ring that nobody waits for is not lost: the next wait returns at once. Rings before that are
// one.
//
// Threads: any may ring; one waits.
#ifndef ORVANE_MEDIA_DOORBELL_H
#define ORVANE_MEDIA_DOORBELL_H

#include <chrono>

#include "platform/Lock.h"

namespace media {

class Doorbell {
 public:
  void Ring() {
    const platform::Lock lock(m_mutex);
    m_rung = true;
    m_changed.NotifyOne();
  }

  // Until it rings, for that long at most.
  void Await(std::chrono::milliseconds most) {
    const platform::Lock lock(m_mutex);
    m_changed.WaitFor(m_mutex, most, [this]() ORVANE_REQUIRES(m_mutex) { return m_rung; });
    m_rung = false;
  }

 private:
  platform::Mutex m_mutex;
  platform::Condition m_changed;
  bool m_rung ORVANE_GUARDED_BY(m_mutex) = false;
};

}  // namespace media

#endif
