#include "service/Clock.h"

#include <ctime>

namespace service {

std::int64_t SteadyClock::Now(int clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

SteadyClock::SteadyClock() : m_offset(Now(CLOCK_REALTIME) - Now(CLOCK_BOOTTIME)) {}

std::int64_t SteadyClock::Milliseconds() const {
  return m_offset + Now(CLOCK_BOOTTIME);
}

}  // namespace service
