// The standard mutex, its guard and its condition, as clang can check them: a condition is waited
// for with the mutex held, and the question of a wait names what it needs:
//
//   const platform::Lock lock(m_mutex);
//   m_changed.Wait(m_mutex, [this]() ORVANE_REQUIRES(m_mutex) { return m_done; });
#ifndef ORVANE_PLATFORM_LOCK_H
#define ORVANE_PLATFORM_LOCK_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

#include "platform/ThreadSafety.h"

namespace platform {

// The names of its operations are those that the standard's guards expect.
class ORVANE_CAPABILITY Mutex {
 public:
  Mutex() = default;
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock() ORVANE_ACQUIRE() { m_mutex.lock(); }
  void unlock() ORVANE_RELEASE() { m_mutex.unlock(); }
  bool try_lock() ORVANE_TRY_ACQUIRE(true) { return m_mutex.try_lock(); }

 private:
  friend class Condition;
  std::mutex m_mutex;
};

// Holds a mutex as long as it lives, but between Unlock and Relock.
class ORVANE_SCOPED_CAPABILITY Lock {
 public:
  explicit Lock(Mutex& mutex) ORVANE_ACQUIRE(mutex) : m_lock(mutex) {}
  // Of one that is held already.
  Lock(Mutex& mutex, std::adopt_lock_t) ORVANE_REQUIRES(mutex) : m_lock(mutex, std::adopt_lock) {}
  ~Lock() ORVANE_RELEASE() {}
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

  void Unlock() ORVANE_RELEASE() { m_lock.unlock(); }
  void Relock() ORVANE_ACQUIRE() { m_lock.lock(); }

 private:
  std::unique_lock<Mutex> m_lock;
};

// What threads that hold one mutex wait for.
class Condition {
 public:
  void NotifyOne() { m_condition.notify_one(); }
  void NotifyAll() { m_condition.notify_all(); }

  template <typename Question>
  void Wait(Mutex& mutex, Question question) ORVANE_REQUIRES(mutex) ORVANE_IS_A_LOCK {
    Held held(mutex.m_mutex);
    m_condition.wait(held.lock, std::move(question));
  }

  // False when the time was over first.
  template <typename Duration, typename Question>
  bool WaitFor(Mutex& mutex, const Duration& duration, Question question)
      ORVANE_REQUIRES(mutex) ORVANE_IS_A_LOCK {
    Held held(mutex.m_mutex);
    return m_condition.wait_for(held.lock, duration, std::move(question));
  }
  template <typename TimePoint, typename Question>
  bool WaitUntil(Mutex& mutex, const TimePoint& end, Question question)
      ORVANE_REQUIRES(mutex) ORVANE_IS_A_LOCK {
    Held held(mutex.m_mutex);
    return m_condition.wait_until(held.lock, end, std::move(question));
  }

 private:
  // The caller's mutex as the standard's condition takes it; it stays the caller's.
  struct Held {
    explicit Held(std::mutex& mutex) : lock(mutex, std::adopt_lock) {}
    ~Held() { lock.release(); }
    std::unique_lock<std::mutex> lock;
  };

  std::condition_variable m_condition;
};

}  // namespace platform

#endif
