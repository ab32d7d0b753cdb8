#include "shell/StreamHealth.h"

#include <gtest/gtest.h>
#include <netdb.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

extern "C" {
#include <libavutil/error.h>
}

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
using support::WellAt;

StreamHealth Always(const PublishStatus& status) {
  return JudgeStream(Seconds(0, 10, [&](int, StreamSample* sample) {
    sample->encoder.status = status;
    sample->encoder.bytesSent = 0;
    sample->encoder.audioPacketsEncoded = sample->encoder.videoPacketsEncoded = 0;
  }));
}

TEST(StreamHealth, IsGreenWithTheRateWhileAllIsWell) {
  const StreamHealth health = JudgeStream(Seconds(0, 10));
  EXPECT_EQ(health.light, StreamLight::kGreen);
  EXPECT_EQ(health.words, "直播正常  2000 kb/s");
}

TEST(StreamHealth, TheRateIsThatOfTheLastSecondsAlone) {
  const StreamHealth health = JudgeStream(Seconds(0, 20, [](int second, StreamSample* sample) {
    sample->encoder.bytesSent =
        second <= 10 ? 0 : static_cast<std::uint64_t>(second - 10) * 125'000;
  }));
  EXPECT_EQ(health.words, "直播正常  1000 kb/s");
}

TEST(StreamHealth, IsAmberWhilePicturesWereDroppedInTheLastSeconds) {
  const auto dropAtSecond10 = [](int second, StreamSample* sample) {
    sample->encoder.videoFramesDropped = second >= 10 ? 7 : 0;
  };
  EXPECT_EQ(JudgeStream(Seconds(0, 9, dropAtSecond10)).light, StreamLight::kGreen);
  const StreamHealth dropped = JudgeStream(Seconds(0, 10, dropAtSecond10));
  EXPECT_EQ(dropped.light, StreamLight::kAmber);
  EXPECT_EQ(dropped.words, "编码丢帧 7  2000 kb/s");
  EXPECT_EQ(JudgeStream(Seconds(0, 14, dropAtSecond10)).light, StreamLight::kAmber);
  EXPECT_EQ(JudgeStream(Seconds(0, 15, dropAtSecond10)).light, StreamLight::kGreen);
}

TEST(StreamHealth, PacketsThatWereSkippedCountAsDroppedByTheNetwork) {
  const StreamHealth health = JudgeStream(Seconds(0, 10, [](int second, StreamSample* sample) {
    sample->encoder.videoPacketsDropped = second >= 8 ? 101 : 0;
    sample->encoder.videoFramesDropped = second >= 9 ? 2 : 0;
  }));
  EXPECT_EQ(health.light, StreamLight::kAmber);
  EXPECT_EQ(health.words, "编码丢帧 2  网络丢帧 101  2000 kb/s");
}

TEST(StreamHealth, IsAmberWhileTheEffortIsBelowThePrescribedOne) {
  const StreamHealth health =
      JudgeStream(Seconds(0, 10, [](int, StreamSample* sample) { sample->encoder.effort = 2; }));
  EXPECT_EQ(health.light, StreamLight::kAmber);
  EXPECT_EQ(health.words, "画质已自动降低  2000 kb/s");
  EXPECT_TRUE(health.details.contains("veryfast")) << health.details.toStdString();
  EXPECT_FALSE(JudgeStream(Seconds(0, 10)).details.contains("画质"));
}

TEST(StreamHealth, AFirstConnectionThatFailsInterruptsNothing) {
  const StreamHealth health = JudgeStream(Seconds(0, 10, [](int, StreamSample* sample) {
    sample->encoder.connections = 0;
    sample->encoder.status =
        Status(PublishState::kRetrying, PublishFault::kConnect, 2, AVERROR(ECONNREFUSED));
  }));
  EXPECT_EQ(health.light, StreamLight::kRed);
  EXPECT_EQ(health.words, "未推流：连接被拒绝，第 2 次重试");
}

TEST(StreamHealth, IsAmberWithTheDelayWhenTheNetworkIsTooSlow) {
  const StreamHealth health = JudgeStream(
      Seconds(0, 10, [](int, StreamSample* sample) { sample->encoder.queuedMs = 3240; }));
  EXPECT_EQ(health.light, StreamLight::kAmber);
  EXPECT_EQ(health.words, "延迟 3.2 秒  2000 kb/s");
}

TEST(StreamHealth, ADelayOfASecondAndAHalfIsLong) {
  for (const int queuedMs : {1500, 1501}) {
    const StreamHealth health = JudgeStream(
        Seconds(0, 10, [&](int, StreamSample* sample) { sample->encoder.queuedMs = queuedMs; }));
    EXPECT_EQ(health.light, queuedMs > 1500 ? StreamLight::kAmber : StreamLight::kGreen);
  }
}

