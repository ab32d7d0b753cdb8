// The broadcast as an operator runs it: the built program, pressed from outside, real service,
// ingest, screen and sound.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "Studio.h"
#include "support/Recording.h"

namespace {

const char kLoginTitle[] = "^登录$";
const char kWindowTitle[] = "^orvane$";
const char kDialogTitle[] = "^选择活动$";
// The middle of the live button.
constexpr int kLiveX = 910;
constexpr int kLiveY = 671;
// The beginning of the system sound's bar, on the screen.
constexpr int kBarX = 994;
constexpr int kBarY = 862;
constexpr support::Colour kSilentBar = 0x1B1D21;
constexpr support::Colour kToneBar = 0xF7BA2A;  // the tone of ffmpeg peaks at -18 dBFS
constexpr int kPatienceMs = 60000;
// The media library's word for it.
const char kEndOfStream[] = "Deleting stream...";

class LiveProgram : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(m_studio.Start()) << m_studio.Report();
    ASSERT_TRUE(m_studio.StartService()) << m_studio.Report();
    ASSERT_TRUE(m_studio.Film("filmed", {"--window", "300x200+0+0", "--fill", "C03060"}));
    const support::RunResult added = support::Run(
        {ORVANE_SERVICE, "activity", "add", "--database", m_studio.File("service.sqlite"),
         "--account", "demo", "--title", "开播测试", "--publish", m_studio.Rtmp().Url("first"),
         "--view", "rtmp://127.0.0.1/watch/first", "--open"});
    ASSERT_EQ(added.status, 0) << added.output;
    m_studio.SaveAccount("demo", m_studio.Password());
    ASSERT_TRUE(
        m_program.Start({ORVANE_PROGRAM}, m_studio.Environment(), m_studio.File("program.out")));
    ASSERT_TRUE(m_studio.Activate(kLoginTitle) && m_studio.PressKeys({"Return"}));
  }

  // A click into the window of that title, once it is there.
  bool Click(const char* title, int x, int y) {
    return m_studio.Activate(title) &&
           support::Run({"xdotool", "search", "--onlyvisible", "--name", title, "mousemove",
                         "--window", "%1", std::to_string(x), std::to_string(y), "click", "1"},
                        10000, m_studio.Desktop().Environment())
                   .status == 0;
  }
  // The first activity of the list.
  bool Choose() {
    return Click(kWindowTitle, 150, 680) && Click(kDialogTitle, 120, 140) &&
           Click(kDialogTitle, 550, 502);
  }
  // The colour of the beginning of the system sound's bar.
  bool SystemSoundShows(support::Colour colour) {
    return support::WaitFor([&] { return m_studio.Desktop().ReadPixel(kBarX, kBarY) == colour; },
                            kPatienceMs);
  }
  std::string Service() const { return support::ReadFile(m_studio.File("service.out")); }
  void Keep(const char* name) {
    if (const char* keep = std::getenv("ORVANE_KEEP_RECORDINGS")) {
      m_studio.Desktop().Screenshot(std::string(keep) + "/" + name);
    }
  }
  std::string Printed() const { return support::ReadFile(m_studio.File("program.out")); }

  e2e::Studio m_studio;
  support::Process m_program;
};

TEST_F(LiveProgram, SigtermWhileLiveClosesTheRecordingAndTellsTheService) {
  ASSERT_TRUE(Choose()) << Printed();
  ASSERT_TRUE(Click(kWindowTitle, kLiveX, kLiveY));
  ASSERT_TRUE(m_studio.Rtmp().WaitForRecording(kPatienceMs, 1, 30'000)) << m_studio.Report();
  EXPECT_TRUE(SystemSoundShows(kSilentBar));
  support::Process tone;
  ASSERT_TRUE(tone.Start({"ffmpeg", "-v", "error", "-re", "-f", "lavfi", "-i",
                          "sine=sample_rate=48000:frequency=440", "-f", "pulse", "tone"},
                         m_studio.Environment()));
  EXPECT_TRUE(SystemSoundShows(kToneBar));
  Keep("live.png");
  // When the service has answered.
  const auto address = [this] { return support::ReadFile(m_studio.File("rtmp.txt")); };
  const std::string wanted = "rtmp://127.0.0.1/watch/first\n";
  EXPECT_TRUE(support::WaitFor([&] { return address() == wanted; }, kPatienceMs)) << address();
  m_studio.Rtmp().Kill();
  ASSERT_TRUE(support::WaitFor(
      [this] { return m_studio.Log().find("Connection refused") != std::string::npos; },
      kPatienceMs))
      << m_studio.Log();
  sleep(2);
  Keep("down.png");
  ASSERT_TRUE(m_studio.Rtmp().Start());
  ASSERT_TRUE(m_studio.Rtmp().WaitForRecording(kPatienceMs, 2, 30'000)) << m_studio.Report();
  Keep("back.png");

  const int ends = e2e::CountOf(m_studio.Log(), kEndOfStream);
  const int failures = e2e::CountOf(m_studio.Log(), "av_write_trailer error");
  m_program.Signal(SIGTERM);
  EXPECT_EQ(m_program.Wait(kPatienceMs), 0) << Printed();
  // In good order, not by the end of the connection alone.
  EXPECT_EQ(e2e::CountOf(m_studio.Log(), kEndOfStream), ends + 1);
  EXPECT_EQ(e2e::CountOf(m_studio.Log(), "av_write_trailer error"), failures);
  const std::string path = m_studio.Recording(1);
  const support::Recording recording(path);
  EXPECT_EQ(recording.Error(), "");
  EXPECT_EQ(recording.TimeStampFault(), "");
  ASSERT_EQ(recording.Streams().size(), 2U);
  EXPECT_EQ(recording.Streams()[1].width, 960);
  EXPECT_EQ(recording.Streams()[1].height, 540);
  EXPECT_NE(Service().find("broadcast-started"), std::string::npos) << Service();
  // The program has told it, and leaves a service that is busy to note it in its own time.
  EXPECT_TRUE(support::WaitFor(
      [this] { return Service().find("broadcast-ended") != std::string::npos; }, kPatienceMs))
      << Service();
}

}  // namespace
