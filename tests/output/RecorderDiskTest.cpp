// A recording with its thread, on disks of every kind: full, read-only, limited, stalled and gone.
// None of them may reach the stream: whoever gives the packets waits for nothing.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "media/ffmpeg/Scoped.h"
#include "output/EncoderRig.h"
#include "output/Recorder.h"
#include "output/RecordingRig.h"
#include "output/RecordingWork.h"
#include "support/FakeClock.h"
#include "support/LogRecord.h"
#include "support/MustReturn.h"
#include "support/PrivateDevices.h"
#include "support/Process.h"
#include "support/ProcessStats.h"
#include "support/StalledShare.h"

namespace {

using output::Recorder;
using output::RecordingFault;
using output::RecordingState;
using output::RecordingWork;
using support::EncoderUnderTest;
using support::FilesIn;
using support::kPlaceName;
using support::Recording;
using support::TimesOf;
using support::WaitFor;

constexpr int kPatienceMs = 60000;
constexpr char kThread[] = "record";

class RecorderDisk : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(support::PrivateDevicesFailure(), "");
    ASSERT_TRUE(encoder.Open());
  }
  void TearDown() override { encoder.SetPacketOutput(nullptr); }

  void Record(const std::string& directory) {
    path = directory + "/" + kPlaceName;
    recorder = std::make_unique<Recorder>(support::PlaceIn(directory));
    recorder->Start(encoder);
    encoder.SetPacketOutput(recorder.get());
  }
  // Pictures with their sound, as fast as they are encoded; all of them reach the publisher.
  void Feed(int pictures) {
    for (int i = 0; i < pictures; ++i, ++fed) {
      clock.Advance(40);
      encoder.EnqueueAudio(0, support::NewSine(fed * 1920, 1920));
      encoder.EnqueueVideo(0, support::NewCanvas(fed));
      encoder.TurnUntilIdle();
    }
  }
  bool AwaitBytes() const {
    return WaitFor([this] { return recorder->Status().bytes > 0; }, kPatienceMs);
  }
  bool AwaitFault() const {
    return WaitFor([this] { return recorder->Status().fault != RecordingFault::kNone; },
                   kPatienceMs);
  }
  void ExpectFault(RecordingFault fault, int error) {
    ASSERT_TRUE(AwaitFault());
    EXPECT_EQ(recorder->Status().fault, fault);
    EXPECT_EQ(recorder->Status().error, AVERROR(error)) << log.Errors();
    EXPECT_TRUE(recorder->AwaitClosed(std::chrono::milliseconds(kPatienceMs)));
    EXPECT_EQ(recorder->Status().state, RecordingState::kEnded);
  }
  // The stream has each picture that there was.
  void ExpectStream() {
    const std::uint64_t encoded = encoder.Statistics().videoPacketsEncoded;
    EXPECT_GE(encoded + 10, static_cast<std::uint64_t>(fed));
    EXPECT_EQ(encoder.Video().Size(), static_cast<int>(encoded));
  }
  // What is in the file can be seen, up to where it was cut off.
  void ExpectPlays(std::int64_t atLeastMs) const {
    const Recording recording(path);
    ASSERT_EQ(recording.Error(), "");
    ASSERT_GT(recording.Count(output::kVideoStream), 0);
    EXPECT_GE(TimesOf(recording, output::kVideoStream).back(), atLeastMs);
    EXPECT_GT(recording.JudgeMotion().pictures, 0);
  }
  // Gives packets until more of them wait than may.
  void Overflow() {
    support::MustReturn("the encode thread", [this] {
      std::int64_t pts = 1'000'000;
      for (int i = 0;
           i < 3 * RecordingWork::kMostWaiting && recorder->Status().fault == RecordingFault::kNone;
           ++i, pts += 40) {
        const ffmpeg::ScopedPacket packet(support::NewPacket(pts, false));
        packet->stream_index = output::kVideoStream;
        recorder->TakePacket(*packet.Get());
      }
    });
    EXPECT_EQ(recorder->Status().fault, RecordingFault::kTooSlow);
    EXPECT_EQ(recorder->Status().state, RecordingState::kEnded);
  }
  void Leave() {
    support::MustReturn("leaving a recording", [this] {
      encoder.SetPacketOutput(nullptr);
      recorder.reset();
    });
  }
  static bool AwaitNoThread() {
    return WaitFor([] { return !support::HasThread(kThread); }, kPatienceMs);
  }

  support::FakeClock clock;
  support::LogRecord log;
  support::TempDir home;
  EncoderUnderTest encoder;
  std::unique_ptr<Recorder> recorder;
  std::string path;
  int fed = 0;
};

// A small file system of its own, as long as this lives.
class SmallDisk {
 public:
  explicit SmallDisk(const std::string& path) : m_path(path) {
    mkdir(path.c_str(), 0700);
    m_mounted = mount("small", path.c_str(), "tmpfs", 0, "size=128k") == 0;
  }
  ~SmallDisk() { umount2(m_path.c_str(), MNT_DETACH); }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

  bool IsMounted() const { return m_mounted; }
  bool Protect() const {
    return mount("small", m_path.c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, nullptr) == 0;
  }

 private:
  std::string m_path;
  bool m_mounted = false;
};

