// Tones whose every sample tells where it was put and whether anything is wrong with it.
#ifndef ORVANE_TESTS_PLATFORM_TONEJUDGES_H
#define ORVANE_TESTS_PLATFORM_TONEJUDGES_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/linux/ContinuousSound.h"

namespace platform {

inline constexpr double kPi = 3.14159265358979323846;
inline constexpr int kBlock = ContinuousSound::kBlockFrames;
inline constexpr double kAmplitude = 0.5;
inline constexpr double kHoldMs = ContinuousSound::kHoldUs / 1e3;

// A sine from a table, since a simulated hour takes hundreds of millions of them. turns: over -8.
inline double Sine(double turns) {
  constexpr int kSteps = 8192;
  static const std::vector<double> table = [] {
    std::vector<double> values;
    for (int i = 0; i <= kSteps; ++i) {
      values.push_back(std::sin(2 * kPi * i / kSteps));
    }
    return values;
  }();
  turns += 8;
  const double place = (turns - static_cast<double>(static_cast<std::int64_t>(turns))) * kSteps;
  const auto step = static_cast<std::size_t>(place);
  return table[step] + (table[step + 1] - table[step]) * (place - static_cast<double>(step));
}

// One period to a block of 10 ms: its phase tells where a block was put.
inline double PhaseTone(double us) {
  return kAmplitude * Sine(us / 10'000);
}

inline double Tone(double us) {
  return kAmplitude * Sine(us / 1000);
}

inline bool IsSilent(const std::int16_t* block) {
  return std::all_of(block, block + kBlock * 2, [](std::int16_t sample) { return sample == 0; });
}

// How late a block of PhaseTone is, in milliseconds between -5 and 5, when hold is right for 0.
inline double DistanceMs(const std::int16_t* block, double holdMs) {
  double sine = 0;
  double cosine = 0;
  for (int i = 0; i < kBlock; ++i) {
    const double turns = i / static_cast<double>(kBlock) - holdMs / 10;
    sine += block[2 * i] * Sine(turns);
    cosine += block[2 * i] * Sine(turns + 0.25);
  }
  return -std::atan2(cosine, sine) / (2 * kPi) * 10;
}

// How far the sound departs from a pure tone, whatever its phase and level: a tone's next sample
// follows from the two before it. A click shows as a fraction of its height, a hole too.
class Purity {
 public:
  explicit Purity(double hertz)
      : m_factor(2 * std::cos(2 * kPi * hertz / ContinuousSound::kRate)) {}
  void Listen(const std::int16_t* block) {
    for (int i = 0; i < kBlock; ++i) {
      const double sample = block[2 * i];
      if (m_seen >= 2) {
        m_worst = std::max(m_worst, std::abs(sample - m_factor * m_one + m_two));
      }
      m_two = m_one;
      m_one = sample;
      ++m_seen;
    }
  }
  double Worst() const { return m_worst; }

 private:
  double m_factor;
  double m_one = 0;
  double m_two = 0;
  std::int64_t m_seen = 0;
  double m_worst = 0;
};

// Three samples, rounded twice by half a step at most, and a pitch off by 800 ppm.
inline constexpr double kPure = 5;
// A ramp of 5 ms that begins or ends: the level's bend, 16384 / 240, and rounding.
inline constexpr double kRamped = 80;

}  // namespace platform

#endif
