#include "sources/SoundGain.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>

#include "platform/SoundFormat.h"

namespace sources {

namespace {

using platform::kSoundChannels;

constexpr double kReleaseSeconds = 0.1;
// What is left after one frame of what was taken back.
const double kRelease = std::exp(-1 / (kReleaseSeconds * platform::kSoundRate));
// What a limiter takes back less than, nobody hears: a fifth of the smallest step of a sample.
constexpr double kNothing = 1.0 / 150000;

std::int16_t Scaled(std::int16_t sample, double factor) {
  return static_cast<std::int16_t>(std::lround(sample * factor));
}

void ScaleFrame(std::int16_t* frame, double factor) {
  for (int channel = 0; channel < kSoundChannels; ++channel) {
    frame[channel] = Scaled(frame[channel], factor);
  }
}

int Loudest(const std::int16_t* frame) {
  int peak = 0;
  for (int channel = 0; channel < kSoundChannels; ++channel) {
    peak = std::max(peak, std::abs(static_cast<int>(frame[channel])));
  }
  return peak;
}

}  // namespace

double GainFactor(int db) {
  return std::pow(10.0, std::clamp(db, kLowestGainDb, kHighestGainDb) / 20.0);
}

void SoundRamp::Jump(double to) {
  m_at = to;
  m_target = to;
  m_left = 0;
}

void SoundRamp::Aim(double to) {
  m_target = to;
  m_step = (to - m_at) / kGainRampFrames;
  m_left = kGainRampFrames;
}

double SoundRamp::Next() {
  if (m_left > 0) {
    --m_left;
    // The end is met exactly: many small steps would miss it by a little.
    m_at = m_left > 0 ? m_at + m_step : m_target;
  }
  return m_at;
}

double SoundLimiter::Next(double peak) {
  if (m_held < 1) {
    const double taken = (1 - m_held) * kRelease;
    m_held = taken < kNothing ? 1 : 1 - taken;
  }
  if (peak * m_held > kLimiterCeiling) {
    m_held = kLimiterCeiling / peak;
  }
  return m_held;
}

void SoundGain::Set(const SoundMix& mix) {
  m_wantedDb = std::clamp(mix.gainDb, kLowestGainDb, kHighestGainDb);
  m_wantedMute = mix.muted;
}

bool SoundGain::Begin() {
  const int gainDb = m_wantedDb;
  const bool muted = m_wantedMute;
  if (!m_begun) {
    m_begun = true;
    m_gain.Jump(GainFactor(gainDb));
    m_open.Jump(muted ? 0 : 1);
  } else {
    if (gainDb != m_gainDb) {
      m_gain.Aim(GainFactor(gainDb));
    }
    if (muted != m_muted) {
      m_open.Aim(muted ? 0 : 1);
    }
  }
  m_gainDb = gainDb;
  m_muted = muted;
  return Amplifies() || Mutes();
}

bool SoundGain::Amplifies() const {
  return m_gainDb != 0 || !m_gain.Rests() || !m_limiter.Rests();
}

bool SoundGain::Mutes() const {
  return m_muted || !m_open.Rests();
}

void SoundGain::Amplify(std::int16_t* samples, int frames) {
  if (!Amplifies()) {
    return;
  }
  for (int i = 0; i < frames; ++i) {
    std::int16_t* frame = samples + static_cast<std::ptrdiff_t>(i) * kSoundChannels;
    const double gain = m_gain.Next();
    const double limit = m_limiter.Next(gain > 1 ? gain * Loudest(frame) : 0);
    ScaleFrame(frame, gain * limit);
  }
}

void SoundGain::Mute(std::int16_t* samples, int frames) {
  if (!Mutes()) {
    return;
  }
  for (int i = 0; i < frames; ++i) {
    ScaleFrame(samples + static_cast<std::ptrdiff_t>(i) * kSoundChannels, m_open.Next());
  }
}

}  // namespace sources
