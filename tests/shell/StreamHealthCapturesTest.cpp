// Captures that stop, fail or come back while live.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <functional>

extern "C" {
#include <libavutil/error.h>
}

#include "shell/StreamHealth.h"
#include "shell/StreamHealthSamples.h"

namespace {

using shell::CaptureRole;
using shell::CaptureSample;
using shell::JudgeStream;
using shell::StreamHealth;
using shell::StreamHistory;
using shell::StreamLight;
using shell::StreamSample;
using support::Capture;
using support::Seconds;
using support::Status;

// The count moves until second 10 and not after.
StreamHistory StopsAtSecond10(CaptureRole sort, int until) {
  return Seconds(0, until, [&](int second, StreamSample* sample) {
    sample->captures = {Capture(sort, static_cast<std::uint64_t>(std::min(second, 10)) * 25)};
  });
}

TEST(StreamHealthCaptures, NamesACaptureWithoutANewFrameForThreeSeconds) {
  const struct {
    CaptureRole sort;
    const char* words;
  } kSorts[] = {{CaptureRole::kDesktop, "桌面画面停止  2000 kb/s"},
                {CaptureRole::kCamera, "摄像头“cam”画面停止  2000 kb/s"},
                {CaptureRole::kSystemSound, "系统声音中断  2000 kb/s"},
                {CaptureRole::kMicrophone, "麦克风中断  2000 kb/s"}};
  for (const auto& row : kSorts) {
    EXPECT_EQ(JudgeStream(StopsAtSecond10(row.sort, 12)).light, StreamLight::kGreen);
    const StreamHealth health = JudgeStream(StopsAtSecond10(row.sort, 13));
    EXPECT_EQ(health.light, StreamLight::kAmber);
    EXPECT_EQ(health.words.toStdString(), row.words);
    EXPECT_TRUE(health.details.contains("采集："));
  }
}

TEST(StreamHealthCaptures, ACaptureThatNeverOpenedHasFailedAndIsNotSaidToBeInterrupted) {
  const struct {
    CaptureRole sort;
    const char* words;
  } kSorts[] = {{CaptureRole::kDesktop, "桌面打开失败  2000 kb/s"},
                {CaptureRole::kCamera, "摄像头“cam”打开失败  2000 kb/s"},
                {CaptureRole::kSystemSound, "系统声音打开失败  2000 kb/s"},
                {CaptureRole::kMicrophone, "麦克风打开失败  2000 kb/s"}};
  for (const auto& row : kSorts) {
    const StreamHealth health = JudgeStream(Seconds(0, 10, [&](int, StreamSample* sample) {
      sample->captures = {Capture(row.sort, 0)};
      sample->captures.front().opened = false;
    }));
    EXPECT_EQ(health.light, StreamLight::kAmber);
    EXPECT_EQ(health.words.toStdString(), row.words);
  }
}

// Of a desktop that never opened, by what it waits for.
StreamHealth Unopened(const std::function<void(CaptureSample*)>& change) {
  return JudgeStream(Seconds(0, 10, [&](int, StreamSample* sample) {
    sample->captures = {Capture(CaptureRole::kDesktop, 0)};
    sample->captures.front().opened = false;
    change(&sample->captures.front());
  }));
}

TEST(StreamHealthCaptures, ADesktopThatWaitsForTheOperatorIsNeitherFrozenNorFailed) {
  const StreamHealth health = Unopened([](CaptureSample* desktop) { desktop->asking = true; });
  EXPECT_EQ(health.light, StreamLight::kAmber);
  EXPECT_EQ(health.words, "等待允许共享桌面  2000 kb/s");
  EXPECT_TRUE(health.details.contains("采集：等待允许共享桌面（请在系统的对话框中选择屏幕）"));
}

TEST(StreamHealthCaptures, ADesktopWithAPictureWaitsForNobodyAnyMore) {
  const StreamHealth health = JudgeStream(Seconds(0, 10, [](int second, StreamSample* sample) {
    sample->captures = {Capture(CaptureRole::kDesktop, second < 10 ? 0 : 1)};
    sample->captures.front().opened = second == 10;
    sample->captures.front().asking = second < 10;
  }));
  EXPECT_EQ(health.light, StreamLight::kGreen);
}

TEST(StreamHealthCaptures, ASessionThatSharesNoScreenIsSaidAsItIs) {
  const StreamHealth health = Unopened([](CaptureSample* desktop) {
    desktop->unshared = true;
    desktop->cause = "没有屏幕共享服务 (xdg-desktop-portal): no session bus";
  });
  EXPECT_EQ(health.light, StreamLight::kAmber);
  EXPECT_EQ(health.words, "没有屏幕共享服务 (xdg-desktop-portal)  2000 kb/s");
  EXPECT_TRUE(
      health.details.contains("采集：没有屏幕共享服务 (xdg-desktop-portal): no session bus"));
}

TEST(StreamHealthCaptures, TheCauseOfAnEndStandsInTheDetails) {
  const StreamHealth refused =
      Unopened([](CaptureSample* desktop) { desktop->cause = "the sharing was refused"; });
  EXPECT_EQ(refused.words, "桌面打开失败  2000 kb/s");
  EXPECT_TRUE(refused.details.contains("采集：桌面打开失败（the sharing was refused）"));
  const StreamHealth ended = JudgeStream(Seconds(0, 20, [](int, StreamSample* sample) {
    sample->captures = {Capture(CaptureRole::kDesktop, 250)};
    sample->captures.front().cause = "the desktop has ended the sharing";
  }));
  EXPECT_EQ(ended.light, StreamLight::kAmber);
  EXPECT_EQ(ended.words, "桌面画面停止  2000 kb/s");
  EXPECT_TRUE(ended.details.contains("采集：桌面画面停止（the desktop has ended the sharing）"));
}

TEST(StreamHealthCaptures, ACaptureThatComesBackIsNamedNoMore) {
  const StreamHealth health = JudgeStream(Seconds(0, 20, [](int second, StreamSample* sample) {
    sample->captures = {Capture(CaptureRole::kCamera, second == 20 ? 251 : 250)};
  }));
  EXPECT_EQ(health.light, StreamLight::kGreen);
}

TEST(StreamHealthCaptures, ACaptureThatGaveNothingFromTheStartIsNamedAfterThreeSeconds) {
  const auto neverCame = [](int, StreamSample* sample) {
    sample->captures = {Capture(CaptureRole::kMicrophone, 0)};
  };
  EXPECT_EQ(JudgeStream(Seconds(0, 2, neverCame)).light, StreamLight::kGreen);
  EXPECT_EQ(JudgeStream(Seconds(0, 3, neverCame)).words, "麦克风中断  2000 kb/s");
}

TEST(StreamHealthCaptures, ALayerThatWasJustAddedIsNotNamed) {
  const StreamHealth health = JudgeStream(Seconds(0, 10, [](int second, StreamSample* sample) {
    if (second >= 8) {
      sample->captures = {Capture(CaptureRole::kCamera, 0)};
    }
  }));
  EXPECT_EQ(health.light, StreamLight::kGreen);
}

TEST(StreamHealthCaptures, AnotherDeviceInTheSamePlaceIsAnotherCapture) {
  const StreamHealth health = JudgeStream(Seconds(0, 10, [](int second, StreamSample* sample) {
    sample->captures = {Capture(CaptureRole::kCamera, 0, second < 9 ? "old" : "new")};
  }));
  EXPECT_EQ(health.light, StreamLight::kGreen);
}

// What the one has is what another had three seconds ago.
TEST(StreamHealthCaptures, EachCaptureIsCountedByItself) {
  const CaptureSample kOthers[] = {Capture(CaptureRole::kCamera, 0, "cam", 1),
                                   Capture(CaptureRole::kDesktop, 0, "cam", 0),
                                   Capture(CaptureRole::kCamera, 0, "other", 0)};
  for (const CaptureSample& other : kOthers) {
    const StreamHealth health = JudgeStream(Seconds(0, 10, [&](int second, StreamSample* sample) {
      CaptureSample ahead = other;
      ahead.delivered = static_cast<std::uint64_t>(second + 3) * 25;
      sample->captures = {Capture(CaptureRole::kCamera, static_cast<std::uint64_t>(second) * 25),
                          ahead};
    }));
    EXPECT_EQ(health.light, StreamLight::kGreen) << health.words.toStdString();
  }
}

TEST(StreamHealthCaptures, ManyStoppedCapturesAreCountedInTheLineAndNamedInTheDetails) {
  const StreamHealth health = JudgeStream(Seconds(0, 10, [](int, StreamSample* sample) {
    sample->captures = {
        Capture(CaptureRole::kSystemSound, 5, "", -1), Capture(CaptureRole::kMicrophone, 5, "", -1),
        Capture(CaptureRole::kDesktop, 5), Capture(CaptureRole::kCamera, 5, "c", 2)};
  }));
  EXPECT_EQ(health.words, "系统声音中断，麦克风中断，等 4 项  2000 kb/s");
  EXPECT_EQ(health.details.count("采集："), 4);
}

TEST(StreamHealthCaptures, OneDeviceInSeveralLayersIsNamedOnce) {
  const StreamHealth health = JudgeStream(Seconds(0, 10, [](int, StreamSample* sample) {
    sample->captures = {
        Capture(CaptureRole::kDesktop, 5, "", 0), Capture(CaptureRole::kDesktop, 7, "", 1),
        Capture(CaptureRole::kCamera, 5, "a", 2), Capture(CaptureRole::kCamera, 5, "a", 3)};
  }));
  EXPECT_EQ(health.words, "桌面画面停止，摄像头“a”画面停止  2000 kb/s");
}

TEST(StreamHealthCaptures, AStoppedCaptureIsNamedBesideAStreamThatIsDown) {
  const StreamHealth health = JudgeStream(Seconds(0, 10, [](int, StreamSample* sample) {
    sample->encoder.status =
        Status(PublishState::kRetrying, PublishFault::kConnect, 4, AVERROR(ECONNREFUSED));
    sample->captures = {Capture(CaptureRole::kSystemSound, 5)};
  }));
  EXPECT_EQ(health.light, StreamLight::kRed);
  EXPECT_EQ(health.words, "推流中断：连接被拒绝，第 4 次重试  系统声音中断");
}

}  // namespace
