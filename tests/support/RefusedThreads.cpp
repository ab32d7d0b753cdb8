#include "support/RefusedThreads.h"

#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <limits>

namespace {

constexpr int kAll = std::numeric_limits<int>::max();
std::atomic<int> g_given{kAll};

}  // namespace

extern "C" {
int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
int __wrap_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*entry)(void*), void* argument) {
  if (g_given != kAll && g_given-- <= 0) {
    return EAGAIN;
  }
  return __real_pthread_create(thread, attributes, entry, argument);
}
}

namespace support {

RefusedThreads::RefusedThreads(int given) {
  g_given = given;
}

RefusedThreads::~RefusedThreads() {
  g_given = kAll;
}

}  // namespace support
