// What goes wrong around a running broadcast: each ends as it should, is named in the log, and
// leaves the rest of the stream alone.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Studio.h"
#include "support/FakeCamera.h"
#include "support/GivenTime.h"
#include "support/HostilePeer.h"
#include "support/Recording.h"
#include "support/SoakJudge.h"
#include "support/StageJudge.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kPatienceMs = 60000;

std::size_t Occurrences(const std::string& text, const std::string& what) {
  std::size_t count = 0;
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
    ++count;
  }
  return count;
}

class Trouble : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(m_studio.Start()) << m_studio.Report();
    ASSERT_TRUE(m_studio.Film("strip", {"--window", "1216x32+0+0", "--fps", "50", "--clock"}));
  }

  static void Pass(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

  // Starts a small broadcast of the desktop and these layers.
  void Go(std::vector<std::string> layers = {}, const std::string& url = "") {
    std::vector<std::string> arguments = {"--quality", "540P",
                                          "--seconds", "240",
                                          "--url",     url.empty() ? m_studio.Rtmp().Url() : url,
                                          "--layer",   "desktop"};
    for (const std::string& layer : layers) {
      arguments.insert(arguments.end(), {"--layer", layer});
    }
    ASSERT_TRUE(m_studio.StartLiveRoad(arguments));
  }

  // Ends it, and judges the picture of its last recording where the machine had room for it.
  void EndAndExpectSteadyPicture() {
    ASSERT_EQ(m_studio.EndLiveRoad(), 0) << m_studio.Report();
    const support::Recording recording(m_studio.Recording());
    ASSERT_EQ(recording.Error(), "") << m_studio.Report();
    const support::SoakPictures soak =
        support::JudgeSoak(support::ReadClocks(recording, 0, 0), m_studio.Machine(), 80, 2500);
    EXPECT_EQ(soak.tooLong, 0);
    EXPECT_EQ(soak.uneven, 0);
    if (soak.free.distinct > 0) {
      EXPECT_GE(soak.free.PerSecond(), 24.5);
    }
  }

  void ExpectInLog(const std::string& what) const {
    EXPECT_TRUE(support::WaitFor([&] { return m_studio.Log().find(what) != std::string::npos; },
                                 kPatienceMs))
        << "not in the log: " << what;
  }

  e2e::Studio m_studio;
};

TEST_F(Trouble, StreamResumesWithANewHeaderAfterTheServerWasAwayForTenSeconds) {
  Go();
  ASSERT_TRUE(m_studio.Rtmp().WaitForRecording(kPatienceMs, 1, 100000)) << m_studio.Report();
  const Clock::time_point killed = Clock::now();
  m_studio.Rtmp().Kill();
  Pass(10000);
  EXPECT_TRUE(m_studio.LiveRoad().Running());
  ASSERT_TRUE(m_studio.Rtmp().Start());
  const auto away = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - killed);
  ASSERT_TRUE(m_studio.Rtmp().WaitForRecording(kPatienceMs, 2, 100000)) << m_studio.Report();
  Pass(4000);
  ASSERT_EQ(m_studio.EndLiveRoad(), 0);
  // One try at once and then one every 3 s, each with its line.
  const std::size_t tries = Occurrences(m_studio.Log(), "avio_open error");
  EXPECT_GE(tries, 2U);
  EXPECT_LE(tries, 2 + static_cast<std::size_t>(away.count()) / 3);
  const support::Recording second(m_studio.Recording(1));
  ASSERT_EQ(second.Error(), "");
  ASSERT_EQ(second.Streams().size(), 2U);
  EXPECT_EQ(second.Streams()[0].codec, "aac");
  EXPECT_EQ(second.Streams()[1].codec, "h264");
  EXPECT_EQ(second.TimeStampFault(), "");
}

TEST_F(Trouble, SourcesThatDoNotOpenAreNamedAndLeaveTheRestAlone) {
  std::ofstream(m_studio.File("empty.png"));
  std::ofstream(m_studio.File("hostile.mp4")) << std::string(4096, '\xFF');
  ASSERT_TRUE(m_studio.MakeFilm("short.mp4", "0x208040", "640x360", 5, 440));
  const std::string film = support::ReadFile(m_studio.File("short.mp4"));
  std::ofstream(m_studio.File("cut.mp4")) << film.substr(0, film.size() / 2);
  Go({"camera:No such camera", "pic:" + m_studio.File("empty.png"),
      "pic:" + m_studio.File("missing.jpg"), "file:" + m_studio.File("hostile.mp4"),
      "file:" + m_studio.File("cut.mp4") + "@40,200", "window:1",
      "text:\xC3\x28 '%{localtime}:[;,]\\ 二@40,700"});
  ASSERT_TRUE(m_studio.Rtmp().WaitForRecording(kPatienceMs, 1, 100000)) << m_studio.Report();
  Pass(6000);
  ExpectInLog("No such camera");
  ExpectInLog("empty.png");
  ExpectInLog("missing.jpg");
  ExpectInLog("hostile.mp4");
  ExpectInLog("cut.mp4");
  EndAndExpectSteadyPicture();
}

