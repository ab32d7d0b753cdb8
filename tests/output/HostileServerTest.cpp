// Addresses that lead to no RTMP server. Each try ends with a log line that names the address and
// the cause, the next one follows, and Stop returns.
#include <gtest/gtest.h>
#include <netdb.h>

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <mutex>

#include "output/EncoderRig.h"
#include "support/GivenTime.h"
#include "support/HostilePeer.h"
#include "support/LogRecord.h"
#include "support/Process.h"

namespace {

using std::chrono::steady_clock;
using support::EncoderUnderTest;
using support::Feeder;
using support::HostilePeer;
using support::LogRecord;
using support::WaitFor;

// Half a second of waiting, and what the last picture takes to encode; the retry wait alone would
// be three seconds.
constexpr int kStopMs = 1500;
constexpr const char* kHangingHost = "hangs.invalid";

// A resolver that doesn't answer for one name until it is let go.
std::mutex g_mutex;
std::condition_variable g_letGo;
bool g_hangs = true;  // guarded by g_mutex
int g_waiting = 0;    // guarded by g_mutex

void LetLookupsGo() {
  std::lock_guard<std::mutex> lock(g_mutex);
  g_hangs = false;
  g_letGo.notify_all();
}

bool NoLookupHangs() {
  std::lock_guard<std::mutex> lock(g_mutex);
  return g_waiting == 0;
}

}  // namespace

extern "C" {
int __real_getaddrinfo(const char* host, const char* service, const addrinfo* hints,
                       addrinfo** result);
int __wrap_getaddrinfo(const char* host, const char* service, const addrinfo* hints,
                       addrinfo** result);
int __wrap_getaddrinfo(const char* host, const char* service, const addrinfo* hints,
                       addrinfo** result) {
  if (std::strcmp(host, kHangingHost) == 0) {
    std::unique_lock<std::mutex> lock(g_mutex);
    ++g_waiting;
    g_letGo.wait(lock, [] { return !g_hangs; });
    --g_waiting;
    return EAI_NONAME;
  }
  return __real_getaddrinfo(host, service, hints, result);
}
}

namespace {

std::string RefusingUrl() {
  return "rtmp://127.0.0.1:" + std::to_string(support::SilentPort()) + "/live/x";
}

class HostileServer : public testing::Test {
 protected:
  void StartAt(const std::string& address) {
    encoder.SetUrl(address);
    ASSERT_EQ(0, encoder.Start());
  }
  bool AwaitTries(int count) {
    return WaitFor([&] { return encoder.Statistics().status.tries >= count; }, 40000);
  }
  void ExpectStopInTime() {
    EXPECT_LT(support::TimeGiven([this] { encoder.Stop(); }), kStopMs);
  }
  void ExpectLogNames(const std::string& address, const std::string& cause) {
    EXPECT_TRUE(log.SaidError("avio_open error, path='" + address + "'"));
    EXPECT_NE(std::string::npos, log.Errors().find(cause)) << log.Errors();
  }

