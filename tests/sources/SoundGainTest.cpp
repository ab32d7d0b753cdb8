#include "sources/SoundGain.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

using sources::GainFactor;
using sources::kGainRampFrames;
using sources::kLimiterCeiling;
using sources::SoundGain;
using sources::SoundLimiter;
using sources::SoundRamp;

constexpr int kBlock = 480;
constexpr double kPi = 3.14159265358979323846;

TEST(SoundGain, FactorsOfGains) {
  const struct {
    int db;
    double factor;
  } table[] = {{0, 1},       {6, 1.995},  {12, 3.981},  {-6, 0.5012}, {-20, 0.1},
               {-60, 0.001}, {13, 3.981}, {100, 3.981}, {-61, 0.001}, {-1000, 0.001}};
  for (const auto& row : table) {
    EXPECT_NEAR(GainFactor(row.db), row.factor, row.factor / 1000) << row.db;
  }
  EXPECT_EQ(GainFactor(0), 1.0) << "exactly: nothing is multiplied";
}

TEST(SoundGain, ARampGoesStraightAndArrivesExactlyInTime) {
  const struct {
    double from;
    double to;
  } table[] = {{1, 0}, {0, 1}, {1, 3.981}, {3.981, 0.001}, {0.5, 0.5}};
  for (const auto& row : table) {
    SoundRamp ramp(row.from);
    EXPECT_TRUE(ramp.Rests());
    EXPECT_EQ(ramp.Next(), row.from);
    ramp.Aim(row.to);
    for (int frame = 1; frame <= kGainRampFrames; ++frame) {
      EXPECT_FALSE(ramp.Rests());
      EXPECT_NEAR(ramp.Next(), row.from + (row.to - row.from) * frame / kGainRampFrames, 1e-9);
    }
    EXPECT_TRUE(ramp.Rests());
    EXPECT_EQ(ramp.Next(), row.to);
  }
}

TEST(SoundGain, ARampThatIsAimedAnewGoesOnFromWhereItStands) {
  SoundRamp ramp(1);
  ramp.Aim(0);
  for (int frame = 0; frame < kGainRampFrames / 4; ++frame) {
    ramp.Next();
  }
  ramp.Aim(1);
  EXPECT_NEAR(ramp.Next(), 0.75 + 0.25 / kGainRampFrames, 1e-9);
  for (int frame = 1; frame < kGainRampFrames; ++frame) {
    ramp.Next();
  }
  EXPECT_TRUE(ramp.Rests());
  EXPECT_EQ(ramp.Next(), 1.0);
}

TEST(SoundGain, ALimiterTakesBackWhatIsTooLoudAtOnce) {
  const double table[] = {0, 100, 29204, 29205, 32768, 65536, 130450};
  for (const double peak : table) {
    SoundLimiter limiter;
    const double factor = limiter.Next(peak);
    EXPECT_LE(peak * factor, kLimiterCeiling * (1 + 1e-12)) << peak;
    EXPECT_EQ(limiter.Rests(), peak <= kLimiterCeiling) << peak;
    EXPECT_GT(factor, peak <= kLimiterCeiling ? 0.999 : 0.2) << peak;
  }
}

TEST(SoundGain, ALimiterGivesItBackWithItsTimeConstant) {
  SoundLimiter limiter;
  limiter.Next(2 * kLimiterCeiling);
  double factor = 0;
  for (int frame = 0; frame < 4800; ++frame) {
    const double next = limiter.Next(0);
    EXPECT_GT(next, factor);
    factor = next;
  }
  EXPECT_NEAR(factor, 1 - 0.5 * std::exp(-1), 1e-6);
  for (int frame = 0; frame < 3 * 48000 && !limiter.Rests(); ++frame) {
    limiter.Next(0);
  }
  EXPECT_TRUE(limiter.Rests()) << "it must not stand in the way for ever";
}

// Blocks of a tone, through one SoundGain as a capture takes them through it.
class Capture {
 public:
  explicit Capture(double amplitude) : m_amplitude(amplitude) {}

  // What came out of so many blocks, and what went in.
  std::vector<std::int16_t> Run(int blocks) {
    std::vector<std::int16_t> out;
    for (int block = 0; block < blocks; ++block) {
      std::vector<std::int16_t> samples = Tone();
      m_in.insert(m_in.end(), samples.begin(), samples.end());
      m_touched = gain.Begin();
      gain.Amplify(samples.data(), kBlock);
      m_measured.insert(m_measured.end(), samples.begin(), samples.end());
      gain.Mute(samples.data(), kBlock);
      out.insert(out.end(), samples.begin(), samples.end());
    }
    return out;
  }
  const std::vector<std::int16_t>& In() const { return m_in; }
  const std::vector<std::int16_t>& Measured() const { return m_measured; }
  bool Touched() const { return m_touched; }

  SoundGain gain;

