// For what has to come back from a device, a server or a bus that may hang.
#ifndef ORVANE_TESTS_SUPPORT_MUSTRETURN_H
#define ORVANE_TESTS_SUPPORT_MUSTRETURN_H

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>

namespace support {

// Ends the test program when work hangs: nothing else can. Longer than the patience with a sound
// server.
inline void MustReturn(const char* what, const std::function<void()>& work) {
  constexpr std::chrono::seconds kHung(40);
  std::future<void> done = std::async(std::launch::async, work);
  if (done.wait_for(kHung) != std::future_status::ready) {
    std::fprintf(stderr, "%s hangs\n", what);
    std::abort();
  }
}

}  // namespace support

#endif
