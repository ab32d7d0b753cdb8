// A recording turn by turn, on the test's own thread, with the real encoders and the real muxer.
#include "output/RecordingWork.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "media/ffmpeg/Scoped.h"
#include "output/EncoderRig.h"
#include "output/RecordingRig.h"
#include "support/FakeClock.h"
#include "support/LogRecord.h"
#include "support/Process.h"

namespace {

// What the next calls of fdatasync do.
int g_syncs = 0;
int g_syncError = 0;

}  // namespace

extern "C" int __wrap_fdatasync(int /*descriptor*/);
extern "C" int __wrap_fdatasync(int /*descriptor*/) {
  ++g_syncs;
  errno = g_syncError;
  return g_syncError == 0 ? 0 : -1;
}

namespace {

using output::RecordingFault;
using output::RecordingState;
using output::RecordingWork;
using support::EncoderUnderTest;
using support::FilesIn;
using support::kPlaceName;
using support::Recording;
using support::Times;
using support::TimesOf;

constexpr int kSound = output::kAudioStream;
constexpr int kPicture = output::kVideoStream;
constexpr std::int64_t kLastSecondMs = 1000;

class RecordingWorkTest : public testing::Test {
 protected:
  void SetUp() override {
    g_syncs = 0;
    g_syncError = 0;
    ASSERT_TRUE(encoder.Open());
  }

  void Link() {
    ASSERT_EQ(encoder.CopyParameters(work.Sound(), work.Picture()), 0);
    encoder.SetPacketOutput(&witness);
  }
  void BeginLinked() {
    ASSERT_NO_FATAL_FAILURE(Link());
    ASSERT_TRUE(work.Begin());
  }
  // Pictures with their sound, each encoded in time.
  void Feed(int pictures) {
    for (int i = 0; i < pictures; ++i, ++fed) {
      clock.Advance(40);
      encoder.EnqueueAudio(0, support::NewSine(fed * 1920, 1920));
      encoder.EnqueueVideo(0, support::NewCanvas(fed));
      encoder.TurnUntilIdle();
    }
  }
  // As the thread does it, with what waits written after each picture.
  void FeedInTurns(int pictures) {
    for (int i = 0; i < pictures; ++i) {
      Feed(1);
      ASSERT_TRUE(work.Turn());
    }
  }
  void FinishAll() {
    encoder.SetPacketOutput(nullptr);
    work.Finish();
    EXPECT_FALSE(work.Turn());
    work.End();
    EXPECT_TRUE(work.HasClosed());
  }
  std::string Path() const { return directory + "/" + kPlaceName; }
  void ExpectWhole(const Recording& recording) const {
    EXPECT_EQ(recording.Error(), "");
    EXPECT_EQ(recording.TimeStampFault(), "");
    EXPECT_EQ(TimesOf(recording, kPicture), witness.Pictures());
    EXPECT_EQ(TimesOf(recording, kSound), witness.Sound());
  }
  // Each picture can be decoded, and is another one than the one before.
  static void ExpectEachPicture(const Recording& recording) {
    const Recording::Motion motion = recording.JudgeMotion();
    EXPECT_EQ(motion.pictures, recording.Count(kPicture));
    EXPECT_EQ(motion.distinct, motion.pictures);
  }

