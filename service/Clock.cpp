#include "service/Clock.h"

namespace service {

std::int64_t SteadyClock::Milliseconds() const {
  const auto passed = std::chrono::steady_clock::now() - m_steadyStart;
  const auto now = m_systemStart.time_since_epoch() + passed;
  return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

}  // namespace service
