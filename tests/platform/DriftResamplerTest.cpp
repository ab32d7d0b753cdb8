#include "platform/linux/DriftResampler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

namespace platform {
namespace {

constexpr double kPi = 3.14159265358979323846;

SampleQueue ToneQueue(double hertz, int frames) {
  SampleQueue queue;
  for (int i = 0; i < frames; ++i) {
    const auto value =
        static_cast<std::int16_t>(std::lround(16000 * std::sin(2 * kPi * hertz * i / 48000)));
    const std::int16_t frame[2] = {value, static_cast<std::int16_t>(-value)};
    queue.Append(frame, 1);
  }
  return queue;
}

// Every output frame against the tone at the position that was promised for it.
double WorstError(double addedPpm, double hertz) {
  DriftResampler resampler;
  EXPECT_TRUE(resampler.Reset());
  SampleQueue queue = ToneQueue(hertz, 96000);
  double worst = 0;
  for (int block = 0; block < 150; ++block) {
    resampler.SetAdded(addedPpm);
    const double position = resampler.Position();
    std::int16_t out[480 * 2];
    EXPECT_EQ(resampler.Convert(&queue, out, 480), 480);
    // The first block holds the filter's beginning.
    for (int i = 0; block > 0 && i < 480; ++i) {
      const double place = position + i * (1 - addedPpm * 1e-6);
      const double wanted = 16000 * std::sin(2 * kPi * hertz * place / 48000);
      worst = std::max({worst, std::abs(out[2 * i] - wanted), std::abs(out[2 * i + 1] + wanted)});
    }
  }
  return worst;
}

TEST(DriftResampler, PutsEveryFrameWhereItsPositionSays) {
  for (const double added : {0.0, 5.0, 300.0, -300.0, 1000.0, -1000.0}) {
    EXPECT_LT(WorstError(added, 1000), 4) << added;
    EXPECT_LT(WorstError(added, 8000), 40) << added;
  }
}

TEST(DriftResampler, TakesFewerOrMoreFramesThanItGives) {
  for (const double added : {-500.0, 0.0, 500.0}) {
    DriftResampler resampler;
    ASSERT_TRUE(resampler.Reset());
    resampler.SetAdded(added);
    SampleQueue queue = ToneQueue(1000, 481 * 1000);
    std::vector<std::int16_t> out(480 * 1000 * 2);
    ASSERT_EQ(resampler.Convert(&queue, out.data(), 480 * 1000), 480 * 1000);
    EXPECT_NEAR(resampler.Position(), 480e3 * (1 - added * 1e-6), 1);
  }
}

TEST(DriftResampler, TakesNoMoreThanItsLookahead) {
  DriftResampler resampler;
  ASSERT_TRUE(resampler.Reset());
  SampleQueue queue = ToneQueue(1000, 10'000);
  std::int16_t out[480 * 2];
  for (int block = 1; block <= 10; ++block) {
    ASSERT_EQ(resampler.Convert(&queue, out, 480), 480);
    EXPECT_LE(10'000 - queue.Frames(), block * 480 + DriftResampler::kLookahead);
  }
}

TEST(DriftResampler, GivesWhatThereIsWhenTheInputRunsOut) {
  DriftResampler resampler;
  ASSERT_TRUE(resampler.Reset());
  SampleQueue queue = ToneQueue(1000, 200);
  std::int16_t out[480 * 2];
  const int given = resampler.Convert(&queue, out, 480);
  EXPECT_GT(given, 200 - DriftResampler::kLookahead);
  EXPECT_LE(given, 200);
  EXPECT_EQ(queue.Frames(), 0);
}

TEST(DriftResampler, ForgetsTheSoundBefore) {
  DriftResampler resampler;
  ASSERT_TRUE(resampler.Reset());
  SampleQueue tone = ToneQueue(1000, 1000);
  std::int16_t out[480 * 2];
  ASSERT_EQ(resampler.Convert(&tone, out, 480), 480);
  ASSERT_TRUE(resampler.Reset());
  EXPECT_NEAR(resampler.Position(), 0, 0.01);
  SampleQueue silence;
  const std::vector<std::int16_t> zeros(1000 * 2, 0);
  silence.Append(zeros.data(), 1000);
  ASSERT_EQ(resampler.Convert(&silence, out, 480), 480);
  for (const std::int16_t sample : out) {
    ASSERT_EQ(sample, 0);
  }
}

}  // namespace
}  // namespace platform
