// A system that gives no thread: while one lives the first calls of pthread_create succeed, as many
// as it was told, and every later one fails. What links orvane_refused_threads has pthread_create
// wrapped; the threads of libraries are not meant. One at a time.
#ifndef ORVANE_TESTS_SUPPORT_REFUSEDTHREADS_H
#define ORVANE_TESTS_SUPPORT_REFUSEDTHREADS_H

namespace support {

class RefusedThreads {
 public:
  explicit RefusedThreads(int given = 0);
  ~RefusedThreads();
  RefusedThreads(const RefusedThreads&) = delete;
  RefusedThreads& operator=(const RefusedThreads&) = delete;
};

}  // namespace support

#endif
