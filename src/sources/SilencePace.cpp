#include "sources/SilencePace.h"

#include <algorithm>

#include "media/PacedTicker.h"

namespace sources {

namespace {

constexpr std::int64_t kMsPerSecond = 1000;

}  // namespace

SilencePace::SilencePace(std::uint32_t nowMs)
    : m_now(nowMs), m_lastTicks(nowMs), m_start(nowMs), m_sampleMs(0) {}

SilencePace::Step SilencePace::Next(std::uint32_t nowMs) {
  const std::uint32_t passed = nowMs - m_lastTicks;
  m_now += passed;
  m_lastTicks = nowMs;
  if (passed > media::kSuspendedMs) {
    m_start = m_now;
    m_sampleMs = 0;
  }
  m_sampleMs += kSamplesPerFrame * kMsPerSecond;
  const std::int64_t due = m_sampleMs / kSampleRate;
  const std::int64_t ahead = due - (m_now - m_start);
  return {static_cast<std::uint32_t>(std::max<std::int64_t>(ahead, 0)), m_start + due};
}

}  // namespace sources