TEST_F(Trouble, SourcesThatVanishLeaveTheRestAlone) {
  support::FakeCamera camera;
  ASSERT_TRUE(camera.Plug()) << camera.Failure();
  support::Process* filmed =
      m_studio.Film("filmed", {"--window", "320x180+1400+40", "--fps", "50", "--play"});
  ASSERT_NE(filmed, nullptr);
  Go({"camera@40,200", "window:filmed@400,200"});
  ASSERT_TRUE(m_studio.Rtmp().WaitForRecording(kPatienceMs, 1, 100000)) << m_studio.Report();
  Pass(1000);
  filmed->Signal(SIGKILL);
  camera.Unplug();
  Pass(5000);
  EndAndExpectSteadyPicture();
}

TEST_F(Trouble, AFrozenCameraHoldsNobodyUp) {
  support::FakeCamera camera;
  ASSERT_TRUE(camera.Plug()) << camera.Failure();
  Go({"camera@40,200"});
  ASSERT_TRUE(m_studio.Rtmp().WaitForRecording(kPatienceMs, 1, 100000)) << m_studio.Report();
  ASSERT_TRUE(camera.Freeze());
  Pass(4000);
  EndAndExpectSteadyPicture();
}

TEST_F(Trouble, TheStreamOutlivesTheSoundServer) {
  Go();
  ASSERT_TRUE(m_studio.Rtmp().WaitForRecording(kPatienceMs, 1, 100000)) << m_studio.Report();
  m_studio.Sound().Kill();
  Pass(6000);
  EXPECT_TRUE(m_studio.LiveRoad().Running());
  EndAndExpectSteadyPicture();
}

TEST_F(Trouble, WithoutASoundServerNothingIsSentAndTheEndComes) {
  m_studio.Sound().Kill();
  Go();
  Pass(8000);
  EXPECT_TRUE(m_studio.LiveRoad().Running());
  EXPECT_TRUE(m_studio.Rtmp().Recordings().empty());
  ASSERT_EQ(m_studio.EndLiveRoad(), 0) << m_studio.Report();
}

TEST_F(Trouble, TheEndOfTheScreenEndsTheProgramAtOnce) {
  Go();
  ASSERT_TRUE(m_studio.Rtmp().WaitForRecording(kPatienceMs, 1, 100000)) << m_studio.Report();
  m_studio.Desktop().KillServer();
  // An exit status, not a signal of a crash.
  const int ms = support::TimeGiven(
      [this] { EXPECT_EQ(m_studio.LiveRoad().Wait(kPatienceMs), 1) << m_studio.Report(); });
  EXPECT_LT(ms, 5000);
}

// Addresses behind which there is nobody to publish to. The broadcast runs on, the log names the
// address, and the end comes: how soon, with nothing around it, HostileServerTest asks.
class TroubleNobodyThere : public Trouble {
 protected:
  void TryAndEnd(const std::string& url) {
    Go({}, url);
    EXPECT_TRUE(support::WaitFor([&] { return m_studio.Log().find(url) != std::string::npos; },
                                 kPatienceMs))
        << "not in the log: " << url << "\n"
        << m_studio.Log();
    EXPECT_TRUE(m_studio.LiveRoad().Running());
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(m_studio.EndLiveRoad(), 0) << m_studio.Report();
    RecordProperty(
        "stop_ms",
        std::to_string(
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count()));
  }
};

TEST_F(TroubleNobodyThere, AddressThatDoesNotResolve) {
  TryAndEnd("rtmp://no-such-host.invalid/live/key");
}

TEST_F(TroubleNobodyThere, AddressThatRefuses) {
  TryAndEnd("rtmp://127.0.0.1:" + std::to_string(support::SilentPort()) + "/live/key");
}

TEST_F(TroubleNobodyThere, ServerThatClosesInTheHandshake) {
  const support::HostilePeer peer(support::HostilePeer::Manner::kClosesInHandshake);
  TryAndEnd(peer.Url());
}

TEST_F(TroubleNobodyThere, ServerThatIsNotRtmp) {
  const support::HostilePeer peer(support::HostilePeer::Manner::kTalksGarbage);
  TryAndEnd(peer.Url());
}

TEST_F(TroubleNobodyThere, ServerThatNeverAnswers) {
  const support::HostilePeer peer(support::HostilePeer::Manner::kNeverReads);
  Go({}, peer.Url());
  EXPECT_TRUE(support::WaitFor([&] { return peer.Connections() > 0; }, kPatienceMs));
  Pass(1000);
  EXPECT_TRUE(m_studio.LiveRoad().Running());
  EXPECT_EQ(m_studio.EndLiveRoad(), 0) << m_studio.Report();
}

}  // namespace
