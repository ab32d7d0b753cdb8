// A long broadcast of the built program, composed and started by hand: nothing of it may grow,
// drift or stand still.
//
// Three minutes by default, for every run of the tests; ORVANE_SOAK_SECONDS makes it as long as
// wanted (two hours: 7200), and ORVANE_SOAK_REPORT names a file for what was sampled on the way.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "Composer.h"
#include "LiveBar.h"
#include "Studio.h"
#include "support/ProcessSight.h"
#include "support/Recording.h"
#include "support/StageJudge.h"

namespace {

using e2e::Composer;
using support::ProcessSight;

constexpr int kShortSoak = 180;
constexpr int kBeepHz = 3000;
constexpr int kPeriodMs = 2013;  // falls on all phases of a picture's 40 ms
// Where the clock strip stands: below the program's window.
constexpr int kStripY = 1016;
constexpr int kPatienceMs = 30000;
constexpr std::int64_t kSkipMs = 3000;  // start and end of a broadcast
constexpr std::int64_t kStillMs = 80;   // two pictures
constexpr std::int64_t kLongestHaltMs = 1000;
constexpr double kSettledSeconds = 45;  // until every pool and queue has its size
constexpr double kMemoryGrowth = 0.05;
constexpr double kDriftMs = 20;

constexpr e2e::Point kBesideAll = {600, 664};  // in the window
constexpr int kFullQuality = 2;

int Seconds() {
  const char* wanted = std::getenv("ORVANE_SOAK_SECONDS");
  return wanted != nullptr ? std::max(std::atoi(wanted), 60) : kShortSoak;
}

double Now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

struct Sample {
  double seconds = 0;  // since the first packet
  ProcessSight program;
  long logBytes = 0;
};

double MedianKb(std::vector<Sample>::const_iterator from, std::vector<Sample>::const_iterator to) {
  std::vector<double> values;
  std::transform(from, to, std::back_inserter(values),
                 [](const Sample& s) { return static_cast<double>(s.program.residentKb); });
  return support::Median(values);
}

class Soak : public testing::Test {
 protected:
  void SetUp() override {
    if (const char* report = std::getenv("ORVANE_SOAK_REPORT")) {
      m_report = std::fopen(report, "w");
    }
    ASSERT_TRUE(m_studio.Start()) << m_studio.Report();
    ASSERT_TRUE(m_studio.StartService()) << m_studio.Report();
    const support::RunResult added = support::Run(
        {ORVANE_SERVICE, "activity", "add", "--database", m_studio.File("service.sqlite"),
         "--account", "demo", "--title", "长时间直播", "--publish", m_studio.Rtmp().Url("long"),
         "--view", m_studio.Rtmp().Url("long"), "--open"});
    ASSERT_EQ(added.status, 0) << added.output;
    ASSERT_TRUE(m_studio.Film("playing", {"--window", "1280x720+0+40", "--fps", "25", "--play"}));
    ASSERT_TRUE(m_studio.Film(
        "strip", {"--window", "1216x64+0+" + std::to_string(kStripY), "--fps", "50", "--clock",
                  "--flash", std::to_string(kPeriodMs), "--beep", std::to_string(kBeepHz)}));
    ASSERT_TRUE(m_studio.MakePicture("picture.png", "#D08020", "480x350"));
    MakeFilm();
    ASSERT_TRUE(m_hand.Start()) << m_hand.Report();
    ASSERT_TRUE(m_hand.ShowsRows(1)) << m_hand.Report();
  }

  void TearDown() override {
    if (m_report != nullptr) {
      std::fclose(m_report);
    }
    if (HasFailure()) {
      m_hand.Keep("failed");
      ADD_FAILURE() << m_hand.Report() << m_studio.Report() << m_studio.Log();
    }
  }

  // With sound, and longer than the broadcast: a finished film would stand still.
  void MakeFilm() {
    const support::RunResult minute =
        support::Run({"ffmpeg",
                      "-v",
                      "error",
                      "-y",
                      "-f",
                      "lavfi",
                      "-i",
                      "testsrc2=size=640x360:rate=25:duration=60",
                      "-f",
                      "lavfi",
                      "-i",
                      "sine=frequency=440:sample_rate=48000:duration=60",
                      "-c:v",
                      "libx264",
                      "-preset",
                      "veryfast",
                      "-pix_fmt",
                      "yuv420p",
                      "-c:a",
                      "aac",
                      "-ac",
                      "2",
                      m_studio.File("minute.mp4")},
                     120000);
    ASSERT_EQ(minute.status, 0) << minute.output;
    const support::RunResult film = support::Run(
        {"ffmpeg", "-v", "error", "-y", "-stream_loop", std::to_string(Seconds() / 60 + 2), "-i",
         m_studio.File("minute.mp4"), "-c", "copy", m_studio.File("film.mp4")},
        120000);
    ASSERT_EQ(film.status, 0) << film.output;
  }

