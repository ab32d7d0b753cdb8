#include "media/FramePace.h"

namespace media {

namespace {

constexpr std::int64_t kCounterStep = 1000;
constexpr std::int64_t kFramesPerSecond = 25;
constexpr std::uint32_t kSuspendedMs = 3000;

}  // namespace

FramePace::FramePace(std::uint32_t nowMs) : m_lastMs(nowMs) {}

bool FramePace::Take(std::uint32_t nowMs) {
  const std::uint32_t passed = nowMs - m_lastMs;
  const std::int64_t due = m_counter / kFramesPerSecond;
  m_lastMs = nowMs;
  m_elapsed = passed > kSuspendedMs ? due : m_elapsed + passed;
  if (m_elapsed < due) {
    return false;
  }
  m_counter += kCounterStep;
  return true;
}

}  // namespace media
