#include "support/StageJudge.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "media/ffmpeg/Scoped.h"
#include "support/TimeCode.h"

namespace {

// A picture of the scene that shows a clock strip at (x, y) and is grey elsewhere.
ffmpeg::ScopedFrame PictureOf(int width, int height, int x, int y, std::uint32_t ms) {
  ffmpeg::ScopedFrame picture(av_frame_alloc());
  picture->width = width;
  picture->height = height;
  picture->format = AV_PIX_FMT_YUV420P;
  av_frame_get_buffer(picture.Get(), 1);
  for (int plane = 0; plane < 3; ++plane) {
    std::memset(picture->data[plane], plane == 0 ? 126 : 128,
                static_cast<std::size_t>(picture->linesize[plane]) *
                    static_cast<std::size_t>(plane == 0 ? height : height / 2));
  }
  const support::TimeCells cells = support::EncodeTime(ms);
  for (int row = y * height / 1080; row < (y + support::kTimeCellSize) * height / 1080; ++row) {
    for (int column = 0; column < support::kTimeCells * support::kTimeCellSize * width / 1920;
         ++column) {
      const auto cell = static_cast<std::size_t>(column * 1920 / width / support::kTimeCellSize);
      picture->data[0][row * picture->linesize[0] + x * width / 1920 + column] =
          cells[cell] ? 235 : 16;
    }
  }
  return ffmpeg::ScopedFrame(picture.Release());
}

TEST(StageJudgeTimeCode, GivesBackEveryMoment) {
  for (const std::uint32_t ms : {0U, 1U, 0x12345678U, 0xFFFFFFFFU}) {
    EXPECT_EQ(support::DecodeTime(support::EncodeTime(ms)), std::int64_t{ms});
  }
}

TEST(StageJudgeTimeCode, RefusesADamagedRow) {
  support::TimeCells cells = support::EncodeTime(123456);
  cells[20] = !cells[20];
  EXPECT_EQ(support::DecodeTime(cells), -1);
}

TEST(StageJudge, ReadsTheClockAtEverySizeOfTheStream) {
  for (const int width : {960, 1280, 1920}) {
    const ffmpeg::ScopedFrame picture = PictureOf(width, width * 9 / 16, 320, 64, 987654321);
    EXPECT_EQ(support::SceneClock(*picture.Get(), 320, 64), 987654321) << width;
    EXPECT_EQ(support::SceneClock(*picture.Get(), 320, 640), -1) << width;
  }
}

TEST(StageJudge, MeasuresColours) {
  const ffmpeg::ScopedFrame picture = PictureOf(1280, 720, 0, 0, 1);
  const support::PictureColour grey = support::SceneColour(*picture.Get(), {960, 540, 90, 90});
  EXPECT_LT(support::Distance(grey, {128, 128, 128}), 1.5);
  EXPECT_GT(support::Distance(grey, {128, 128, 140}), 10);
}

// Pictures every 40 ms that show what was drawn 700 ms before.
std::vector<support::ClockedPicture> Steady(int count) {
  std::vector<support::ClockedPicture> pictures;
  for (int i = 0; i < count; ++i) {
    pictures.push_back({1000 + i * 40, 300 + i * 40});
  }
  return pictures;
}

TEST(StageJudge, CountsDistinctPicturesAndGaps) {
  std::vector<support::ClockedPicture> pictures = Steady(250);
  EXPECT_EQ(support::JudgeClocks(pictures, 0).distinct, 250);
  EXPECT_NEAR(support::JudgeClocks(pictures, 1000).distinctPerSecond, 25, 0.01);
  EXPECT_EQ(support::JudgeClocks(pictures, 0).longestGapMs, 40);
  pictures[101].drawnMs = pictures[100].drawnMs;
  pictures[102].drawnMs = pictures[100].drawnMs;
  pictures[200].drawnMs = -1;
  const support::ClockedMotion motion = support::JudgeClocks(pictures, 0);
  EXPECT_EQ(motion.distinct, 247);
  EXPECT_EQ(motion.longestGapMs, 120);
  EXPECT_EQ(motion.unreadable, 1);
}

TEST(StageJudge, TellsEachStretchInWhichNothingNewIsShown) {
  std::vector<support::ClockedPicture> pictures = Steady(250);
  pictures[50].drawnMs = pictures[49].drawnMs;
  pictures[101].drawnMs = pictures[100].drawnMs;
  pictures[102].drawnMs = pictures[100].drawnMs;
  const auto still = support::StillStretches(pictures, 80, 0);
  ASSERT_EQ(still.size(), 1U);
  EXPECT_EQ(still[0].ms, pictures[103].ms);
  EXPECT_EQ(still[0].lengthMs, 120);
  EXPECT_EQ(still[0].sourceMs, 120);
  EXPECT_EQ(still[0].repeats, 2);
  EXPECT_TRUE(support::StillStretches(pictures, 80, 6000).empty());
  EXPECT_TRUE(support::StillStretches({}, 80, 0).empty());
}

TEST(StageJudge, TakesAPartByTheSourcesClock) {
  std::vector<support::ClockedPicture> pictures = Steady(250);
  pictures[49].drawnMs = pictures[50].drawnMs = pictures[60].drawnMs = -1;
  const auto part = support::DrawnBetween(pictures, pictures[49].ms - 700, pictures[99].ms - 700);
  ASSERT_EQ(part.size(), 49U);
  EXPECT_EQ(part.front().ms, pictures[51].ms);
  EXPECT_EQ(part.back().ms, pictures[99].ms);
  EXPECT_EQ(support::JudgeClocks(part, 0).unreadable, 1);
  EXPECT_TRUE(support::DrawnBetween(pictures, 100000, 200000).empty());
  EXPECT_TRUE(support::DrawnBetween(pictures, 0, 299).empty());
  EXPECT_TRUE(support::DrawnBetween({}, 0, 200000).empty());
}

TEST(StageJudge, TakesTheBeepsOfAPart) {
  const std::vector<support::ClockedPicture> pictures = Steady(250);
  const auto part = support::DrawnBetween(pictures, 700, 2700);
  const std::vector<support::SyncPoint> points = {{1300, 1}, {1500, 2}, {3300, 3}, {3500, 4}};
  const auto during = support::SyncDuring(points, part);
  ASSERT_EQ(during.size(), 2U);
  EXPECT_EQ(during[0].soundLateMs, 2);
  EXPECT_EQ(during[1].soundLateMs, 3);
  EXPECT_TRUE(support::SyncDuring(points, {}).empty());
}

TEST(StageJudge, SeesPicturesThatGoBack) {
  std::vector<support::ClockedPicture> pictures = Steady(10);
  std::swap(pictures[4].drawnMs, pictures[5].drawnMs);
  EXPECT_EQ(support::JudgeClocks(pictures, 0).wentBack, 1);
}

TEST(StageJudge, MeasuresHowFarSoundIsBehindThePicture) {
  const std::vector<support::ClockedPicture> pictures = Steady(1000);
  // Made at 4000 and 8000 on the source's clock, so seen at 4700 and 8700.
  const std::vector<support::SyncPoint> points =
      support::JudgeSync(pictures, {4700 + 55, 8700 + 65}, 2000);
  ASSERT_EQ(points.size(), 2U);
  EXPECT_NEAR(points[0].soundLateMs, 55, 0.01);
  EXPECT_NEAR(points[1].soundLateMs, 65, 0.01);
  EXPECT_NEAR(support::DriftMs(points, 40000), 10.0 / 4010 * 40000, 0.5);
}

TEST(StageJudge, ADisturbedBeepIsNoDriftButAStepIs) {
  std::vector<support::SyncPoint> points;
  for (int i = 0; i < 100; ++i) {
    points.push_back({2000.0 * i, i == 99 ? 180.0 : -30.0});
  }
  EXPECT_NEAR(support::DriftMs(points, 300000), 0, 0.01);
  for (int i = 50; i < 100; ++i) {
    points[static_cast<std::size_t>(i)].soundLateMs -= 40;
  }
  EXPECT_NEAR(support::DriftMs(points, 300000), -40.0 / 160000 * 300000, 0.01);
}

TEST(StageJudge, FindsWhereBeepsBegin) {
  support::Recording::Sound sound;
  sound.startMs = 500;
  for (int i = 0; i < 48000 * 3; ++i) {
    const bool beep = i % 48000 >= 12000 && i % 48000 < 21600;
    sound.samples.push_back(beep ? 0.3F * std::sin(static_cast<float>(i) * 0.3926991F) : 0.0F);
  }
  const std::vector<double> starts = support::BeepStarts(sound, 3000);
  ASSERT_EQ(starts.size(), 3U);
  EXPECT_NEAR(starts[0], 750, 1.5);
  EXPECT_NEAR(starts[2], 2750, 1.5);
  EXPECT_TRUE(support::BeepStarts(sound, 1000).empty());
}

TEST(StageJudge, SoundAheadIsNegative) {
  EXPECT_NEAR(support::MedianDistance(support::JudgeSync(Steady(500), {4700 - 120}, 2000)), -120,
              0.01);
}

}  // namespace