  // Desktop, film, picture and text beside one another.
  void Compose() {
    ASSERT_TRUE(m_hand.Choose(e2e::Menu::kOfLayers, e2e::kFilm) && m_hand.Opens());
    m_hand.AnswerFile("film.mp4");
    ASSERT_TRUE(m_hand.Closes() && m_hand.ShowsRows(2));
    ASSERT_NO_FATAL_FAILURE(Move(640, 360, {1220, 60}));
    ASSERT_TRUE(m_hand.Choose(e2e::Menu::kOfLayers, e2e::kPicture) && m_hand.Opens());
    m_hand.AnswerFile("picture.png");
    ASSERT_TRUE(m_hand.Closes() && m_hand.ShowsRows(3));
    ASSERT_NO_FATAL_FAILURE(Move(480, 350, {1380, 440}));
    ASSERT_TRUE(m_hand.Choose(e2e::Menu::kOfLayers, e2e::kText) && m_hand.Opens());
    ASSERT_TRUE(m_hand.AnswerText("Live from the studio", true));
    ASSERT_TRUE(m_hand.ShowsRows(4));
    ASSERT_TRUE(m_hand.Shows({{{1600, 600}, 0xD08020}}));
    m_hand.Keep("composed");
  }
  // A new layer stands at the scene's corner.
  void Move(int width, int height, e2e::Point by) {
    m_hand.Click(m_hand.InWindow(kBesideAll));
    m_hand.Click(m_hand.InScene({width / 2, height / 2}));
    ASSERT_TRUE(m_hand.ShowsOutline({0, 0, width, height}));
    // Not where the click was: two at one place are a double click.
    const e2e::Point from = {width / 2 + 60, height / 2 + 40};
    m_hand.Drag({m_hand.InScene(from), m_hand.InScene({from.x + by.x / 2, from.y + by.y / 2}),
                 m_hand.InScene({from.x + by.x, from.y + by.y})});
    ASSERT_TRUE(m_hand.ShowsOutline({by.x, by.y, width, height}));
  }

  Sample Take(double begin) {
    std::error_code ignored;
    Sample sample;
    sample.seconds = Now() - begin;
    sample.program = support::LookAt(m_hand.Program().Id());
    sample.logBytes =
        static_cast<long>(std::filesystem::file_size(m_studio.File("MyLog.txt"), ignored));
    if (m_report != nullptr) {
      const ProcessSight server = support::LookAt(m_studio.Service().Id());
      std::fprintf(m_report,
                   "%.1f s: %ld KiB, %d threads, %d handles, CPU %.2f s, log %ld bytes, "
                   "service CPU %.2f s\n",
                   sample.seconds, sample.program.residentKb, sample.program.threads,
                   sample.program.handles, sample.program.cpuSeconds, sample.logBytes,
                   server.cpuSeconds);
      std::fflush(m_report);
    }
    return sample;
  }

  void GoLive() {
    const double begin = Now();
    ASSERT_TRUE(m_bar.PressStart()) << m_bar.Report();
    ASSERT_TRUE(m_studio.Rtmp().WaitForRecording(kPatienceMs)) << m_studio.Report();
    std::printf("click to first recorded packet: %.2f s\n", Now() - begin);
  }

  void SampleUntilTheEnd() {
    const int step = std::max(Seconds() / 60, 2);
    const double begin = Now();
    while (Now() - begin < Seconds()) {
      sleep(static_cast<unsigned>(step));
      m_samples.push_back(Take(begin));
    }
    m_hand.Keep("live");
  }

  void JudgeSamples() const;
  void JudgeRecording();