TEST(StreamHealth, TheFirstConnectionIsAmber) {
  for (const PublishState state : {PublishState::kWaiting, PublishState::kConnecting}) {
    const StreamHealth health = JudgeStream(
        Seconds(0, 2, [&](int, StreamSample* sample) { sample->encoder.status.state = state; }));
    EXPECT_EQ(health.light, StreamLight::kAmber);
    EXPECT_EQ(health.words, "正在连接…");
  }
}

TEST(StreamHealth, AServerThatTakesTheFirstConnectionAndDoesNotAnswerIsNamed) {
  const StreamHealth health = JudgeStream(Seconds(0, 4, [&](int, StreamSample* sample) {
    sample->encoder.status.state = PublishState::kConnecting;
  }));
  EXPECT_EQ(health.light, StreamLight::kRed);
  EXPECT_EQ(health.words, "未推流：服务器没有应答");
}

struct Down {
  const char* name;
  PublishStatus status;
  const char* words;
};

void PrintTo(const Down& down, std::ostream* out) {
  *out << down.name;
}

class StreamHealthDown : public testing::TestWithParam<Down> {};

TEST_P(StreamHealthDown, IsRedWithTheCause) {
  const StreamHealth health = Always(GetParam().status);
  EXPECT_EQ(health.light, StreamLight::kRed);
  EXPECT_EQ(health.words.toStdString(), GetParam().words);
}

const Down kDown[] = {
    {"Refused", Status(PublishState::kRetrying, PublishFault::kConnect, 3, AVERROR(ECONNREFUSED)),
     "推流中断：连接被拒绝，第 3 次重试"},
    {"TryingAgain",
     Status(PublishState::kConnecting, PublishFault::kConnect, 3, AVERROR(ECONNREFUSED)),
     "推流中断：连接被拒绝，第 3 次重试"},
    {"TimedOut", Status(PublishState::kRetrying, PublishFault::kConnect, 1, AVERROR(ETIMEDOUT)),
     "推流中断：连接超时，第 1 次重试"},
    {"Unreachable",
     Status(PublishState::kRetrying, PublishFault::kConnect, 1, AVERROR(ENETUNREACH)),
     "推流中断：网络不可达，第 1 次重试"},
    {"RefusedByTheServer",
     Status(PublishState::kRetrying, PublishFault::kConnect, 2, AVERROR(EPERM)),
     "推流中断：服务器不接受推流，第 2 次重试"},
    {"HungUpByTheServer", Status(PublishState::kRetrying, PublishFault::kConnect, 2, AVERROR(EIO)),
     "推流中断：服务器不接受推流，第 2 次重试"},
    {"HostUnreachable",
     Status(PublishState::kRetrying, PublishFault::kConnect, 1, AVERROR(EHOSTUNREACH)),
     "推流中断：网络不可达，第 1 次重试"},
    {"NoSuchProtocol",
     Status(PublishState::kRetrying, PublishFault::kConnect, 2, AVERROR_PROTOCOL_NOT_FOUND),
     "推流中断：连接失败，第 2 次重试"},
    {"NoSuchHost", Status(PublishState::kRetrying, PublishFault::kLookup, 1, EAI_NONAME),
     "推流中断：找不到服务器，第 1 次重试"},
    {"Lost", Status(PublishState::kRetrying, PublishFault::kWrite, 1, AVERROR(EPIPE)),
     "推流中断：连接中断，第 1 次重试"},
    {"WriteTimedOut", Status(PublishState::kRetrying, PublishFault::kWrite, 1, AVERROR(ETIMEDOUT)),
     "推流中断：发送超时，第 1 次重试"},
    {"HeaderRefused", Status(PublishState::kEnded, PublishFault::kHeader, 1, AVERROR(EINVAL)),
     "推流已终止：推流头写入失败"},
    {"NoAddress", Status(PublishState::kEnded, PublishFault::kContext, 1, AVERROR(EINVAL)),
     "推流已终止：推流地址无效"},
    {"NoEncoder", Status(PublishState::kStopped), "编码器未能启动"},
    {"NothingToSend", Status(PublishState::kWaiting), "未推流：没有声音和画面"},
};

INSTANTIATE_TEST_SUITE_P(Causes, StreamHealthDown, testing::ValuesIn(kDown),
                         [](const auto& row) { return row.param.name; });

