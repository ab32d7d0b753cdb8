// Sound against picture: a flash and a beep that a stage makes at one moment, told apart in the
// recording by a clock that is filmed. Over five minutes of a desktop, and with cameras.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "Studio.h"
#include "support/FakeCamera.h"
#include "support/Recording.h"
#include "support/StageJudge.h"

namespace {

constexpr int kBeepHz = 3000;
constexpr int kPeriodMs = 2013;  // falls on all phases of a picture's 40 ms
// The sound stays within one picture behind what is seen, on a busy machine too.
constexpr double kMostMs = 40;
// The grain of the measure: a strip is up to 10 ms old when it is filmed, and a beep's beginning is
// found within 2 ms.
constexpr double kGrainMs = 12;

// How far every beep of the recording comes behind the picture of its moment.
std::vector<support::SyncPoint> Judge(e2e::Studio* studio) {
  const support::Recording recording(studio->Recording());
  EXPECT_EQ(recording.Error(), "") << studio->Report();
  if (const char* keep = std::getenv("ORVANE_KEEP_RECORDINGS")) {
    support::Run({"cp", studio->Recording(), std::string(keep) + "/sync.flv"});
  }
  return support::JudgeSync(support::ReadClocks(recording, 0, 0),
                            support::BeepStarts(recording.DecodeSound(), kBeepHz), kPeriodMs);
}

TEST(Sync, FlashAndBeepStayTogetherForFiveMinutes) {
  e2e::Studio studio;
  ASSERT_TRUE(studio.Start()) << studio.Report();
  ASSERT_TRUE(
      studio.Film("strip", {"--window", "1216x200+0+0", "--fps", "100", "--clock", "--flash",
                            std::to_string(kPeriodMs), "--beep", std::to_string(kBeepHz)}));
  // With a microphone, as most broadcasts are: the longer of the two roads of sound.
  ASSERT_TRUE(studio.StartLiveRoad({"--quality", "540P", "--url", studio.Rtmp().Url(), "--seconds",
                                    "306", "--layer", "desktop", "--no-preview"}));
  ASSERT_EQ(studio.LiveRoad().Wait(380000), 0) << studio.Report();

  const std::vector<support::SyncPoint> points = Judge(&studio);
  ASSERT_GE(points.size(), 140U);
  const double distance = support::MedianDistance(points);
  const double drift = support::DriftMs(points, 300000);
  RecordProperty("sound_behind_picture_ms", std::to_string(distance));
  RecordProperty("drift_in_five_minutes_ms", std::to_string(drift));
  std::printf("sound behind picture: %.1f ms, drift in five minutes: %.1f ms\n", distance, drift);
  EXPECT_LE(std::abs(drift), 20);
  EXPECT_GE(distance, -kGrainMs);
  EXPECT_LE(distance, kMostMs + kGrainMs);
}

// A camera's pictures come by its own clock, and one of 30 a second is thinned. The stand-in paints
// the moment at which it captures.
class SyncWithCamera : public testing::TestWithParam<int> {};

TEST_P(SyncWithCamera, TheSoundIsInStepWithACamera) {
  support::FakeCamera camera;
  support::FakeCameraMode mode;
  mode.width = 1280;
  mode.height = 720;
  mode.framesPerSecond = GetParam();
  mode.showsClock = true;
  ASSERT_TRUE(camera.Plug(mode)) << camera.Failure();
  e2e::Studio studio;
  ASSERT_TRUE(studio.Start()) << studio.Report();
  ASSERT_TRUE(studio.Film("beeps", {"--window", "200x200+0+0", "--fps", "5", "--flash",
                                    std::to_string(kPeriodMs), "--beep", std::to_string(kBeepHz)}));
  ASSERT_TRUE(studio.StartLiveRoad({"--quality", "540P", "--url", studio.Rtmp().Url(), "--seconds",
                                    "32", "--layer", "camera@0,0,1280,720", "--no-preview"}));
  ASSERT_EQ(studio.LiveRoad().Wait(120000), 0) << studio.Report();

  const std::vector<support::SyncPoint> points = Judge(&studio);
  ASSERT_GE(points.size(), 12U);
  const double distance = support::MedianDistance(points);
  std::printf("sound behind a camera of %d pictures a second: %.1f ms\n", GetParam(), distance);
  EXPECT_GE(distance, -kGrainMs);
  EXPECT_LE(distance, kMostMs + kGrainMs);
}

INSTANTIATE_TEST_SUITE_P(PicturesASecond, SyncWithCamera, testing::Values(25, 30));

}  // namespace