  e2e::Studio m_studio;
  Composer m_hand{&m_studio};
  e2e::LiveBar m_bar{&m_studio, &m_hand};
  std::vector<Sample> m_samples;
  std::FILE* m_report = nullptr;
};

void Soak::JudgeSamples() const {
  const auto settled = std::find_if(m_samples.begin(), m_samples.end(), [](const Sample& sample) {
    return sample.seconds >= kSettledSeconds;
  });
  ASSERT_GE(m_samples.end() - settled, 5);
  const auto fifth = (m_samples.end() - settled) / 5;
  const double before = MedianKb(settled, settled + fifth);
  const double after = MedianKb(m_samples.end() - fifth, m_samples.end());
  const Sample& first = *settled;
  const Sample& last = m_samples.back();
  const double seconds = last.seconds - first.seconds;
  std::printf("memory %.0f to %.0f KiB (%+.1f %%), CPU %.3f s/s, log %.0f bytes an hour\n", before,
              after, 100 * (after / before - 1),
              (last.program.cpuSeconds - first.program.cpuSeconds) / seconds,
              static_cast<double>(last.logBytes - first.logBytes) * 3600 / seconds);
  EXPECT_LE(after, before * (1 + kMemoryGrowth));
  for (auto sample = settled; sample != m_samples.end(); ++sample) {
    EXPECT_EQ(sample->program.threads, first.program.threads) << sample->seconds;
    EXPECT_EQ(sample->program.handles, first.program.handles) << sample->seconds;
  }
  std::printf("%d threads, %d handles\n", last.program.threads, last.program.handles);
}

void Soak::JudgeRecording() {
  const support::Recording recording(m_studio.Recording());
  ASSERT_EQ(recording.Error(), "") << m_studio.Report();
  ASSERT_EQ(m_studio.Rtmp().Recordings().size(), 1U);
  EXPECT_EQ(recording.TimeStampFault(), "");
  ASSERT_EQ(recording.Streams().size(), 2U);
  EXPECT_EQ(recording.Streams()[1].width, 1920);
  EXPECT_EQ(recording.Streams()[1].height, 1080);

  const std::vector<support::ClockedPicture> pictures = support::ReadClocks(recording, 0, kStripY);
  const support::ClockedMotion motion = support::JudgeClocks(pictures, kSkipMs);
  const std::vector<support::StillStretch> still =
      support::StillStretches(pictures, kStillMs, kSkipMs);
  std::printf(
      "%d pictures, %d distinct (%.3f a second), %d went back, %d unreadable, longest gap "
      "%lld ms\n",
      motion.pictures, motion.distinct, motion.distinctPerSecond, motion.wentBack,
      motion.unreadable, static_cast<long long>(motion.longestGapMs));
  for (const support::StillStretch& stretch : still) {
    std::printf("still at %lld ms for %lld ms (%lld ms of the source), %d repeats\n",
                static_cast<long long>(stretch.ms), static_cast<long long>(stretch.lengthMs),
                static_cast<long long>(stretch.sourceMs), stretch.repeats);
  }
  EXPECT_GE(motion.pictures, (Seconds() - 10) * 25);
  EXPECT_GE(motion.distinctPerSecond, 24.5);
  EXPECT_EQ(motion.wentBack, 0);
  EXPECT_LE(motion.unreadable, motion.pictures / 100);
  // A machine that does other things too halts everything for a moment now and then.
  EXPECT_LE(still.size(), static_cast<std::size_t>(Seconds()) / 60);
  EXPECT_LE(motion.longestGapMs, kLongestHaltMs);

  const std::vector<support::SyncPoint> points = support::JudgeSync(
      pictures, support::BeepStarts(recording.DecodeSound(), kBeepHz), kPeriodMs);
  const double drift = support::DriftMs(points, Seconds() * 1000.0);
  std::printf("%zu beeps, sound behind picture: %.1f ms, drift from start to end: %.1f ms\n",
              points.size(), support::MedianDistance(points), drift);
  EXPECT_GE(points.size(), static_cast<std::size_t>(Seconds()) * 1000 / kPeriodMs * 9 / 10);
  EXPECT_LE(std::abs(drift), kDriftMs);
  // What viewers notice, and two pictures that a busy machine may add to the picture's road.
  EXPECT_GE(support::MedianDistance(points), -125);
  EXPECT_LE(support::MedianDistance(points), 125);
}

TEST_F(Soak, NothingGrowsDriftsOrStandsStill) {
  ASSERT_NO_FATAL_FAILURE(Compose());
  ASSERT_TRUE(m_bar.Choose(0, kFullQuality)) << m_bar.Report();
  const ProcessSight before = support::LookAt(m_hand.Program().Id());
  ASSERT_NO_FATAL_FAILURE(GoLive());
  SampleUntilTheEnd();
  ASSERT_TRUE(m_bar.PressEnd()) << m_bar.Report();
  ASSERT_TRUE(m_studio.Rtmp().WaitForClosedRecordings(kPatienceMs));
  // What the broadcast took is given back.
  const auto asBefore = [&] {
    const ProcessSight now = support::LookAt(m_hand.Program().Id());
    return now.threads <= before.threads && now.handles <= before.handles;
  };
  EXPECT_TRUE(support::WaitFor(asBefore, kPatienceMs));
  const ProcessSight after = support::LookAt(m_hand.Program().Id());
  std::printf("before: %d threads, %d handles; after: %d threads, %d handles\n", before.threads,
              before.handles, after.threads, after.handles);
  EXPECT_EQ(m_hand.End(), 0);
  if (const char* keep = std::getenv("ORVANE_KEEP_RECORDINGS")) {
    support::Run({"cp", m_studio.Recording(), std::string(keep) + "/soak.flv"}, 120000);
  }
  JudgeSamples();
  JudgeRecording();
}

}  // namespace
