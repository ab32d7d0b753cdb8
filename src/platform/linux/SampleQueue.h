// Stereo 16-bit frames in order, taken from the front. One thread.
#ifndef ORVANE_PLATFORM_LINUX_SAMPLEQUEUE_H
#define ORVANE_PLATFORM_LINUX_SAMPLEQUEUE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace platform {

class SampleQueue {
 public:
  static constexpr int kChannels = 2;

  int Frames() const { return static_cast<int>((m_samples.size() - m_head) / kChannels); }
  const std::int16_t* Front() const { return m_samples.data() + m_head; }

  void Append(const std::int16_t* samples, int frames) {
    // What was taken goes once it is more than what is left: each sample moves once on average.
    if (m_head > m_samples.size() / 2) {
      m_samples.erase(m_samples.begin(), m_samples.begin() + static_cast<std::ptrdiff_t>(m_head));
      m_head = 0;
    }
    m_samples.insert(m_samples.end(), samples,
                     samples + static_cast<std::ptrdiff_t>(frames) * kChannels);
  }
  // frames: at most Frames().
  void Drop(int frames) { m_head += static_cast<std::size_t>(frames) * kChannels; }
  void Clear() {
    m_samples.clear();
    m_head = 0;
  }

 private:
  std::vector<std::int16_t> m_samples;
  std::size_t m_head = 0;
};

}  // namespace platform

#endif
