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
// What there is for a picture, and what its mean may take of that for a level to have room: the
// same scene takes between 0.7 and 1.35 times its mean, by what moves in it.
constexpr std::int64_t kPictureMs = 40;
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
  if (!std::exchange(m_warm, true)) {
    // Everything was cold.
  } else if (IsSlow()) {
    GoDown(picture.nowMs);
  } else {
    LookForRoom(picture.nowMs);
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
  return m_tookMs > kPictureMs * m_pictures;
}

bool Effort::IsSlow() const {
  const bool behind = m_leastWaiting >= kBehind && m_leastWaiting >= m_leastBefore;
  return (IsFull() && m_fullBefore) || behind || m_dropped >= kManyDropped;
}

int Effort::BestLevel(std::int64_t tookMs, int pictures, std::int64_t mostMs) const {
  for (int level = 0; level < m_level; ++level) {
    if (tookMs * CostOf(level) <= mostMs * pictures * CostOf(m_level)) {
      return level;
    }
  }
  return m_level;
}

// No second of the room would have been full at the level to go to, and their mean leaves some.
void Effort::LookForRoom(std::int64_t nowMs) {
  const int best = BestLevel(m_tookMs, m_pictures, kPictureMs);
  if (best == m_level || m_dropped > 0 || m_leastWaiting > 1) {
    m_room.reset();
    return;
  }
  if (!m_room) {
    m_room = Room{*m_secondMs, 0, 0, 0};
  }
  m_room->tookMs += m_tookMs;
  m_room->pictures += m_pictures;
  m_room->level = std::max(m_room->level, best);
  if (nowMs - m_room->sinceMs < m_roomMs) {
    return;
  }
  const int level = std::max(m_room->level, BestLevel(m_room->tookMs, m_room->pictures, kRoomyMs));
  m_room.reset();
  if (level < m_level) {
    m_level = level;
    m_upMs = nowMs;
  }
}

void Effort::GoDown(std::int64_t nowMs) {
  m_room.reset();
  if (m_upMs) {
    const bool held = nowMs - *m_upMs >= kHoldMs;
    m_roomMs = held ? kRoomMs : std::min(2 * m_roomMs, kMaxRoomMs);
    m_upMs.reset();
  }
  m_level = std::min(m_level + 1, kLevels - 1);
}

}  // namespace output
