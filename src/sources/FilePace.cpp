#include "sources/FilePace.h"

#include <algorithm>

#include "media/PacedTicker.h"
#include "sources/StereoConvert.h"

namespace sources {

namespace {

// Differences of a damaged file's time stamps may exceed 64 bits: they wrap.
std::int64_t Difference(std::int64_t a, std::int64_t b) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) - static_cast<std::uint64_t>(b));
}

}  // namespace

std::int32_t FilePace::WaitFor(std::uint32_t wallStart, std::int64_t firstPts, std::uint32_t now,
                               std::int64_t framePts) {
  const auto offset = static_cast<std::uint32_t>(Difference(framePts, firstPts));
  return static_cast<std::int32_t>(wallStart - now + offset);
}

std::uint32_t FilePace::SleepFor(std::int32_t wait) {
  if (wait >= 11) {
    return static_cast<std::uint32_t>(std::min(wait - 5, 100));
  }
  return static_cast<std::uint32_t>(std::max(wait, 0));
}

void FilePace::BeginTurn(std::uint64_t now) {
  const std::uint64_t gap = now - m_lastTurn;
  if (m_begun && m_wallStart != 0 && gap > media::kSuspendedMs) {
    m_wallStart += gap;
  }
  m_begun = true;
  m_lastTurn = now;
}

std::uint32_t FilePace::DelayBefore(std::int64_t framePts, std::uint64_t now) {
  if (m_wallStart == 0) {
    m_wallStart = now;
  }
  if (!m_firstKnown) {
    m_firstPts = framePts;
    m_firstKnown = true;
  }
  return SleepFor(WaitFor(static_cast<std::uint32_t>(m_wallStart), m_firstPts,
                          static_cast<std::uint32_t>(now), framePts));
}

std::int64_t FilePace::Release(std::int64_t framePts, int samples) {
  m_released += samples;
  const std::int64_t played = m_released * 1000 / kSoundRate;
  m_drift = static_cast<int>(Difference(played, Difference(framePts, m_firstPts)));
  return static_cast<std::int64_t>(m_wallStart) + played;
}

std::int64_t FilePace::PictureStamp(std::int64_t framePts) const {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(Difference(framePts, m_firstPts)) +
                                   m_wallStart);
}

}  // namespace sources
