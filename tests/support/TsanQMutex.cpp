// Makes QMutex visible to the thread sanitizer. Qt is not instrumented and its mutex spins on
// atomics inside the library, so without this every field guarded by a QMutex would be reported.
// The three operations are overridden in the executable, forward to Qt's own, and tell the
// sanitizer what they order.
#include <dlfcn.h>

extern "C" {
void __tsan_acquire(void* address);
void __tsan_release(void* address);

void OrvaneQMutexLock(void* mutex) __asm__("_ZN6QMutex4lockEv");
void OrvaneQMutexUnlock(void* mutex) __asm__("_ZN6QMutex6unlockEv");
bool OrvaneQMutexTryLock(void* mutex, int timeout) __asm__("_ZN6QMutex7tryLockEi");
}

namespace {

template <typename Function>
Function Next(const char* symbol) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, symbol));
}

}  // namespace

void OrvaneQMutexLock(void* mutex) {
  static const auto next = Next<void (*)(void*)>("_ZN6QMutex4lockEv");
  next(mutex);
  __tsan_acquire(mutex);
}

void OrvaneQMutexUnlock(void* mutex) {
  static const auto next = Next<void (*)(void*)>("_ZN6QMutex6unlockEv");
  __tsan_release(mutex);
  next(mutex);
}

bool OrvaneQMutexTryLock(void* mutex, int timeout) {
  static const auto next = Next<bool (*)(void*, int)>("_ZN6QMutex7tryLockEi");
  const bool locked = next(mutex, timeout);
  if (locked) {
    __tsan_acquire(mutex);
  }
  return locked;
}
