// Sound against picture over five minutes: a flash and a beep that a stage makes at one moment,
// told apart in the recording by its clock strip.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "Studio.h"
#include "support/Recording.h"
#include "support/StageJudge.h"

namespace {

constexpr int kBeepHz = 3000;
constexpr int kPeriodMs = 2013;  // falls on all phases of a picture's 40 ms

TEST(Sync, FlashAndBeepStayTogetherForFiveMinutes) {
  e2e::Studio studio;
  ASSERT_TRUE(studio.Start()) << studio.Report();
  ASSERT_TRUE(
      studio.Film("strip", {"--window", "1216x200+0+0", "--fps", "100", "--clock", "--flash",
                            std::to_string(kPeriodMs), "--beep", std::to_string(kBeepHz)}));
  // With a microphone, as most broadcasts are: the longer of the two roads of sound.
  ASSERT_TRUE(studio.StartLiveRoad({"--quality", "540P", "--url", studio.Rtmp().Url(), "--seconds",
                                    "306", "--layer", "desktop", "--no-preview"}));
  ASSERT_EQ(studio.LiveRoad().Wait(330000), 0) << studio.Report();

  const support::Recording recording(studio.Recording());
  ASSERT_EQ(recording.Error(), "") << studio.Report();
  const std::vector<support::ClockedPicture> pictures = support::ReadClocks(recording, 0, 0);
  const std::vector<support::SyncPoint> points = support::JudgeSync(
      pictures, support::BeepStarts(recording.DecodeSound(), kBeepHz), kPeriodMs);
  ASSERT_GE(points.size(), 140U);
  if (const char* keep = std::getenv("ORVANE_KEEP_RECORDINGS")) {
    support::Run({"cp", studio.Recording(), std::string(keep) + "/sync.flv"});
  }
  const double distance = support::MedianDistance(points);
  const double drift = support::DriftMs(points, 300000);
  RecordProperty("sound_behind_picture_ms", std::to_string(distance));
  RecordProperty("drift_in_five_minutes_ms", std::to_string(drift));
  std::printf("sound behind picture: %.1f ms, drift in five minutes: %.1f ms\n", distance, drift);
  EXPECT_LE(std::abs(drift), 20);
  // Within one picture behind what is seen, on a busy machine too; and the grain of the measure:
  // the strip is up to 10 ms old when it is filmed, and a beep's beginning is found within 2 ms.
  constexpr double kMostMs = 40;
  constexpr double kGrainMs = 12;
  EXPECT_GE(distance, -kGrainMs);
  EXPECT_LE(distance, kMostMs + kGrainMs);
}

}  // namespace
