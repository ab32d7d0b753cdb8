#include "output/PictureClock.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "output/PublishRules.h"
#include "platform/SoundFormat.h"

namespace output {

namespace {

// So old the sound is reckoned when the encoder takes it: its hold in the capture, usually. With
// it, flash and beep of a dozen starts lay within the bounds of one step, the filmed clock's own
// age counted in. A device that delivers late is held for longer, which nobody says here.
constexpr std::int64_t kSoundAgeMs = 72;
static_assert(kSoundAgeMs == platform::kSoundHoldMs - 1, "measured with that hold");
// What AAC puts before the first sample, which all players play.
constexpr std::int64_t kPrimingMs = 21;
// Of a picture that doesn't tell; 105 to 185 were measured.
constexpr std::int64_t kUsualRoadMs = 150;
// An older stamp belongs to another clock, or to a source that has stopped.
constexpr std::int64_t kOldestMs = 5000;
// Without any sound for longer than this there is nothing to be in step with.
constexpr std::int64_t kSilentMs = 1000;
constexpr std::int64_t kSecondMs = 1000;
// With as many waiting, whatever shows nothing new makes room.
constexpr int kOthers = 2;
// A correction of one step must not call for the opposite one a second later.
constexpr std::int64_t kGrainMs = 4;

// Rounded down, for negative distances too.
std::int64_t Steps(std::int64_t ms) {
  const std::int64_t steps = ms / PictureClock::kStepMs;
  return steps * PictureClock::kStepMs > ms ? steps - 1 : steps;
}

}  // namespace

PictureClock::Verdict PictureClock::Next(const Picture& picture) {
  NoteSound(picture);
  NoteAge(picture);
  const std::optional<std::int64_t> placeMs = PlaceOf(picture);
  m_next += picture.lost;
  if (!m_begun) {
    return Begin(picture, placeMs);
  }
  if (IsRepeat(picture)) {
    ++m_repeats;
    return {Fate::kRepeat, 0};
  }
  TakeUpRepeats(placeMs);
  if (placeMs && !KeepStep(*placeMs)) {
    return {Fate::kLeaveOut, 0};
  }
  return Encode();
}

PictureClock::Verdict PictureClock::Encode() {
  m_begun = true;
  m_leftOut = 0;
  m_capturedMs = m_capturedNow;
  return {Fate::kEncode, m_next++};
}

// A canvas once more, or, while others wait, one of which at least the bottom is the same.
bool PictureClock::IsRepeat(const Picture& picture) {
  const bool others = picture.waiting >= kOthers;
  const bool again = picture.repeat || (others && m_stampAgain);
  // With nothing else to come the stream goes on with it after half a second.
  m_standsStill = again && !others && (m_standsStill || m_repeats >= kMaxRepeats);
  return again && !m_standsStill;
}

void PictureClock::NoteSound(const Picture& picture) {
  if (!picture.soundMs) {
    return;
  }
  const std::int64_t best = *picture.soundMs - picture.nowMs;
  if (!m_soundMs || picture.nowMs - m_secondMs >= 2 * kSecondMs) {
    m_secondMs = picture.nowMs;
    m_bestNow = best;
    m_bestBefore = best;
  } else if (picture.nowMs - m_secondMs >= kSecondMs) {
    m_secondMs = picture.nowMs;
    m_bestBefore = m_bestNow;
    m_bestNow = best;
  }
  m_bestNow = std::max(m_bestNow, best);
  if (m_soundMs != picture.soundMs) {
    m_soundMovedMs = picture.nowMs;
  }
  m_soundMs = picture.soundMs;
}

void PictureClock::NoteAge(const Picture& picture) {
  m_fresh = false;
  m_stampAgain = false;
  if (!picture.capturedMs) {
    return;
  }
  const std::int64_t age = picture.nowMs - *picture.capturedMs;
  m_stampAgain = picture.capturedMs == m_capturedMs;
  m_fresh = !m_stampAgain && age >= 0 && age <= kOldestMs;
  m_capturedNow = picture.capturedMs;
  if (m_fresh) {
    m_roadMs = age - picture.waiting * kStepMs;
  } else if (!m_roadMs) {
    m_roadMs = kUsualRoadMs;
  }
}

// How far into the stream the picture belongs: a step that many milliseconds before this one has
// the sound so much behind the picture. None where nothing can be said.
std::optional<std::int64_t> PictureClock::PlaceOf(const Picture& picture) {
  if (!m_soundMs || picture.nowMs - m_soundMovedMs > kSilentMs) {
    return std::nullopt;
  }
  const std::int64_t soundMs = picture.nowMs + std::max(m_bestNow, m_bestBefore) + kSoundAgeMs;
  // The publisher adds its lag to the picture, the sound encoder its priming to the sound.
  const auto place = [&](std::int64_t roadMs) {
    return soundMs - roadMs - picture.waiting * kStepMs - kVideoLagMs + kPrimingMs;
  };
  if (!m_roadMs) {
    // Pictures without any time: they are in step now, or as soon as the sound is there.
    const std::int64_t usual = place(kUsualRoadMs);
    const std::int64_t wanted =
        m_begun ? m_next * kStepMs + kStepMs / 2 : std::max(usual, kStepMs / 2);
    m_roadMs = kUsualRoadMs + usual - wanted;
  }
  return place(*m_roadMs);
}

// Before the first: the clock counts from the first look, and its median says where the stream
// begins.
PictureClock::Verdict PictureClock::Begin(const Picture& picture,
                                          std::optional<std::int64_t> placeMs) {
  if (!placeMs) {
    m_next = 0;
    return picture.capturedMs ? Verdict{Fate::kTooEarly, 0} : Encode();
  }
  NoteDistance(*placeMs - m_next * kStepMs);
  const bool timed = picture.capturedMs.has_value();
  const std::int64_t step = m_next + Steps(MedianDistance());
  if (step < 0 || (timed && m_looks < kLooksToBegin)) {
    ++m_next;
    m_looks %= kLooks;
    m_capturedMs = m_capturedNow;
    return {Fate::kTooEarly, 0};
  }
  m_next = step;
  m_looks = 0;
  return Encode();
}

// Those that were left out for being the same: how many of them stood for a picture that was never
// made shows in how far the new one is ahead.
void PictureClock::TakeUpRepeats(std::optional<std::int64_t> placeMs) {
  const std::int64_t repeats = std::exchange(m_repeats, 0);
  m_next +=
      placeMs ? std::clamp<std::int64_t>(Steps(*placeMs - m_next * kStepMs), 0, repeats) : repeats;
}

// Moves the clock on where that is due. False: the picture is to be left out.
bool PictureClock::KeepStep(std::int64_t placeMs) {
  const std::int64_t distance = placeMs - m_next * kStepMs;
  if (distance > kLateMs) {
    m_next += Steps(distance);
    m_looks = 0;
    return true;
  }
  if (m_fresh && distance < -kEarlyMs && m_leftOut < kLooks) {
    ++m_leftOut;
    m_looks = 0;
    return false;
  }
  NoteDistance(distance);
  if (m_looks < kLooks) {
    return true;
  }
  const std::int64_t stood = MedianDistance();
  m_looks = 0;
  // It may have ended just now.
  if (std::min(stood, distance) >= kStepMs + kGrainMs) {
    ++m_next;
  }
  return std::max(stood, distance) >= -kGrainMs;
}

void PictureClock::NoteDistance(std::int64_t distanceMs) {
  m_distances[static_cast<std::size_t>(m_looks++)] = distanceMs;
}

std::int64_t PictureClock::MedianDistance() const {
  auto distances = m_distances;
  const auto middle = distances.begin() + m_looks / 2;
  std::nth_element(distances.begin(), middle, distances.begin() + m_looks);
  return *middle;
}

}  // namespace output
