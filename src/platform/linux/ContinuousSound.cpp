#include "platform/linux/ContinuousSound.h"

#include <algorithm>
#include <cmath>

#include "platform/PictureRate.h"

namespace platform {

namespace {

constexpr int kRampFrames = 240;
// What has to be there beyond the frames about to be given, for the ramp at the end.
constexpr int kReserveFrames = kRampFrames + DriftResampler::kLookahead;
// No sound begins without so much of it: remains of a device that has stopped would chirp.
constexpr int kBeginFrames = ContinuousSound::kBlockFrames + kReserveFrames;
constexpr std::int64_t kSuspendedUs = std::int64_t{kSuspendedMs} * 1000;
// A tenth of a millisecond of distance is worth 20 ppm: gone within some seconds, unheard.
constexpr double kPpmPerUs = 0.2;
constexpr double kMaxSteeringPpm = 500;
// What the hold leaves, beyond the age of a block, for the reserve and for jitter.
constexpr double kHoldMarginUs = 30'000;
// Two seconds: more than the longest hold and lead need, also when nobody takes anything.
constexpr int kMaxQueueFrames = 2 * ContinuousSound::kRate;

}  // namespace

ContinuousSound::ContinuousSound(std::int64_t openUs) : m_originUs(openUs), m_lastTakeUs(openUs) {}

void ContinuousSound::Put(const std::int16_t* samples, int frames, std::int64_t arrivalUs,
                          std::int64_t captureOffsetUs) {
  m_queue.Append(samples, frames);
  if (m_queue.Frames() > kMaxQueueFrames) {
    DropFront(m_queue.Frames() - kMaxQueueFrames);
    m_realign = true;
  }
  m_clock.Observe(m_frontFrame + m_queue.Frames(), frames, arrivalUs, captureOffsetUs);
  if (m_clock.TakeDiscontinuity()) {
    m_realign = true;
  }
  LengthenHold();
}

void ContinuousSound::LengthenHold() {
  const double neededUs = m_clock.UsualAgeUs() + kHoldMarginUs;
  if (neededUs > static_cast<double>(m_holdUs) && m_holdUs < kMaxHoldUs) {
    m_holdUs = std::min(static_cast<std::int64_t>(neededUs), kMaxHoldUs);
    m_realign = true;
  }
}

void ContinuousSound::NewDevice() {
  Cut();
  m_clock.Reset();
  m_holdUs = kHoldUs;
}

bool ContinuousSound::Take(std::int64_t nowUs, std::int16_t* block) {
  const std::int64_t gapUs = nowUs - m_lastTakeUs;
  m_lastTakeUs = nowUs;
  if (gapUs > kSuspendedUs) {
    m_originUs += gapUs;
    Cut();
  }
  if (static_cast<double>(nowUs) < SlotUs(m_taken + kBlockFrames)) {
    return false;
  }
  Fill(nowUs, block);
  std::copy_n(block + std::ptrdiff_t{kBlockFrames - 1} * kChannels, kChannels, m_last);
  m_taken += kBlockFrames;
  return true;
}

double ContinuousSound::SlotUs(std::int64_t frame) const {
  return static_cast<double>(m_originUs) + static_cast<double>(frame) * 1e6 / kRate;
}

void ContinuousSound::Fill(std::int64_t nowUs, std::int16_t* block) {
  m_filler = true;
  int filled = 0;
  while (filled < kBlockFrames) {
    std::int16_t* out = block + static_cast<std::ptrdiff_t>(filled) * kChannels;
    const int room = kBlockFrames - filled;
    if (m_phase == Phase::Silent) {
      const int silent = FramesUntilSound(nowUs, m_taken + filled, room);
      Quiet(out, silent);
      filled += silent;
    } else if (m_phase == Phase::Sounding && MustEnd(room)) {
      m_phase = Phase::Ending;
    } else {
      filled += Sound(m_taken + filled, out, room);
    }
  }
}

// How many of the next room frames stay silent; when it is fewer than room, the sound has begun.
int ContinuousSound::FramesUntilSound(std::int64_t nowUs, std::int64_t frame, int room) {
  if (!m_clock.TryLock(nowUs)) {
    return room;
  }
  const double takenUs = SlotUs(frame) - static_cast<double>(m_holdUs);
  DropOlderThan(takenUs);
  if (m_queue.Frames() < kBeginFrames) {
    return room;
  }
  const double aheadUs = m_clock.TimeOf(static_cast<double>(m_frontFrame)) - takenUs;
  const double ahead = std::ceil(std::max(0.0, aheadUs) * kRate / 1e6);
  if (ahead >= room || !m_resampler.Reset()) {
    return room;
  }
  m_phase = Phase::Sounding;
  m_realign = false;
  m_resamplerFrame = m_frontFrame;
  m_gain = 0;
  return static_cast<int>(ahead);
}

void ContinuousSound::DropOlderThan(double takenUs) {
  const double old = std::floor(m_clock.FrameAt(takenUs)) - static_cast<double>(m_frontFrame);
  DropFront(static_cast<int>(std::clamp(old, 0.0, static_cast<double>(m_queue.Frames()))));
}

bool ContinuousSound::MustEnd(int room) {
  m_starved = m_queue.Frames() < room + kReserveFrames;
  return m_starved || m_realign;
}

// Gives up to room frames of sound and returns their number. An ending sound gives its ramp only.
int ContinuousSound::Sound(std::int64_t frame, std::int16_t* out, int room) {
  const double wantedUs = SlotUs(frame) - static_cast<double>(m_holdUs);
  const double isUs =
      m_clock.TimeOf(static_cast<double>(m_resamplerFrame) + m_resampler.Position());
  const double steering =
      std::clamp((isUs - wantedUs) * kPpmPerUs, -kMaxSteeringPpm, kMaxSteeringPpm);
  m_resampler.SetAdded(steering - m_clock.DriftPpm());

  const int frames = m_phase == Phase::Ending ? std::min(room, m_gain) : room;
  const int before = m_queue.Frames();
  const int given = m_resampler.Convert(&m_queue, out, frames);
  m_frontFrame += before - m_queue.Frames();
  m_filler = m_filler && given == 0;
  std::fill_n(out + static_cast<std::ptrdiff_t>(given) * kChannels, (frames - given) * kChannels,
              std::int16_t{0});
  Ramp(out, frames);
  if (m_phase == Phase::Ending && m_gain == 0) {
    if (m_starved) {
      FallSilent();
    }
    m_phase = Phase::Silent;
  }
  return frames;
}

void ContinuousSound::Ramp(std::int16_t* samples, int frames) {
  const int step = m_phase == Phase::Ending ? -1 : 1;
  for (int i = 0; i < frames && (step < 0 || m_gain < kRampFrames); ++i) {
    m_gain += step;
    for (int channel = 0; channel < kChannels; ++channel) {
      std::int16_t& sample = samples[i * kChannels + channel];
      sample = static_cast<std::int16_t>(sample * m_gain / kRampFrames);
    }
  }
}

void ContinuousSound::Quiet(std::int16_t* out, int frames) {
  for (int i = 0; i < frames; ++i) {
    m_tail = std::max(0, m_tail - 1);
    for (int channel = 0; channel < kChannels; ++channel) {
      out[i * kChannels + channel] =
          static_cast<std::int16_t>(m_last[channel] * m_tail / kRampFrames);
    }
  }
}

// Silence at once, with nothing at hand to end the sound with.
void ContinuousSound::Cut() {
  if (m_phase != Phase::Silent) {
    m_tail = kRampFrames;
  }
  FallSilent();
}

// The device stopped, or the machine did: where it goes on is to be found out.
void ContinuousSound::FallSilent() {
  m_phase = Phase::Silent;
  m_clock.LoseLock();
  DropFront(m_queue.Frames());
}

void ContinuousSound::DropFront(int frames) {
  m_queue.Drop(frames);
  m_frontFrame += frames;
}

}  // namespace platform
