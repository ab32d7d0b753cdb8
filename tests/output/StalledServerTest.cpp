// A server that stops reading for a while, in a network whose sockets buffer next to nothing.
#include <gtest/gtest.h>

#include <chrono>

#include "output/EncoderRig.h"
#include "support/GivenTime.h"
#include "support/LogRecord.h"
#include "support/PrivateNetwork.h"
#include "support/Process.h"
#include "support/Recording.h"
#include "support/RtmpServer.h"

namespace {

using support::EncoderUnderTest;
using support::Feeder;
using support::LogRecord;
using support::Recording;
using support::RtmpServer;
using support::WaitFor;

// Half a second of waiting, and what the last picture takes to encode; the retry wait alone would
// be three seconds.
constexpr int kStopMs = 1500;

class StalledServer : public testing::Test {
 protected:
  // A publisher that is silent because nobody reads must not lose its key meanwhile.
  StalledServer() : server(60) {}
  void SetUp() override {
    ASSERT_EQ("", support::PrivateNetworkFailure());
    ASSERT_TRUE(server.Start()) << server.Log();
    encoder.SetUrl(server.Url());
    ASSERT_EQ(0, encoder.Start());
  }
  bool AwaitSent(std::uint64_t videoPackets) {
    return WaitFor([&] { return encoder.Statistics().videoPacketsSent >= videoPackets; }, 60000);
  }
  // Waits until nothing leaves any more.
  bool AwaitBlocked() {
    return WaitFor([&] { return encoder.Statistics().queuedMs >= 1500; }, 30000);
  }

  RtmpServer server;
  LogRecord log;
  EncoderUnderTest encoder{960, 540};
};

TEST_F(StalledServer, IsServedFromAKeyFrameOnAfterEightSeconds) {
  const Feeder feeder(&encoder);
  ASSERT_TRUE(AwaitSent(50));
  const std::int64_t memory = support::ResidentBytes();
  server.Freeze();
  // Above 150 packets, which is where the cut sets in: 6 s, before a write times out.
  // A busy machine has fewer pictures in as many seconds.
  ASSERT_TRUE(
      WaitFor([&] { return encoder.Statistics().queuedMs >= 7000 && encoder.Video().Size() > 150; },
              20000));
  EXPECT_EQ(1U, encoder.Statistics().connections);
  EXPECT_LT(support::ResidentBytes() - memory, 96 << 20);
  server.Thaw();
  const std::uint64_t sent = encoder.Statistics().videoPacketsSent;
  ASSERT_TRUE(AwaitSent(sent + 75)) << Describe(encoder);
  const EncoderStatistics statistics = encoder.Statistics();
  EXPECT_EQ(1U, statistics.connections) << "no reconnect: " << log.Errors();
  EXPECT_GE(statistics.videoPacketsDropped, 101U);
  EXPECT_LT(statistics.queuedMs, 3000);
  encoder.Stop();
  ASSERT_TRUE(server.WaitForClosedRecordings(10000));

  ASSERT_EQ(1U, server.Recordings().size());
  const Recording recording(server.Recordings().front());
  ASSERT_EQ("", recording.Error());
  EXPECT_EQ("", recording.TimeStampFault());
  int cuts = 0;
  std::int64_t last = -1;
  for (const Recording::Packet& packet : recording.Packets()) {
    if (packet.stream != 1) {
      continue;
    }
    if (last >= 0 && packet.ptsMs - last > 1000) {
      ++cuts;
      EXPECT_TRUE(packet.key) << packet.ptsMs;
      EXPECT_GE(packet.ptsMs - last, 101 * 40);
    }
    last = packet.ptsMs;
  }
  EXPECT_EQ(1, cuts);
}

TEST_F(StalledServer, StopReturnsWhileAWriteIsBlocked) {
  const Feeder feeder(&encoder);
  ASSERT_TRUE(AwaitSent(25));
  server.Freeze();
  ASSERT_TRUE(AwaitBlocked());
  EXPECT_LT(support::TimeGiven([this] { encoder.Stop(); }), kStopMs);
  server.Thaw();
}

// Beyond ten seconds a blocked write is an error, and the connection is made anew.
TEST_F(StalledServer, IsGivenUpAfterTenSecondsAndTriedAgain) {
  const Feeder feeder(&encoder);
  ASSERT_TRUE(AwaitSent(25));
  const auto begin = std::chrono::steady_clock::now();
  server.Freeze();
  ASSERT_TRUE(
      WaitFor([&] { return encoder.Statistics().status.fault == PublishFault::kWrite; }, 30000));
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::seconds(9));
  EXPECT_TRUE(log.SaidError("av_write_frame error\n"));
  server.Thaw();
  EXPECT_TRUE(WaitFor([&] { return encoder.Statistics().connections >= 2; }, 30000))
      << encoder.Statistics().cause;
  encoder.Stop();
}

}  // namespace
