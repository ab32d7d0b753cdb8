// The capture time of a block's last sample minus its time of arrival: the median of the server's
// last nine reports.
//
// Positive for what a loudspeaker has yet to play when its monitor delivers it; negative for a
// microphone that holds sound back. The server tells it several times a second, with the noise of
// its own scheduling, and some reports describe another moment than the last block (CaptureOffsetUs
// leaves out those that show it): the median of the last nine is used, within half a second.
//
// Pure, one thread. Microseconds.
#ifndef ORVANE_PLATFORM_LINUX_CAPTUREOFFSETESTIMATE_H
#define ORVANE_PLATFORM_LINUX_CAPTUREOFFSETESTIMATE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "platform/SoundFormat.h"

namespace platform {

// What the server says of a record stream at one moment.
struct TimingReport {
  std::int64_t frames = 0;       // that it had given out
  std::int64_t transportUs = 0;  // that the report took to get here
  std::int64_t sourceUs = 0;     // age of the last of these frames
  std::int64_t sinkUs = 0;       // of the monitor of an output: until it is heard
};

// Capture time minus arrival time of the last frame that arrived, of framesHeard in all, at
// lastArrivalUs. None when report and block belong to different moments.
inline std::optional<std::int64_t> CaptureOffsetUs(const TimingReport& report,
                                                   std::int64_t framesHeard,
                                                   std::int64_t lastArrivalUs, std::int64_t nowUs) {
  constexpr std::int64_t kMaxFramesBetween = kSoundRate / 5;
  constexpr std::int64_t kMaxArrivalAgeUs = 100'000;
  constexpr std::int64_t kMaxTransportUs = 50'000;
  const std::int64_t between = report.frames - framesHeard;
  if (nowUs - lastArrivalUs > kMaxArrivalAgeUs || report.transportUs > kMaxTransportUs ||
      between > kMaxFramesBetween || between < -kMaxFramesBetween) {
    return std::nullopt;
  }
  const std::int64_t capturedUs = nowUs - report.transportUs - report.sourceUs + report.sinkUs;
  // Had the frames between arrived like the others, the last of them would have done so then.
  return capturedUs - (lastArrivalUs + between * 1'000'000 / kSoundRate);
}

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
