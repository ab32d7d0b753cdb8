// A long broadcast of the built program, composed and started by hand: nothing of it may grow,
// drift or stand still.
//
// What it asks for is what the machine can do: every picture wherever there was room; where there
// was none, an effort of the encoder that went down, losses that are even, and sound in step all
// the same (support/SoakJudge.h). A slow machine doesn't fail it for being slow.
//
// A minute and a half by default, for every run of the tests; ORVANE_SOAK_SECONDS makes it as long
// as wanted (two hours: 7200), and ORVANE_SOAK_REPORT names a file for what was sampled on the way.
// ORVANE_SOAK_LAYERS=10 takes ten layers, and ORVANE_SOAK_NEIGHBOUR=arithmetic or memory has
// another program beside it that takes what it gets, for one minute of ten (bench/neighbour.cpp).
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "Composer.h"
#include "LiveBar.h"
#include "Studio.h"
#include "support/MachineWatch.h"
#include "support/ProcessStats.h"
#include "support/Recording.h"
#include "support/SoakJudge.h"
#include "support/StageJudge.h"

namespace {

using e2e::Composer;
using support::ProcessStats;

constexpr int kShortSoak = 90;
constexpr int kBeepHz = 3000;
constexpr int kPeriodMs = 2013;  // falls on all phases of a picture's 40 ms
// Where the clock strip stands: below the program's window.
constexpr int kStripY = 1016;
constexpr int kPatienceMs = 60000;
constexpr std::int64_t kSkipMs = 3000;  // start and end of a broadcast
constexpr std::int64_t kGapMs = 80;     // four layers
constexpr std::int64_t kGapOfTenMs = 120;
constexpr double kPicturesASecond = 24.5;
// A crowded stretch so long, with fewer pictures than that, asks for less effort.
constexpr double kCrowdedSeconds = 10;
constexpr double kCrowdedPictures = 24;
// Sound behind the picture: over the whole broadcast, and of one beep in an overload; to both the
// grain of the measure is added, which is the age of the strip and what tells a beep's beginning.
constexpr double kGrainMs = 12;
constexpr double kSoundMostMs = 40;
constexpr double kBeepLeastMs = -20;
constexpr double kBeepMostMs = 80;
constexpr double kBeepsInStep = 0.95;  // some are disturbed on their way through the sound server
constexpr int kLoadPeriod = 600;
constexpr int kLoadFrom = 240;
constexpr int kLoadTo = 300;
constexpr std::int64_t kBackMs = 65000;
constexpr std::int64_t kLeavesMs = 5000;
constexpr double kSettledSeconds = 45;  // until every pool and queue has its size
constexpr double kMemoryGrowth = 0.05;
// By two canvases the pools breathe: they keep what any moment of the last half minute needed.
constexpr double kPoolsKb = 2 * 1920 * 1080 * 3 / 1024.0;
constexpr double kDriftMs = 20;

constexpr e2e::Point kBesideAll = {600, 664};  // in the window
constexpr int kFullQuality = 2;

int Seconds() {
  const char* wanted = std::getenv("ORVANE_SOAK_SECONDS");
  return wanted != nullptr ? std::max(std::atoi(wanted), 60) : kShortSoak;
}

bool TenLayers() {
  const char* wanted = std::getenv("ORVANE_SOAK_LAYERS");
  return wanted != nullptr && std::atoi(wanted) == 10;
}

double Now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::int64_t NowMs() {
  return static_cast<std::int64_t>(Now() * 1000);
}

struct Sample {
  double seconds = 0;  // since the first packet
  ProcessStats program;
  long logBytes = 0;
};

// What a moment without load holds: an overload takes memory, and gives it back within a minute.
double LeastKb(std::vector<Sample>::const_iterator from, std::vector<Sample>::const_iterator to) {
  const auto least = std::min_element(from, to, [](const Sample& a, const Sample& b) {
    return a.program.memoryKb < b.program.memoryKb;
  });
  return static_cast<double>(least->program.memoryKb);
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
        "strip", {"--window", "1216x64+0+" + std::to_string(kStripY), "--fps", "100", "--clock",
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

  // A dive into a fractal, with sound, and longer than the broadcast: a finished film would stand
  // still.
  void MakeFilm() {
    const support::RunResult dive = support::Run(
        {"ffmpeg",
         "-v",
         "error",
         "-y",
         "-f",
         "lavfi",
         "-i",
         "mandelbrot=size=640x360:rate=25:maxiter=400:start_scale=0.3:end_scale=0.0003:"
         "end_pts=300,trim=duration=12",
         "-f",
         "lavfi",
         "-i",
         "sine=frequency=440:sample_rate=48000:duration=12",
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
         m_studio.File("dive.mp4")},
        120000);
    ASSERT_EQ(dive.status, 0) << dive.output;
    const support::RunResult film = support::Run(
        {"ffmpeg", "-v", "error", "-y", "-stream_loop", std::to_string(Seconds() / 12 + 10), "-i",
         m_studio.File("dive.mp4"), "-c", "copy", m_studio.File("film.mp4")},
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
    if (TenLayers()) {
      ASSERT_NO_FATAL_FAILURE(AddSixMore());
    }
    m_hand.Keep("composed");
  }
  // Where they come up: above one another, beside the clock strip.
  void AddSixMore() {
    for (int rows = 5; rows <= 8; ++rows) {
      const bool film = rows == 5;
      ASSERT_TRUE(m_hand.Choose(e2e::Menu::kOfLayers, film ? e2e::kFilm : e2e::kPicture) &&
                  m_hand.Opens());
      m_hand.AnswerFile(film ? "film.mp4" : "picture.png");
      ASSERT_TRUE(m_hand.Closes() && m_hand.ShowsRows(rows));
    }
    ASSERT_TRUE(m_hand.Choose(e2e::Menu::kOfWindows, e2e::kWindow) && m_hand.Opens());
    m_hand.Click(m_hand.InDialog(Composer::kFirstOfWindows));
    m_hand.Click(m_hand.InDialog(Composer::kWindowOk));
    ASSERT_TRUE(m_hand.Closes() && m_hand.ShowsRows(9));
    ASSERT_TRUE(m_hand.Choose(e2e::Menu::kOfLayers, e2e::kText) && m_hand.Opens());
    ASSERT_TRUE(m_hand.AnswerText("Two hours", true));
    ASSERT_TRUE(m_hand.ShowsRows(10));
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
    sample.program = support::ReadProcessStats(m_hand.Program().Id());
    sample.logBytes =
        static_cast<long>(std::filesystem::file_size(m_studio.File("MyLog.txt"), ignored));
    if (m_report != nullptr) {
      const ProcessStats server = support::ReadProcessStats(m_studio.Service().Id());
      std::fprintf(m_report,
                   "%.1f s: %ld KiB, %d threads, %d handles, CPU %.2f s, log %ld bytes, "
                   "service CPU %.2f s\n",
                   sample.seconds, sample.program.memoryKb, sample.program.threads,
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
    m_machine.Begin();
    while (Now() - begin < Seconds()) {
      sleep(static_cast<unsigned>(step));
      m_samples.push_back(Take(begin));
      Load(static_cast<int>(Now() - begin));
    }
    m_machine.End();
    m_hand.Keep("live");
  }

  // A neighbour comes and goes, as wanted.
  void Load(int seconds) {
    const char* kind = std::getenv("ORVANE_SOAK_NEIGHBOUR");
    if (kind == nullptr) {
      return;
    }
    const int at = seconds % kLoadPeriod;
    const bool due = at >= kLoadFrom && at < kLoadTo;
    if (due && !m_neighbour.Running()) {
      ASSERT_TRUE(m_neighbour.Start({ORVANE_NEIGHBOUR, kind}));
      m_loads.push_back({NowMs(), std::numeric_limits<std::int64_t>::max()});
    } else if (!due && m_neighbour.Running()) {
      m_neighbour.Stop();
      m_loads.back().toMs = NowMs();
    }
  }

  void JudgeSamples() const;
  void JudgeRecording();
  void JudgePictures(const std::vector<support::ClockedPicture>& pictures);
  void JudgeEffort(const std::vector<support::ClockedPicture>& pictures,
                   const std::string& recording, const support::SoakMotion& crowded) const;
  void JudgeReturns(const std::vector<support::ClockedPicture>& pictures,
                    const std::vector<support::EffortStep>& steps) const;
  bool IsLoaded(std::int64_t ms) const;
  void JudgeSound(const support::Recording& recording,
                  const std::vector<support::ClockedPicture>& pictures) const;

  e2e::Studio m_studio;
  Composer m_hand{&m_studio};
  e2e::LiveBar m_bar{&m_studio, &m_hand};
  std::vector<Sample> m_samples;
  support::MachineWatch m_machine;
  support::Process m_neighbour;
  std::vector<support::Span> m_loads;  // CLOCK_MONOTONIC
  std::FILE* m_report = nullptr;
};

void Soak::JudgeSamples() const {
  const auto settled = std::find_if(m_samples.begin(), m_samples.end(), [](const Sample& sample) {
    return sample.seconds >= kSettledSeconds;
  });
  ASSERT_GE(m_samples.end() - settled, 5);
  const auto fifth = (m_samples.end() - settled) / 5;
  const double before = LeastKb(settled, settled + fifth);
  const double after = LeastKb(m_samples.end() - fifth, m_samples.end());
  const Sample& first = *settled;
  const Sample& last = m_samples.back();
  const double seconds = last.seconds - first.seconds;
  std::printf("least memory %.0f to %.0f KiB (%+.1f %%), CPU %.3f s/s, log %.0f bytes an hour\n",
              before, after, 100 * (after / before - 1),
              (last.program.cpuSeconds - first.program.cpuSeconds) / seconds,
              static_cast<double>(last.logBytes - first.logBytes) * 3600 / seconds);
  EXPECT_LE(after, before * (1 + kMemoryGrowth) + kPoolsKb);
  // While the encoder changes its effort there may be threads of two.
  const auto usualThreads = [](auto from, auto to) {
    std::vector<double> threads;
    std::transform(from, to, std::back_inserter(threads),
                   [](const Sample& sample) { return sample.program.threads; });
    return support::Median(threads);
  };
  EXPECT_EQ(usualThreads(settled, settled + fifth),
            usualThreads(m_samples.end() - fifth, m_samples.end()));
  for (auto sample = settled; sample != m_samples.end(); ++sample) {
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
  ASSERT_FALSE(pictures.empty());
  EXPECT_GE(pictures.back().ms - pictures.front().ms, (Seconds() - 10) * 1000);
  const support::ClockedMotion motion = support::JudgeClocks(pictures, kSkipMs);
  EXPECT_EQ(motion.wentBack, 0);
  EXPECT_LE(motion.unreadable, motion.pictures / 100);
  JudgePictures(pictures);
  JudgeSound(recording, pictures);
}

void Soak::JudgePictures(const std::vector<support::ClockedPicture>& pictures) {
  const support::SoakPictures soak = support::JudgeSoak(
      pictures, m_machine.Seconds(), TenLayers() ? kGapOfTenMs : kGapMs, kSkipMs);
  const auto print = [](const char* where, const support::SoakMotion& motion) {
    std::printf("%s: %.0f s, %d distinct pictures (%.3f a second), longest gap %lld ms\n", where,
                motion.seconds, motion.distinct, motion.PerSecond(),
                static_cast<long long>(motion.longestGapMs));
  };
  print("with room", soak.free);
  print("crowded", soak.crowded);
  std::printf("gaps too long where there was room: %d; uneven windows of 5 s elsewhere: %d\n",
              soak.tooLong, soak.uneven);
  EXPECT_EQ(soak.tooLong, 0);
  EXPECT_EQ(soak.uneven, 0);
  if (soak.free.distinct > 0) {
    EXPECT_GE(soak.free.PerSecond(), kPicturesASecond);
  }
  JudgeEffort(pictures, m_studio.Recording(), soak.crowded);
}

void Soak::JudgeEffort(const std::vector<support::ClockedPicture>& pictures,
                       const std::string& recording, const support::SoakMotion& crowded) const {
  const std::vector<support::EffortStep> steps = support::EffortSteps(recording);
  ASSERT_FALSE(steps.empty());
  const int prescribed = steps.front().subme;
  int least = prescribed;
  for (const support::EffortStep& step : steps) {
    least = std::min(least, step.subme);
  }
  std::printf("encoder: %zu changes of effort, subme %d at first, %d at least\n", steps.size() - 1,
              prescribed, least);
  if (crowded.seconds >= kCrowdedSeconds && crowded.PerSecond() < kCrowdedPictures) {
    EXPECT_LT(least, prescribed) << "the machine was full, and the encoder went on as before";
  }
  JudgeReturns(pictures, steps);
}

// With what it leaves behind.
bool Soak::IsLoaded(std::int64_t ms) const {
  return !support::IsFree(m_loads, ms - kLeavesMs, ms);
}

// Back a minute after each load, on a machine that has the room for it: where the prescribed effort
// was given up with nothing beside the program, there is none to go back to.
void Soak::JudgeReturns(const std::vector<support::ClockedPicture>& pictures,
                        const std::vector<support::EffortStep>& steps) const {
  const auto drawnAt = [&](std::int64_t streamMs) {
    const auto picture = std::find_if(pictures.begin(), pictures.end(),
                                      [&](const auto& each) { return each.ms >= streamMs; });
    return picture != pictures.end() ? picture->drawnMs : 0;
  };
  int givenUp = 0;
  for (std::size_t i = 1; i < steps.size(); ++i) {
    givenUp += steps[i].subme < steps[i - 1].subme && !IsLoaded(drawnAt(steps[i].ms)) ? 1 : 0;
  }
  const std::vector<support::Span> full = support::CrowdedSpans(m_machine.Seconds());
  int back = 0;
  int due = 0;
  for (const support::Span& load : m_loads) {
    const auto later = std::find_if(pictures.begin(), pictures.end(), [&](const auto& picture) {
      return load.toMs <= picture.drawnMs - kBackMs;
    });
    // What else came is no room to go up in.
    if (later != pictures.end() &&
        support::IsFree(full, load.toMs + kLeavesMs, load.toMs + kBackMs)) {
      ++due;
      back += support::EffortAt(steps, later->ms) == steps.front().subme ? 1 : 0;
    }
  }
  std::printf("effort: back a minute after %d of %d loads, given up %d times without one\n", back,
              due, givenUp);
  if (givenUp == 0) {
    EXPECT_EQ(back, due);
  }
}

void Soak::JudgeSound(const support::Recording& recording,
                      const std::vector<support::ClockedPicture>& pictures) const {
  const std::vector<support::SyncPoint> points = support::JudgeSync(
      pictures, support::BeepStarts(recording.DecodeSound(), kBeepHz), kPeriodMs);
  const double distance = support::MedianDistance(points);
  const double drift = support::DriftMs(points, Seconds() * 1000.0);
  const auto inStep = std::count_if(points.begin(), points.end(), [](const auto& point) {
    return point.soundLateMs >= kBeepLeastMs - kGrainMs &&
           point.soundLateMs <= kBeepMostMs + kGrainMs;
  });
  std::printf("%zu beeps, %td in step, sound behind picture: %.1f ms, drift: %.1f ms\n",
              points.size(), inStep, distance, drift);
  EXPECT_GE(points.size(), static_cast<std::size_t>(Seconds()) * 1000 / kPeriodMs * 9 / 10);
  EXPECT_GE(static_cast<double>(inStep), kBeepsInStep * static_cast<double>(points.size()));
  EXPECT_LE(std::abs(drift), kDriftMs);
  EXPECT_GE(distance, -kGrainMs);
  EXPECT_LE(distance, kSoundMostMs + kGrainMs);
}

TEST_F(Soak, NothingGrowsDriftsOrStandsStill) {
  ASSERT_NO_FATAL_FAILURE(Compose());
  ASSERT_TRUE(m_bar.Choose(0, kFullQuality)) << m_bar.Report();
  const ProcessStats before = support::ReadProcessStats(m_hand.Program().Id());
  ASSERT_NO_FATAL_FAILURE(GoLive());
  SampleUntilTheEnd();
  ASSERT_TRUE(m_bar.PressEnd()) << m_bar.Report();
  ASSERT_TRUE(m_studio.Rtmp().WaitForClosedRecordings(kPatienceMs));
  // What the broadcast took is given back.
  const auto asBefore = [&] {
    const ProcessStats now = support::ReadProcessStats(m_hand.Program().Id());
    return now.threads <= before.threads && now.handles <= before.handles;
  };
  EXPECT_TRUE(support::WaitFor(asBefore, kPatienceMs));
  const ProcessStats after = support::ReadProcessStats(m_hand.Program().Id());
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
