// A recording in real time: beside a stream whose server comes and goes, and in a program that is
// killed. ffprobe and ffmpeg have the last word on the file.
#include "output/Recorder.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "output/EncoderRig.h"
#include "output/RecordingRig.h"
#include "support/LogRecord.h"
#include "support/Process.h"
#include "support/Recording.h"
#include "support/RtmpServer.h"

namespace {

using output::Recorder;
using support::EncoderUnderTest;
using support::FilesIn;
using support::kPlaceName;
using support::Recording;
using support::TimesOf;
using support::WaitFor;

constexpr int kPatienceMs = 60000;
constexpr int kLastSecondMs = 1000;

std::string Probe(const std::string& path, const std::string& entries) {
  return support::Run({"ffprobe", "-v", "error", "-select_streams", "v", "-show_entries", entries,
                       "-of", "default=nokey=1:noprint_wrappers=1", path})
      .output;
}

// Of the last line that begins with a figure; 0 when there is none.
double LastFigure(const std::string& lines) {
  double last = 0;
  for (std::size_t at = 0; at < lines.size();) {
    const std::size_t end = std::min(lines.find('\n', at), lines.size());
    char* behind = nullptr;
    const std::string line = lines.substr(at, end - at);
    const double figure = std::strtod(line.c_str(), &behind);
    last = behind != line.c_str() ? figure : last;
    at = end + 1;
  }
  return last;
}

// As the judges of the trade see it.
void ExpectWellFormed(const std::string& path, double seconds) {
  EXPECT_EQ(Probe(path, "format=format_name").substr(0, 8), "matroska");
  EXPECT_NEAR(LastFigure(Probe(path, "format=duration")), seconds, 0.2);
  EXPECT_EQ(support::Run({"ffmpeg", "-v", "error", "-i", path, "-f", "null", "-"}).output, "");
}

class RecorderBesideAServer : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(server.Start()) << server.Log();
    encoder.SetUrl(server.Url());
    ASSERT_EQ(encoder.Start(), 0);
  }
  bool AwaitSent(std::uint64_t more) const {
    const std::uint64_t sent = encoder.Statistics().videoPacketsSent;
    return WaitFor([&] { return encoder.Statistics().videoPacketsSent >= sent + more; },
                   kPatienceMs);
  }

  support::RtmpServer server;
  support::LogRecord log;
  support::TempDir home;
  EncoderUnderTest encoder;
};

TEST_F(RecorderBesideAServer, ReconnectionsLeaveNoHoleAndNoSecondFile) {
  Recorder recorder(support::PlaceIn(home.File("orvane")));
  support::PacketWitness witness([&](const AVPacket& packet) { recorder.TakePacket(packet); });
  const support::Feeder feeder(&encoder);
  ASSERT_TRUE(AwaitSent(25));
  recorder.Start(encoder);
  const support::PacketLink link(&encoder, &witness);
  ASSERT_TRUE(AwaitSent(75)) << Describe(encoder);
  server.Kill();
  ASSERT_TRUE(WaitFor([&] { return encoder.Statistics().status.state == PublishState::kRetrying; },
                      kPatienceMs));
  ASSERT_TRUE(server.Start());
  ASSERT_TRUE(WaitFor([&] { return encoder.Statistics().connections >= 2; }, kPatienceMs));
  ASSERT_TRUE(AwaitSent(75)) << Describe(encoder);
  EXPECT_GT(encoder.Statistics().videoPacketsDropped, 0U);
  encoder.SetPacketOutput(nullptr);
  recorder.Finish();
  ASSERT_TRUE(recorder.AwaitClosed(std::chrono::milliseconds(kPatienceMs)));
  EXPECT_EQ(recorder.Status().fault, output::RecordingFault::kNone) << log.Errors();

  EXPECT_EQ(FilesIn(home.File("orvane")), std::vector<std::string>{kPlaceName});
  const Recording recording(recorder.Status().path);
  EXPECT_EQ(recording.TimeStampFault(), "");
  EXPECT_EQ(TimesOf(recording, output::kVideoStream), witness.Pictures());
  EXPECT_EQ(TimesOf(recording, output::kAudioStream), witness.Sound());
  ExpectWellFormed(recorder.Status().path, static_cast<double>(recorder.Status().lengthMs) / 1000);
}

TEST(RecorderCrash, LeavesAFileThatPlaysToItsLastSecond) {
  const support::TempDir home;
  const std::string told = home.File("told");
  support::Process program;
  ASSERT_TRUE(program.Start({ORVANE_RECORDING_PROGRAM, home.File("orvane")}, {}, told));
  const auto reached = [&] { return LastFigure(support::ReadFile(told)); };
  ASSERT_TRUE(WaitFor([&] { return reached() >= 8000; }, kPatienceMs)) << support::ReadFile(told);
  program.Signal(SIGKILL);
  EXPECT_EQ(program.Wait(kPatienceMs), -1);

  ASSERT_EQ(FilesIn(home.File("orvane")), std::vector<std::string>{kPlaceName});
  const std::string path = home.File("orvane") + "/" + kPlaceName;
  EXPECT_GE(LastFigure(Probe(path, "packet=pts_time")) * 1000, reached() - kLastSecondMs);
  const Recording recording(path);
  EXPECT_EQ(recording.TimeStampFault(), "");
  EXPECT_GE(TimesOf(recording, output::kAudioStream).back(), reached() - kLastSecondMs);
  const Recording::Motion motion = recording.JudgeMotion();
  EXPECT_EQ(motion.pictures, recording.Count(output::kVideoStream));
}

}  // namespace
