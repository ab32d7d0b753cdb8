#include "output/Effort.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace output {

namespace {

struct Level {
  const char* name;
  int cost;  // in hundredths of the first, measured at 1080P
};
constexpr Level kTable[Effort::kLevels] = {
    {"medium", 100}, {"faster", 83}, {"veryfast", 43}, {"superfast", 36}, {"ultrafast", 21}};

constexpr std::int64_t kSecondMs = 1000;
// Of the 40 ms that there are for a picture.
constexpr std::int64_t kFullMs = 36;
constexpr std::int64_t kRoomyMs = 30;
// Pictures that wait at every look of a second: the encoder is behind and doesn't catch up.
constexpr int kBehind = 3;
constexpr int kManyDropped = 5;
// One moment in which the machine was held says nothing about the encoder.
constexpr std::int64_t kMaxTookMs = 100;

int CostOf(int level) {
  return kTable[static_cast<std::size_t>(level)].cost;
}

}  // namespace

const char* Effort::Preset(int level) {
  return level == 0 ? "" : Name(level);
}

const char* Effort::Name(int level) {
  return kTable[static_cast<std::size_t>(level)].name;
}

int Effort::Next(const Encoded& picture) {
  if (!m_secondMs) {
    BeginSecond(picture.nowMs);
  }
  m_tookMs += std::min(picture.tookMs, kMaxTookMs);
  m_dropped += picture.dropped;
  m_leastWaiting = m_pictures == 0 ? picture.waiting : std::min(m_leastWaiting, picture.waiting);
  ++m_pictures;
  if (picture.nowMs - *m_secondMs < kSecondMs) {
    return m_level;
  }
  const int best = BestLevel();
  if (!std::exchange(m_warm, true)) {
    // Everything was cold.
  } else if (IsSlow()) {
    GoDown(picture.nowMs);
  } else if (best == m_level) {
    m_roomSinceMs.reset();
  } else if (!m_roomSinceMs) {
    m_roomSinceMs = m_secondMs;
  }
  if (m_roomSinceMs && picture.nowMs - *m_roomSinceMs >= m_roomMs) {
    GoUp(picture.nowMs, best);
  }
  BeginSecond(picture.nowMs);
  return m_level;
}

void Effort::BeginSecond(std::int64_t nowMs) {
  m_secondMs = nowMs;
  m_fullBefore = IsFull();
  m_leastBefore = m_leastWaiting;
  m_tookMs = 0;
  m_pictures = 0;
  m_dropped = 0;
}

bool Effort::IsFull() const {
  return m_tookMs > kFullMs * m_pictures;
}

bool Effort::IsSlow() const {
  const bool behind = m_leastWaiting >= kBehind && m_leastWaiting >= m_leastBefore;
  return (IsFull() && m_fullBefore) || behind || m_dropped >= kManyDropped;
}

int Effort::BestLevel() const {
  if (m_dropped > 0 || m_leastWaiting > 1) {
    return m_level;
  }
  for (int level = 0; level < m_level; ++level) {
    if (m_tookMs * CostOf(level) <= kRoomyMs * m_pictures * CostOf(m_level)) {
      return level;
    }
  }
  return m_level;
}

void Effort::GoDown(std::int64_t nowMs) {
  m_roomSinceMs.reset();
  if (m_upMs) {
    const bool held = nowMs - *m_upMs >= kHoldMs;
    m_roomMs = held ? kRoomMs : std::min(2 * m_roomMs, kMaxRoomMs);
    m_upMs.reset();
  }
  m_level = std::min(m_level + 1, kLevels - 1);
}

void Effort::GoUp(std::int64_t nowMs, int level) {
  m_level = level;
  m_upMs = nowMs;
  m_roomSinceMs.reset();
}

}  // namespace output
