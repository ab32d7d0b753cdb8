// The capture time of a block's last sample minus its time of arrival: the median of the server's
// last nine reports.
//
// Positive for what a loudspeaker has yet to play when its monitor delivers it; negative for a
// microphone that holds sound back. The server tells it several times a second, with the noise of
// its own scheduling and now and then nonsense: the median of the last nine is used, within half a
// second.
//
// Pure, one thread. Microseconds.
#ifndef ORVANE_PLATFORM_LINUX_CAPTUREOFFSETESTIMATE_H
#define ORVANE_PLATFORM_LINUX_CAPTUREOFFSETESTIMATE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace platform {

class CaptureOffsetEstimate {
 public:
  static constexpr std::int64_t kMaxUs = 500'000;

  void Add(std::int64_t captureOffsetUs) {
    if (m_values.size() == kValues) {
      m_values.erase(m_values.begin());
    }
    m_values.push_back(std::clamp(captureOffsetUs, -kMaxUs, kMaxUs));
  }
  bool Known() const { return !m_values.empty(); }
  // 0 while unknown.
  std::int64_t Us() const {
    if (m_values.empty()) {
      return 0;
    }
    std::vector<std::int64_t> sorted = m_values;
    std::sort(sorted.begin(), sorted.end());
    return sorted[sorted.size() / 2];
  }

 private:
  static constexpr std::size_t kValues = 9;
  std::vector<std::int64_t> m_values;
};

}  // namespace platform

#endif
