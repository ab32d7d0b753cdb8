// The clock that sound is kept in step with.
#ifndef ORVANE_PLATFORM_LINUX_MONOTONICCLOCK_H
#define ORVANE_PLATFORM_LINUX_MONOTONICCLOCK_H

#include <chrono>
#include <cstdint>

namespace platform {

// CLOCK_MONOTONIC in microseconds.
inline std::int64_t MonotonicUs() {
  return std::chrono::duration_cast<std::chrono::microseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

}  // namespace platform

#endif