// No file of this process may become longer than that, as long as this lives.
class FileLimit {
 public:
  explicit FileLimit(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &m_before);
    const rlimit limit = {bytes, m_before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileLimit() { setrlimit(RLIMIT_FSIZE, &m_before); }
  FileLimit(const FileLimit&) = delete;
  FileLimit& operator=(const FileLimit&) = delete;

 private:
  rlimit m_before{};
};

TEST_F(RecorderDisk, AFullDiskEndsItAndLeavesWhatWasThere) {
  const SmallDisk disk(home.File("disk"));
  ASSERT_TRUE(disk.IsMounted());
  Record(home.File("disk"));
  Feed(500);
  ASSERT_NO_FATAL_FAILURE(ExpectFault(RecordingFault::kWrite, ENOSPC));
  Feed(50);
  ExpectStream();
  ExpectPlays(400);
  Leave();
  EXPECT_TRUE(AwaitNoThread());
}

// The system would end the program by a signal.
TEST_F(RecorderDisk, ALimitOnTheLengthOfFilesEndsNothingElse) {
  const FileLimit limit(100'000);
  Record(home.Path());
  Feed(500);
  ASSERT_NO_FATAL_FAILURE(ExpectFault(RecordingFault::kWrite, EFBIG));
  Feed(50);
  ExpectStream();
  ExpectPlays(400);
}

TEST_F(RecorderDisk, AReadOnlyDiskIsNamed) {
  const SmallDisk disk(home.File("disk"));
  ASSERT_TRUE(disk.IsMounted());
  ASSERT_TRUE(disk.Protect());
  Record(home.File("disk"));
  ASSERT_NO_FATAL_FAILURE(ExpectFault(RecordingFault::kOpen, EROFS));
  Feed(50);
  ExpectStream();
}

TEST_F(RecorderDisk, AnEncoderThatDoesNotRunIsNamed) {
  const EncoderUnderTest closed;
  Recorder refused(support::PlaceIn(home.File("never")));
  refused.Start(closed);
  EXPECT_EQ(refused.Status().fault, RecordingFault::kNoStream);
  EXPECT_TRUE(refused.HasClosed());
  EXPECT_FALSE(support::HasThread(kThread));
  EXPECT_TRUE(FilesIn(home.File("never")).empty());
}

TEST_F(RecorderDisk, AShareThatStallsEndsItAndHoldsNobodyUp) {
  support::StalledShare share;
  ASSERT_TRUE(share.Mount()) << share.Failure();
  Record(share.Path());
  Feed(100);
  ASSERT_TRUE(AwaitBytes());
  share.Stall();
  Feed(100);
  ExpectStream();
  EXPECT_EQ(recorder->Status().fault, RecordingFault::kNone) << "it may still go on";
  Overflow();
  EXPECT_FALSE(recorder->AwaitClosed(std::chrono::milliseconds(300)));
  Leave();
  EXPECT_TRUE(support::HasThread(kThread)) << "it waits for the share";
  Feed(50);
  ExpectStream();
  share.GoOn();
  EXPECT_TRUE(AwaitNoThread());
  ExpectPlays(400);
}

// What waits is still written.
TEST_F(RecorderDisk, AShareThatStallsForAMomentLosesNothing) {
  support::StalledShare share;
  ASSERT_TRUE(share.Mount()) << share.Failure();
  Record(share.Path());
  support::PacketWitness witness([this](const AVPacket& packet) { recorder->TakePacket(packet); });
  encoder.SetPacketOutput(&witness);
  Feed(60);
  ASSERT_TRUE(AwaitBytes());
  share.Stall();
  Feed(200);
  EXPECT_EQ(recorder->Status().state, RecordingState::kRecording);
  encoder.SetPacketOutput(nullptr);
  support::MustReturn("finishing", [this] { recorder->Finish(); });
  EXPECT_FALSE(recorder->AwaitClosed(std::chrono::milliseconds(300)));
  share.GoOn();
  ASSERT_TRUE(recorder->AwaitClosed(std::chrono::milliseconds(kPatienceMs)));
  EXPECT_EQ(recorder->Status().fault, RecordingFault::kNone);
  EXPECT_EQ(TimesOf(Recording(path), output::kVideoStream), witness.Pictures());
}

TEST_F(RecorderDisk, AShareThatStallsAtTheOpeningHoldsNobodyUp) {
  support::StalledShare share;
  ASSERT_TRUE(share.Mount()) << share.Failure();
  share.Stall();
  support::MustReturn("beginning a recording", [&] { Record(share.Path()); });
  Feed(30);
  ExpectStream();
  EXPECT_EQ(recorder->Status().state, RecordingState::kPreparing);
  EXPECT_EQ(recorder->Status().path, share.Path());
  Overflow();
  Leave();
  share.GoOn();
  EXPECT_TRUE(AwaitNoThread());
  EXPECT_TRUE(FilesIn(share.Path()).empty()) << "nothing was written";
}

TEST_F(RecorderDisk, AShareThatIsGoneEndsIt) {
  support::StalledShare share;
  ASSERT_TRUE(share.Mount()) << share.Failure();
  Record(share.Path());
  Feed(60);
  ASSERT_TRUE(AwaitBytes());
  share.Vanish();
  Feed(60);
  ASSERT_TRUE(AwaitFault());
  EXPECT_EQ(recorder->Status().fault, RecordingFault::kWrite);
  ExpectStream();
  Leave();
  EXPECT_TRUE(AwaitNoThread());
}

}  // namespace
