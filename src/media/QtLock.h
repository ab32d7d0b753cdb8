// Qt's mutex and its guard, as clang can check them (platform/ThreadSafety.h).
#ifndef ORVANE_MEDIA_QTLOCK_H
#define ORVANE_MEDIA_QTLOCK_H

#include <QMutex>
#include <QMutexLocker>

#include "platform/ThreadSafety.h"

namespace media {

class ORVANE_CAPABILITY Mutex : public QMutex {
 public:
  Mutex() : QMutex(QMutex::NonRecursive) {}
};

class ORVANE_SCOPED_CAPABILITY MutexLocker {
 public:
  explicit MutexLocker(Mutex* mutex) ORVANE_ACQUIRE(mutex) : m_locker(mutex) {}
  ~MutexLocker() ORVANE_RELEASE() {}
  MutexLocker(const MutexLocker&) = delete;
  MutexLocker& operator=(const MutexLocker&) = delete;

 private:
  QMutexLocker m_locker;
};

}  // namespace media

#endif
