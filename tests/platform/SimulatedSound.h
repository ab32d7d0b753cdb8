// A sound device, and a reader of its sound, in simulated time: what the device hears is a given
// function of time, so that every sample that comes out tells where it was put.
#ifndef ORVANE_TESTS_PLATFORM_SIMULATEDSOUND_H
#define ORVANE_TESTS_PLATFORM_SIMULATEDSOUND_H

#include <algorithm>
#include <cstdint>
#include <deque>
#include <functional>
#include <utility>
#include <vector>

#include "platform/linux/ContinuousSound.h"

namespace platform {

class SimulatedSound {
 public:
  static constexpr std::int64_t kOpenUs = 5'000'000'000;
  static constexpr int kBlock = ContinuousSound::kBlockFrames;

  // What there is to hear at a time, in microseconds since the opening: -1 to 1.
  std::function<double(double)> signal = [](double) { return 0.0; };
  // How late the block with that number arrives, in microseconds.
  std::function<double(std::int64_t)> lateness = [](std::int64_t) { return 0.0; };
  // Called with every block that comes out: number and samples.
  std::function<void(std::int64_t, const std::int16_t*)> listener = [](std::int64_t,
                                                                       const std::int16_t*) {};
  double driftPpm = 0;
  int deviceBlock = kBlock;
  std::int64_t captureOffsetUs = 0;
  bool deviceRuns = true;
  // Time between two polls of the reader.
  std::int64_t pollUs = 10'000;

  double Now() const { return static_cast<double>(m_nowUs - kOpenUs); }
  double Seconds() const { return Now() / 1e6; }
  ContinuousSound& Sound() { return m_sound; }
  std::int64_t Blocks() const { return m_blocks; }

  // Lets that much time pass.
  void Run(double seconds);
  // The device skips (or, when negative, hears twice) that much.
  void Lose(double seconds) { m_takenUs += seconds * 1e6; }
  // Time passes in which nothing at all happens, as in a suspended machine.
  void Sleep(double seconds);

 private:
  struct Block {
    double arrivalUs;
    std::vector<std::int16_t> samples;
  };
  void RunDevice();

  ContinuousSound m_sound{kOpenUs};
  std::int64_t m_nowUs = kOpenUs;
  double m_takenUs = 0;  // up to here the device has taken, since the opening
  double m_lastArrivalUs = 0;
  std::int64_t m_deviceBlocks = 0;
  std::int64_t m_blocks = 0;
  std::deque<Block> m_underWay;
};

inline void SimulatedSound::RunDevice() {
  const double frameUs = 1e6 / (ContinuousSound::kRate * (1 + driftPpm * 1e-6));
  const double blockUs = frameUs * deviceBlock;
  if (!deviceRuns) {
    m_takenUs = Now();
  }
  while (deviceRuns && m_takenUs + blockUs <= Now()) {
    Block block;
    block.samples.reserve(static_cast<std::size_t>(deviceBlock) * 2);
    for (int i = 0; i < deviceBlock; ++i) {
      const double value = signal(m_takenUs + i * frameUs + static_cast<double>(captureOffsetUs));
      // Rounded as lround does, at a fraction of its price.
      const auto sample = static_cast<std::int16_t>(value * 32767 + (value < 0 ? -0.5 : 0.5));
      block.samples.push_back(sample);
      block.samples.push_back(sample);
    }
    m_takenUs += blockUs;
    // A block never overtakes another.
    m_lastArrivalUs = std::max(m_lastArrivalUs, m_takenUs + lateness(m_deviceBlocks++));
    block.arrivalUs = m_lastArrivalUs;
    m_underWay.push_back(std::move(block));
  }
  while (!m_underWay.empty() && m_underWay.front().arrivalUs <= Now()) {
    const Block& block = m_underWay.front();
    m_sound.Put(block.samples.data(), deviceBlock,
                kOpenUs + static_cast<std::int64_t>(block.arrivalUs), captureOffsetUs);
    m_underWay.pop_front();
  }
}

inline void SimulatedSound::Run(double seconds) {
  const std::int64_t end = m_nowUs + static_cast<std::int64_t>(seconds * 1e6);
  std::int16_t out[kBlock * 2];
  while (m_nowUs < end) {
    m_nowUs = std::min(m_nowUs + pollUs, end);
    RunDevice();
    while (m_sound.Take(m_nowUs, out)) {
      listener(m_blocks++, out);
    }
  }
}

inline void SimulatedSound::Sleep(double seconds) {
  m_nowUs += static_cast<std::int64_t>(seconds * 1e6);
  m_takenUs += seconds * 1e6;
}

}  // namespace platform

#endif
