#include "sources/SoundLevel.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <limits>
#include <thread>
#include <vector>

namespace {

using sources::SoundLevel;
using sources::SoundMeasure;

std::vector<std::int16_t> Block(std::int16_t left, std::int16_t right) {
  std::vector<std::int16_t> samples;
  for (int i = 0; i < 480; ++i) {
    samples.push_back(left);
    samples.push_back(right);
  }
  return samples;
}

void Add(SoundLevel* level, const std::vector<std::int16_t>& block) {
  level->Add(block.data(), static_cast<int>(block.size()));
}

TEST(SoundLevel, IsEmptyBeforeAnySound) {
  SoundLevel level;
  const SoundMeasure measure = level.Take();
  EXPECT_EQ(measure.blocks, 0);
  EXPECT_EQ(measure.peak, 0);
  EXPECT_EQ(measure.meanSquare, 0);
}

TEST(SoundLevel, SilenceIsSoundWithoutLevel) {
  SoundLevel level;
  Add(&level, Block(0, 0));
  const SoundMeasure measure = level.Take();
  EXPECT_EQ(measure.blocks, 1);
  EXPECT_EQ(measure.peak, 0);
  EXPECT_EQ(measure.meanSquare, 0);
}

TEST(SoundLevel, TakesThePeakAndTheMeanOfBothChannelsAndAllBlocks) {
  SoundLevel level;
  Add(&level, Block(100, -300));
  Add(&level, Block(0, 0));
  const SoundMeasure measure = level.Take();
  EXPECT_EQ(measure.blocks, 2);
  EXPECT_EQ(measure.peak, 300);
  EXPECT_EQ(measure.meanSquare, (100.0 * 100 + 300.0 * 300) / 2 / 2);
  EXPECT_EQ(level.Take().blocks, 0);
}

TEST(SoundLevel, HoldsTheLoudestSoundThereIs) {
  SoundLevel level;
  constexpr std::int16_t kLowest = std::numeric_limits<std::int16_t>::min();
  for (int i = 0; i < SoundLevel::kMaxBlocks; ++i) {
    Add(&level, Block(kLowest, kLowest));
  }
  const SoundMeasure measure = level.Take();
  EXPECT_EQ(measure.blocks, SoundLevel::kMaxBlocks);
  EXPECT_EQ(measure.peak, 32768);
  EXPECT_EQ(measure.meanSquare, 32768.0 * 32768);
}

TEST(SoundLevel, BeginsAnewWhenNobodyLooksForLong) {
  SoundLevel level;
  for (int i = 0; i < SoundLevel::kMaxBlocks; ++i) {
    Add(&level, Block(20000, 20000));
  }
  Add(&level, Block(100, 100));
  const SoundMeasure measure = level.Take();
  EXPECT_EQ(measure.blocks, 1);
  EXPECT_EQ(measure.peak, 100);
  EXPECT_EQ(measure.meanSquare, 100.0 * 100);
}

TEST(SoundLevel, AnEmptyBlockIsNone) {
  SoundLevel level;
  level.Add(nullptr, 0);
  EXPECT_EQ(level.Take().blocks, 0);
}

TEST(SoundLevel, EveryMeasureIsOneOfWholeBlocks) {
  SoundLevel level;
  constexpr int kBlocks = 20000;
  std::atomic<bool> done{false};
  std::thread capture([&] {
    const std::vector<std::int16_t> block = Block(1000, -1000);
    for (int i = 0; i < kBlocks; ++i) {
      Add(&level, block);
    }
    done = true;
  });
  bool last = false;
  while (!last) {
    last = done;
    const SoundMeasure measure = level.Take();
    if (measure.blocks > 0) {
      EXPECT_EQ(measure.peak, 1000);
      EXPECT_EQ(measure.meanSquare, 1000.0 * 1000);
    }
  }
  capture.join();
}

}  // namespace