TEST(StreamHealth, OneThatWasReachedAndAnswersWithAnErrorOrHangsUpDoesNotTakeTheStream) {
  for (const int error : {AVERROR(EPERM), AVERROR(EIO), AVERROR(EPIPE), AVERROR(ECONNRESET),
                          AVERROR_EOF, AVERROR_UNKNOWN}) {
    EXPECT_EQ(Always(Status(PublishState::kRetrying, PublishFault::kConnect, 2, error)).words,
              "推流中断：服务器不接受推流，第 2 次重试")
        << error;
  }
}

TEST(StreamHealth, AServerThatReadsNothingIsRedAfterThreeSeconds) {
  const auto stall = [](int second, StreamSample* sample) {
    sample->encoder.bytesSent = 250'000 * static_cast<std::uint64_t>(std::min(second, 10));
    sample->encoder.queuedMs = 600 + 1000 * std::max(0, second - 10);
  };
  EXPECT_EQ(JudgeStream(Seconds(0, 12, stall)).light, StreamLight::kAmber);
  const StreamHealth health = JudgeStream(Seconds(0, 13, stall));
  EXPECT_EQ(health.light, StreamLight::kRed);
  EXPECT_EQ(health.words, "推流停滞：服务器不接收数据");
}

TEST(StreamHealth, WithoutSoundOrPictureNothingIsSentAndTheCauseSaysWhich) {
  const struct {
    bool sound;
    bool picture;
    const char* words;
  } kRows[] = {
      {false, false, "没有声音和画面"}, {false, true, "没有声音"}, {true, false, "没有画面"}};
  for (const auto& row : kRows) {
    for (const PublishState state : {PublishState::kWaiting, PublishState::kPublishing}) {
      const auto missing = [&](int second, StreamSample* sample) {
        const StreamSample last = WellAt(std::min(second, 10));
        sample->encoder.status.state = state;
        sample->encoder.bytesSent = last.encoder.bytesSent;
        if (!row.sound) {
          sample->encoder.audioPacketsEncoded = last.encoder.audioPacketsEncoded;
          // What can't be sent without sound waits.
          sample->encoder.queuedMs = row.picture ? 600 + 1000 * std::max(0, second - 10) : 600;
        }
        if (!row.picture) {
          sample->encoder.videoPacketsEncoded = last.encoder.videoPacketsEncoded;
        }
      };
      EXPECT_NE(JudgeStream(Seconds(0, 12, missing)).light, StreamLight::kRed);
      const StreamHealth health = JudgeStream(Seconds(0, 13, missing));
      EXPECT_EQ(health.light, StreamLight::kRed);
      EXPECT_EQ(health.words, (state == PublishState::kWaiting ? QStringLiteral("未推流：%1")
                                                               : QStringLiteral("推流停滞：%1"))
                                  .arg(QString::fromUtf8(row.words)));
    }
  }
}

TEST(StreamHealth, ABroadcastWhoseFirstPacketsHaveJustComeIsNotDown) {
  const StreamHealth health = JudgeStream(Seconds(0, 10, [](int, StreamSample* sample) {
    sample->encoder.status.state = PublishState::kWaiting;
  }));
  EXPECT_EQ(health.light, StreamLight::kAmber);
  EXPECT_EQ(health.words, "正在连接…");
}

TEST(StreamHealth, AReconnectedStreamIsNoStandstillForThreeSeconds) {
  // Bytes stood still through the retry.
  for (const int reconnected : {7, 8, 9}) {
    const StreamHealth health = JudgeStream(Seconds(0, 10, [&](int second, StreamSample* sample) {
      sample->encoder.bytesSent = 1'000'000;
      if (second < reconnected) {
        sample->encoder.status = Status(PublishState::kRetrying, PublishFault::kWrite, 1, -EPIPE);
      }
    }));
    EXPECT_EQ(health.light == StreamLight::kRed, reconnected == 7) << reconnected;
  }
}

// A screen reader is told of each change: what ticks is left out.
TEST(StreamHealth, TheStateStaysTheSameWhileOnlyFiguresChange) {
  const std::function<void(int, StreamSample*)> kTroubles[] = {
      [](int, StreamSample*) {},
      [](int second, StreamSample* sample) { sample->encoder.queuedMs = 2000 + second * 100; },
      [](int second, StreamSample* sample) {
        sample->encoder.videoFramesDropped = static_cast<std::uint64_t>(second) * second;
      },
      [](int second, StreamSample* sample) {
        sample->encoder.videoPacketsDropped = static_cast<std::uint64_t>(second) * second;
      },
      [](int second, StreamSample* sample) {
        sample->encoder.status = Status(PublishState::kRetrying, PublishFault::kLookup,
                                        static_cast<std::uint16_t>(second));
      }};
  const char* const kStates[] = {"直播正常", "延迟", "编码丢帧", "网络丢帧",
                                 "推流中断：找不到服务器"};
  for (std::size_t i = 0; i < std::size(kStates); ++i) {
    const auto change = [&](int second, StreamSample* sample) {
      sample->encoder.bytesSent += static_cast<std::uint64_t>(second) * second * 1000;
      kTroubles[i](second, sample);
    };
    const StreamHealth one = JudgeStream(Seconds(0, 10, change));
    const StreamHealth next = JudgeStream(Seconds(0, 11, change));
    EXPECT_NE(one.words, next.words) << kStates[i];
    EXPECT_EQ(one.state.toStdString(), kStates[i]);
    EXPECT_EQ(next.state.toStdString(), kStates[i]);
  }
}