 private:
  // The right channel is a quarter of the left one.
  std::vector<std::int16_t> Tone() {
    std::vector<std::int16_t> samples;
    for (int i = 0; i < kBlock; ++i, ++m_frame) {
      const double value = m_amplitude * std::sin(2 * kPi * 100 * m_frame / 48000);
      samples.push_back(static_cast<std::int16_t>(std::lround(value)));
      samples.push_back(static_cast<std::int16_t>(std::lround(value / 4)));
    }
    return samples;
  }

  double m_amplitude;
  int m_frame = 0;
  bool m_touched = false;
  std::vector<std::int16_t> m_in;
  std::vector<std::int16_t> m_measured;
};

int Peak(const std::vector<std::int16_t>& samples) {
  int peak = 0;
  for (const std::int16_t sample : samples) {
    peak = std::max(peak, std::abs(static_cast<int>(sample)));
  }
  return peak;
}

// The largest step from a sample to the next of its channel.
int LongestStep(const std::vector<std::int16_t>& samples) {
  int longest = 0;
  for (std::size_t i = 2; i < samples.size(); ++i) {
    longest = std::max(longest, std::abs(samples[i] - samples[i - 2]));
  }
  return longest;
}

TEST(SoundGain, UntouchedSoundStaysBitForBit) {
  Capture capture(32767);
  EXPECT_EQ(capture.Run(5), capture.In());
  EXPECT_FALSE(capture.Touched());
}

TEST(SoundGain, TheFirstBlockBeginsAsItIsWanted) {
  Capture muted(30000);
  muted.gain.Set({0, true});
  EXPECT_EQ(Peak(muted.Run(3)), 0);
  EXPECT_TRUE(muted.Touched());
  EXPECT_EQ(Peak(muted.Measured()), 30000) << "what would be sent";
  Capture quiet(30000);
  quiet.gain.Set({-20, false});
  EXPECT_EQ(Peak(quiet.Run(1)), 3000);
}

TEST(SoundGain, AMuteAndItsEndAreRampsWithoutAClick) {
  Capture capture(30000);
  std::vector<std::int16_t> all = capture.Run(3);
  const int usual = LongestStep(all);
  for (const bool muted : {true, false}) {
    capture.gain.Set({0, muted});
    const std::vector<std::int16_t> ramp = capture.Run(1);
    EXPECT_GT(Peak({ramp.begin(), ramp.begin() + kBlock}), 1000);
    EXPECT_GT(Peak({ramp.begin() + kBlock, ramp.end()}), muted ? 0 : 1000);
    all.insert(all.end(), ramp.begin(), ramp.end());
    const std::vector<std::int16_t> after = capture.Run(1);
    EXPECT_EQ(Peak(after), muted ? 0 : 30000);
    all.insert(all.end(), after.begin(), after.end());
  }
  // The ramp adds a 480th of full scale to each step at most.
  EXPECT_LE(LongestStep(all), usual + 32768 / kGainRampFrames + 2);
  capture.Run(1);
  EXPECT_FALSE(capture.Touched()) << "what is no longer muted passes as it is again";
}

TEST(SoundGain, AChangeOfGainIsARampToo) {
  Capture capture(8000);
  std::vector<std::int16_t> all = capture.Run(2);
  for (const int db : {6, -60, 11, 0}) {
    capture.gain.Set({db, false});
    const std::vector<std::int16_t> change = capture.Run(1);
    all.insert(all.end(), change.begin(), change.end());
    const std::vector<std::int16_t> after = capture.Run(2);
    EXPECT_NEAR(Peak(after), 8000 * GainFactor(db), 1) << db;
    all.insert(all.end(), after.begin(), after.end());
  }
  // A tone of 100 Hz moves by a 76th of its peak at each sample.
  EXPECT_LE(LongestStep(all), 8000 * GainFactor(12) / 76 + 28384 / kGainRampFrames + 2);
  EXPECT_FALSE(capture.Touched());
}

TEST(SoundGain, RaisedSoundStaysBelowTheCeilingInBothChannelsAlike) {
  for (const int db : {1, 6, 12}) {
    Capture capture(32767);
    capture.gain.Set({db, false});
    const std::vector<std::int16_t> out = capture.Run(50);
    EXPECT_LE(Peak(out), kLimiterCeiling) << db;
    EXPECT_GT(Peak(out), kLimiterCeiling - 300) << db << ": no more than has to be";
    for (std::size_t i = 0; i < out.size(); i += 2) {
      ASSERT_NEAR(out[i + 1], out[i] / 4.0, 3) << db;
    }
  }
}

TEST(SoundGain, AtZeroAndBelowNothingIsLimited) {
  for (const int db : {0, -1}) {
    Capture capture(32767);
    capture.gain.Set({db, false});
    EXPECT_NEAR(Peak(capture.Run(10)), 32767 * GainFactor(db), 1) << db;
  }
}

TEST(SoundGain, AGainBeyondItsEndsIsTheEnd) {
  Capture capture(1000);
  capture.gain.Set({40, false});
  EXPECT_NEAR(Peak(capture.Run(2)), 3981, 1);
}

}  // namespace