  LogRecord log;
  EncoderUnderTest encoder;
};

TEST_F(HostileServer, OneThatRefusesIsNamedAndTriedAgain) {
  const std::string address = RefusingUrl();
  StartAt(address);
  const Feeder feeder(&encoder);
  EXPECT_TRUE(AwaitTries(2));
  ExpectLogNames(address, "connect: Connection refused\n");
  EXPECT_EQ(PublishState::kRetrying, encoder.Statistics().status.state);
  ExpectStopInTime();
}

TEST_F(HostileServer, OneThatClosesAtOnceIsTriedAgainEveryThreeSeconds) {
  const HostilePeer peer(HostilePeer::Manner::kClosesAtOnce);
  StartAt(peer.Url());
  const Feeder feeder(&encoder);
  EXPECT_TRUE(AwaitTries(3));
  ExpectLogNames(peer.Url(), ": connect: ");
  const auto times = peer.Times();
  ASSERT_GE(times.size(), 3U);
  for (std::size_t i = 1; i < times.size(); ++i) {
    EXPECT_GE(times[i] - times[i - 1], std::chrono::milliseconds(2990)) << i;
  }
  EXPECT_EQ(0U, encoder.Statistics().videoPacketsSent);
  ExpectStopInTime();
}

TEST_F(HostileServer, OneThatClosesInTheHandshakeIsTriedAgain) {
  const HostilePeer peer(HostilePeer::Manner::kClosesInHandshake);
  StartAt(peer.Url());
  const Feeder feeder(&encoder);
  EXPECT_TRUE(AwaitTries(2));
  ExpectLogNames(peer.Url(), ": connect: ");
  ExpectStopInTime();
}

TEST_F(HostileServer, OneThatIsNoRtmpIsTriedAgain) {
  const HostilePeer peer(HostilePeer::Manner::kTalksGarbage);
  StartAt(peer.Url());
  const Feeder feeder(&encoder);
  EXPECT_TRUE(AwaitTries(1));
  ExpectLogNames(peer.Url(), ": connect: ");
  EXPECT_EQ(0U, encoder.Statistics().connections);
  ExpectStopInTime();
}

TEST_F(HostileServer, OneThatNeverReadsTimesOutAndIsTriedAgain) {
  const HostilePeer peer(HostilePeer::Manner::kNeverReads);
  StartAt(peer.Url());
  const Feeder feeder(&encoder);
  EXPECT_TRUE(AwaitTries(1));
  ExpectLogNames(peer.Url(), ": connect: ");
  EXPECT_TRUE(WaitFor([&] { return peer.Connections() >= 2; }, 20000));
  ExpectStopInTime();
}

// No wait for a byte is ever long, but all of them together would be.
TEST_F(HostileServer, OneThatAnswersByteByByteIsGivenUpAndTriedAgain) {
  const HostilePeer peer(HostilePeer::Manner::kDrips);
  StartAt(peer.Url());
  const Feeder feeder(&encoder);
  ASSERT_TRUE(AwaitTries(1));
  EXPECT_EQ(PublishFault::kConnect, encoder.Statistics().status.fault);
  ExpectLogNames(peer.Url(), ": connect: Connection timed out\n");
  EXPECT_TRUE(WaitFor([&] { return peer.Connections() >= 2; }, 20000));
  ExpectStopInTime();
}

TEST_F(HostileServer, StopReturnsWhileTheHandshakeIsUnanswered) {
  const HostilePeer peer(HostilePeer::Manner::kNeverReads);
  StartAt(peer.Url());
  const Feeder feeder(&encoder);
  ASSERT_TRUE(WaitFor([&] { return peer.Connections() >= 1; }, 20000));
  ExpectStopInTime();
  EXPECT_EQ(0, encoder.Statistics().status.tries) << "a stop is no failure";
}

TEST_F(HostileServer, StopReturnsDuringTheWaitForARetry) {
  StartAt(RefusingUrl());
  const Feeder feeder(&encoder);
  ASSERT_TRUE(AwaitTries(1));
  ExpectStopInTime();
}

TEST_F(HostileServer, AHostThatDoesNotResolveIsNamedAndTriedAgain) {
  StartAt("rtmp://no-such-host.invalid/live/x");
  const Feeder feeder(&encoder);
  EXPECT_TRUE(AwaitTries(2));
  ExpectLogNames("rtmp://no-such-host.invalid/live/x", ": name lookup: ");
  EXPECT_EQ(PublishFault::kLookup, encoder.Statistics().status.fault);
  ExpectStopInTime();
}

TEST_F(HostileServer, AnAddressOfNoProtocolIsTriedAgain) {
  StartAt("nortmp:///x");
  const Feeder feeder(&encoder);
  EXPECT_TRUE(AwaitTries(1));
  ExpectLogNames("nortmp:///x", ": connect: Protocol not found\n");
  ExpectStopInTime();
}

// The last test of this program: the resolver is let go at its end.
TEST_F(HostileServer, ZLookupThatHangsIsGivenUpAfterThreeSecondsAndDelaysNoStop) {
  StartAt(std::string("rtmp://") + kHangingHost + "/live/x");
  {
    const Feeder feeder(&encoder);
    EXPECT_TRUE(AwaitTries(1));
    ExpectLogNames(std::string("rtmp://") + kHangingHost + "/live/x", ": name lookup: ");
    ASSERT_TRUE(WaitFor(
        [&] { return encoder.Statistics().status.state == PublishState::kConnecting; }, 20000));
    ExpectStopInTime();
  }
  LetLookupsGo();
  EXPECT_TRUE(WaitFor(NoLookupHangs, 10000));
}

}  // namespace