TEST(StreamHealth, AfterASuspendedMachineNothingIsJudgedByTheTimeBefore) {
  StreamHistory history = Seconds(0, 10, [](int, StreamSample* sample) {
    sample->captures = {Capture(CaptureRole::kCamera, 250)};
  });
  StreamSample woken = WellAt(71);
  woken.encoder.bytesSent = WellAt(10).encoder.bytesSent;
  woken.encoder.videoFramesDropped = 3;
  woken.captures = {Capture(CaptureRole::kCamera, 250)};
  shell::AddSample(&history, woken);
  const StreamHealth health = JudgeStream(history);
  EXPECT_EQ(health.light, StreamLight::kGreen);
  EXPECT_EQ(health.words, "直播正常");
}

TEST(StreamHealth, TheFirstSampleAloneIsEnoughButHasNoRate) {
  const StreamHealth health = JudgeStream(Seconds(0, 0));
  EXPECT_EQ(health.words, "直播正常");
  EXPECT_TRUE(health.details.contains("码率：—"));
}

TEST(StreamHealth, TheHistoryStaysShort) {
  const StreamHistory history = Seconds(0, 1000);
  EXPECT_EQ(history.size(), 6U);
  EXPECT_EQ(history.front().timeMs, 995'000);
}

TEST(StreamHealth, TheDetailsTellTheWholeSnapshot) {
  const StreamHealth health = JudgeStream(Seconds(0, 10, [](int, StreamSample* sample) {
    sample->encoder.status =
        Status(PublishState::kRetrying, PublishFault::kConnect, 4, AVERROR(ECONNREFUSED));
    sample->encoder.cause = "connect: Connection refused";
    sample->encoder.videoPacketsSent = 11;
    sample->encoder.audioPacketsSent = 12;
    sample->encoder.videoFramesDropped = 13;
    sample->encoder.videoPacketsDropped = 14;
    sample->encoder.audioPacketsDropped = 15;
    sample->encoder.connections = 16;
  }));
  EXPECT_EQ(health.details.toStdString(),
            "状态：等待重试\n画面：1280 × 720\n码率：2000 kb/s\n延迟：0.6 秒\n已发送：画面 11 "
            "帧，声音 12 帧\n"
            "编码前丢帧：13\n发送前丢弃：画面 14 帧，声音 15 帧\n已连接 16 次，连续失败 4 次\n"
            "原因：连接被拒绝（connect: Connection refused）");
}

TEST(StreamHealth, TheDetailsTellHowManyPicturesWereLeftOutForTheSound) {
  for (const std::uint64_t leftOut : {0, 1}) {
    const StreamHealth health = JudgeStream(Seconds(
        0, 10, [&](int, StreamSample* sample) { sample->encoder.videoFramesLeftOut = leftOut; }));
    EXPECT_EQ(health.details.contains("略去：1 帧"), leftOut == 1);
    EXPECT_EQ(health.details.contains("略去"), leftOut == 1);
  }
}

TEST(StreamHealth, WithoutTimeOrWithACountBegunAnewThereIsNoRate) {
  EXPECT_EQ(shell::KilobitsPerSecond(WellAt(3), WellAt(5)), 2000);
  EXPECT_EQ(shell::KilobitsPerSecond(WellAt(3), WellAt(3)), 0);
  StreamSample anew = WellAt(5);
  anew.encoder.bytesSent = 0;
  EXPECT_EQ(shell::KilobitsPerSecond(WellAt(3), anew), 0);
}

TEST(StreamHealth, EveryLightHasAColourOfItsOwn) {
  EXPECT_EQ(shell::LightColour(StreamLight::kGreen), "#13CE66");
  EXPECT_EQ(shell::LightColour(StreamLight::kAmber), "#F7BA2A");
  EXPECT_EQ(shell::LightColour(StreamLight::kRed), "#FF4949");
}

}  // namespace
