// Sound whose way through a sound server can be timed.
#ifndef ORVANE_TESTS_CONTRACT_BURSTPLAYER_H
#define ORVANE_TESTS_CONTRACT_BURSTPLAYER_H

#include <pulse/simple.h>

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

#include "platform/linux/MonotonicClock.h"

namespace platform {

// Plays silence with short bursts, and keeps the moments at which each is heard, in
// microseconds of the monotonic clock. Plays on a thread of its own from construction to Stop.
class BurstPlayer {
 public:
  explicit BurstPlayer(const char* sink) : m_thread([this, sink] { Run(sink); }) {}
  std::vector<std::int64_t> Stop() {
    m_stop = true;
    m_thread.join();
    return m_burstsUs;
  }

 private:
  static constexpr int kBlock = 480;
  void Run(const char* sink) {
    const pa_sample_spec format{PA_SAMPLE_S16LE, 48000, 2};
    constexpr auto kDefault = static_cast<std::uint32_t>(-1);
    const pa_buffer_attr buffer{kDefault, 4 * kBlock * 4, kDefault, kBlock * 2, kDefault};
    pa_simple* player = pa_simple_new(nullptr, "bursts", PA_STREAM_PLAYBACK, sink, "bursts",
                                      &format, nullptr, &buffer, nullptr);
    for (int number = 0; player != nullptr && !m_stop; ++number) {
      const bool burst = number % 50 == 49;
      const std::vector<std::int16_t> samples(2 * kBlock, burst ? 16000 : 0);
      if (burst) {
        m_burstsUs.push_back(MonotonicUs() +
                             static_cast<std::int64_t>(pa_simple_get_latency(player, nullptr)));
      }
      pa_simple_write(player, samples.data(), samples.size() * 2, nullptr);
    }
    if (player != nullptr) {
      pa_simple_free(player);
    }
  }

  std::atomic<bool> m_stop{false};
  std::vector<std::int64_t> m_burstsUs;
  std::thread m_thread;
};

}  // namespace platform

#endif