  support::FakeClock clock;
  support::LogRecord log;
  support::TempDir home;
  const std::string directory = home.File("Videos/orvane");
  EncoderUnderTest encoder;
  RecordingWork work{support::PlaceIn(directory)};
  support::PacketWitness witness{[this](const AVPacket& packet) { work.Take(packet); }};
  int fed = 0;
};

TEST_F(RecordingWorkTest, HoldsEveryPacketFromTheFirstKeyFrameOn) {
  Feed(10);  // the first key frame is gone by
  ASSERT_NO_FATAL_FAILURE(BeginLinked());
  EXPECT_EQ(work.Status().state, RecordingState::kPreparing);
  ASSERT_NO_FATAL_FAILURE(FeedInTurns(20));
  EXPECT_EQ(work.Status().state, RecordingState::kPreparing);
  ASSERT_NO_FATAL_FAILURE(FeedInTurns(100));
  EXPECT_EQ(work.Status().state, RecordingState::kRecording);
  FinishAll();
  EXPECT_EQ(work.Status().state, RecordingState::kEnded);
  EXPECT_EQ(work.Status().fault, RecordingFault::kNone);

  EXPECT_EQ(FilesIn(directory), std::vector<std::string>{kPlaceName});
  const Recording recording(Path());
  ExpectWhole(recording);
  ASSERT_GT(recording.Count(kPicture), 60);
  EXPECT_EQ(TimesOf(recording, kPicture).front(), 0);
  EXPECT_LT(TimesOf(recording, kSound).front(), 25);
  ASSERT_EQ(recording.Streams().size(), 2U);
  EXPECT_EQ(recording.Streams()[kSound].codec, "aac");
  EXPECT_EQ(recording.Streams()[kPicture].codec, "h264");
  EXPECT_EQ(recording.Streams()[kPicture].width, 960);
  ExpectEachPicture(recording);
}

TEST_F(RecordingWorkTest, ItsFileOutlivesIt) {
  auto own = std::make_unique<RecordingWork>(support::PlaceIn(directory));
  ASSERT_EQ(encoder.CopyParameters(own->Sound(), own->Picture()), 0);
  ASSERT_TRUE(own->Begin());
  support::PacketWitness packets([&own](const AVPacket& packet) { own->Take(packet); });
  encoder.SetPacketOutput(&packets);
  Feed(60);
  encoder.SetPacketOutput(nullptr);
  own->Finish();
  own->Turn();
  own->End();
  own.reset();
  EXPECT_EQ(TimesOf(Recording(Path()), kPicture), packets.Pictures());
}

// The sound of the first picture has been there before it.
TEST_F(RecordingWorkTest, BeginsWithTheSoundOfItsFirstPicture) {
  ASSERT_NO_FATAL_FAILURE(BeginLinked());
  const auto sound = [this](std::int64_t ms) {
    const ffmpeg::ScopedPacket packet(support::NewPacket(ms, true));
    packet->stream_index = kSound;
    witness.TakePacket(*packet.Get());
  };
  for (int i = 0; i < 60; ++i) {
    sound(i * 64 / 3);  // up to 1258
  }
  const ffmpeg::ScopedPacket key(support::NewPacket(700, true));
  key->stream_index = kPicture;
  witness.TakePacket(*key.Get());
  sound(1280);
  FinishAll();
  const Recording recording(Path());
  ExpectWhole(recording);
  EXPECT_EQ(TimesOf(recording, kSound).front(), 10);
  EXPECT_EQ(TimesOf(recording, kSound).size(), 23U);
}

TEST_F(RecordingWorkTest, AnotherEffortLeavesNoBreak) {
  ASSERT_NO_FATAL_FAILURE(BeginLinked());
  for (const int level : {3, 1, 4}) {
    ASSERT_NO_FATAL_FAILURE(FeedInTurns(20));
    encoder.ChangeEffort(level);
  }
  ASSERT_NO_FATAL_FAILURE(FeedInTurns(20));
  FinishAll();
  const Recording recording(Path());
  ExpectWhole(recording);
  ExpectEachPicture(recording);
}

// The first header is not the one that the encoder began with.
TEST_F(RecordingWorkTest, BeginsWithTheEffortOfItsFirstPicture) {
  Feed(5);
  encoder.ChangeEffort(4);
  ASSERT_NO_FATAL_FAILURE(BeginLinked());
  ASSERT_NO_FATAL_FAILURE(FeedInTurns(20));
  FinishAll();
  const Recording recording(Path());
  ExpectWhole(recording);
  EXPECT_EQ(recording.Count(kPicture), 20);
  ExpectEachPicture(recording);
}

TEST_F(RecordingWorkTest, LostConnectionsLeaveNoHole) {
  encoder.AllowFiles();
  encoder.SetUrl(home.File("missing/stream.flv"));
  ASSERT_NO_FATAL_FAILURE(BeginLinked());
  for (int loss = 0; loss < 3; ++loss) {
    ASSERT_NO_FATAL_FAILURE(FeedInTurns(30));
    EXPECT_TRUE(encoder.PublishOnce());
    EXPECT_EQ(encoder.Video().Size(), 0);
  }
  FinishAll();
  const Recording recording(Path());
  ExpectWhole(recording);
  EXPECT_GT(encoder.Statistics().videoPacketsDropped, 80U);
  EXPECT_GT(recording.Count(kPicture), 80);
  EXPECT_EQ(recording.JudgeMotion().longestGapMs, 40);
}

// What the system has by then is all that is left.
TEST_F(RecordingWorkTest, ACrashLeavesWhatWasThereASecondBefore) {
  ASSERT_NO_FATAL_FAILURE(BeginLinked());
  for (const int pictures : {60, 7, 9, 11, 13, 110}) {
    ASSERT_NO_FATAL_FAILURE(FeedInTurns(pictures));
    const std::string crashed = home.File("crashed.mkv");
    std::filesystem::copy_file(Path(), crashed, std::filesystem::copy_options::overwrite_existing);
    const Recording recording(crashed);
    ASSERT_EQ(recording.Error(), "");
    const std::int64_t now = work.Status().lengthMs;
    EXPECT_GT(TimesOf(recording, kPicture).back(), now - kLastSecondMs);
    EXPECT_GT(TimesOf(recording, kSound).back(), now - kLastSecondMs);
    EXPECT_EQ(recording.JudgeMotion().longestGapMs, 40);
  }
  FinishAll();
  ExpectWhole(Recording(Path()));
}

TEST_F(RecordingWorkTest, IsBroughtOntoTheDiskOnceASecond) {
  ASSERT_NO_FATAL_FAILURE(BeginLinked());
  ASSERT_NO_FATAL_FAILURE(FeedInTurns(5 * 25 + 5));
  EXPECT_GE(g_syncs, 4);
  EXPECT_LE(g_syncs, 5);
  const int before = g_syncs;
  clock.Advance(5000);
  EXPECT_TRUE(work.Turn());
  clock.Advance(5000);
  EXPECT_TRUE(work.Turn());
  EXPECT_LE(g_syncs, before + 1) << "nothing new";
}

// Some shares tell only here that they have no room.
TEST_F(RecordingWorkTest, WhatTheDiskRefusesLateEndsIt) {
  ASSERT_NO_FATAL_FAILURE(BeginLinked());
  ASSERT_NO_FATAL_FAILURE(FeedInTurns(60));
  g_syncError = ENOSPC;
  clock.Advance(1000);
  Feed(20);
  EXPECT_FALSE(work.Turn());
  EXPECT_EQ(work.Status().fault, RecordingFault::kWrite);
  EXPECT_EQ(work.Status().error, AVERROR(ENOSPC));
  EXPECT_TRUE(log.HasError(kPlaceName, "No space left on device"));
  encoder.SetPacketOutput(nullptr);
  work.End();
  EXPECT_GT(TimesOf(Recording(Path()), kPicture).back(), 1000);
}

TEST_F(RecordingWorkTest, WhatWaitsForTooLongEndsItAndTheFileKeepsTheRest) {
  ASSERT_NO_FATAL_FAILURE(BeginLinked());
  ASSERT_NO_FATAL_FAILURE(FeedInTurns(60));
  const Times pictures = witness.Pictures();
  encoder.SetPacketOutput(nullptr);
  const ffmpeg::ScopedPacket packet(support::NewPacket(10000, false));
  packet->stream_index = kPicture;
  for (int i = 0; i < RecordingWork::kMostWaiting; ++i) {
    work.Take(*packet.Get());
  }
  EXPECT_EQ(work.Status().fault, RecordingFault::kNone);
  EXPECT_EQ(work.Status().state, RecordingState::kRecording);
  work.Take(*packet.Get());
  EXPECT_EQ(work.Status().fault, RecordingFault::kTooSlow);
  EXPECT_EQ(work.Status().state, RecordingState::kEnded);
  EXPECT_FALSE(work.HasClosed());
  work.Take(*packet.Get());
  EXPECT_FALSE(work.Turn());
  work.End();
  EXPECT_TRUE(work.HasClosed());
  const Recording recording(Path());
  EXPECT_EQ(recording.Error(), "");
  EXPECT_EQ(TimesOf(recording, kPicture), pictures);
  EXPECT_TRUE(log.HasError(kPlaceName, "not taken anything")) << log.Errors();
}

TEST_F(RecordingWorkTest, FinishedItStillWritesWhatWaits) {
  ASSERT_NO_FATAL_FAILURE(BeginLinked());
  Feed(70);
  FinishAll();
  ExpectWhole(Recording(Path()));
}

TEST_F(RecordingWorkTest, WithoutAPictureThereIsNoFile) {
  Feed(5);
  ASSERT_NO_FATAL_FAILURE(BeginLinked());
  EXPECT_EQ(FilesIn(directory).size(), 1U);
  ASSERT_NO_FATAL_FAILURE(FeedInTurns(20));
  FinishAll();
  EXPECT_TRUE(FilesIn(directory).empty());
  EXPECT_EQ(work.Status().fault, RecordingFault::kNone);
  EXPECT_EQ(work.Status().bytes, 0);
}

TEST_F(RecordingWorkTest, IsItsOwnersAlone) {
  ASSERT_NO_FATAL_FAILURE(BeginLinked());
  struct stat status {};
  ASSERT_EQ(stat(Path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
  FinishAll();
}

TEST_F(RecordingWorkTest, OverwritesNothing) {
  std::filesystem::create_directories(directory);
  std::ofstream(Path()) << "precious";
  const std::string taken = directory + "/周年庆 2026-03-07 20-05-09 (2).mkv";
  std::filesystem::create_symlink("nowhere", taken);
  ASSERT_NO_FATAL_FAILURE(BeginLinked());
  ASSERT_NO_FATAL_FAILURE(FeedInTurns(30));
  FinishAll();
  EXPECT_EQ(support::ReadFile(Path()), "precious");
  EXPECT_TRUE(std::filesystem::is_symlink(taken));
  EXPECT_FALSE(std::filesystem::exists(directory + "/nowhere"));
  EXPECT_EQ(work.Status().path, directory + "/周年庆 2026-03-07 20-05-09 (3).mkv");
  ExpectWhole(Recording(work.Status().path));
}

TEST_F(RecordingWorkTest, ADirectoryThatCantBeUsedIsNamed) {
  const std::string file = home.File("file");
  std::ofstream(file) << "no directory";
  const struct {
    std::string directory;
    int error;
  } rows[] = {{file, ENOTDIR},
              {file + "/orvane", ENOTDIR},
              {home.File(std::string(300, 'x')), ENAMETOOLONG}};
  for (const auto& row : rows) {
    RecordingWork refused(support::PlaceIn(row.directory));
    EXPECT_FALSE(refused.Begin()) << row.directory;
    refused.End();
    EXPECT_EQ(refused.Status().fault, RecordingFault::kOpen) << row.directory;
    EXPECT_EQ(refused.Status().error, AVERROR(row.error)) << row.directory;
    EXPECT_EQ(refused.Status().path, row.directory);
    EXPECT_TRUE(refused.HasClosed());
  }
}

}  // namespace
