// A moment after which blocking network calls give up. Set on one thread, polled on another.
#ifndef ORVANE_OUTPUT_DEADLINE_H
#define ORVANE_OUTPUT_DEADLINE_H

#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>

namespace output {

class Deadline {
 public:
  void SetIn(std::int64_t ms) { m_at = Now() + ms; }
  void Clear() { m_at = kNever; }
  bool Passed() const { return Now() >= m_at; }

 private:
  static constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

  static std::int64_t Now() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
  }

  std::atomic<std::int64_t> m_at{kNever};
};

}  // namespace output

#endif
