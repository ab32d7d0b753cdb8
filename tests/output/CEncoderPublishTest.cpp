// The publish thread's turns, run by the test with the real muxer into a file.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "media/ffmpeg/Scoped.h"
#include "output/EncoderRig.h"
#include "output/LibraryFailures.h"
#include "output/PublishRules.h"
#include "support/FakeClock.h"
#include "support/LogRecord.h"
#include "support/Process.h"
#include "support/ProcessStats.h"
#include "support/Recording.h"

namespace {

using support::EncoderUnderTest;
using support::LibraryFailures;
using support::LogRecord;
using support::NewPacket;
using support::Recording;
using Sent = EncoderUnderTest::Sent;

class CEncoderPublishTurn : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(encoder.Open());
    OpenOutput(directory.File("stream.flv"));
  }
  void TearDown() override { CloseOutput(); }

  void OpenOutput(const std::string& path) {
    CloseOutput();
    ASSERT_GE(avformat_alloc_output_context2(&output, nullptr, "flv", path.c_str()), 0);
    ASSERT_GE(encoder.AddStreams(output), 0);
    ASSERT_GE(avio_open(&output->pb, path.c_str(), AVIO_FLAG_READ_WRITE), 0);
    ASSERT_GE(avformat_write_header(output, nullptr), 0);
  }
  void CloseOutput() {
    if (output != nullptr) {
      av_write_trailer(output);
      avio_closep(&output->pb);
      avformat_free_context(output);
      output = nullptr;
    }
  }
  // Everything that was sent, in the order of the wire.
  std::vector<Recording::Packet> Wire() {
    CloseOutput();
    const Recording recording(directory.File("stream.flv"));
    EXPECT_EQ("", recording.Error());
    EXPECT_EQ("", recording.TimeStampFault());
    EXPECT_EQ("", recording.WireOrderFault());
    return recording.Packets();
  }

  void AddVideo(int count, int firstKey = 0) {
    for (int i = 0; i < count; ++i, ++videoMade) {
      const bool key = videoMade >= firstKey && (videoMade - firstKey) % 50 == 0;
      encoder.Video().PushBack(NewPacket(videoMade * 40, key));
    }
  }
  void AddAudio(const std::vector<std::int64_t>& pts) {
    for (const std::int64_t time : pts) {
      encoder.Audio().PushBack(NewPacket(time, true));
    }
  }
  int SendAllThatIsDue() {
    int packets = 0;
    while (encoder.PublishTurn(output) == Sent::kPacket) {
      ++packets;
    }
    return packets;
  }

  support::TempDir directory;
  LogRecord log;
  EncoderUnderTest encoder;
  AVFormatContext* output = nullptr;
  int videoMade = 0;
};

TEST_F(CEncoderPublishTurn, WithFewerThanFifteenVideoPacketsNothingIsSentSoundIncluded) {
  AddVideo(14);
  AddAudio({0, 21, 43});
  EXPECT_EQ(Sent::kNothing, encoder.PublishTurn(output));
  EXPECT_EQ(3, encoder.Audio().Size());
  EXPECT_EQ(14, encoder.Video().Size());
  AddVideo(1);
  EXPECT_EQ(Sent::kPacket, encoder.PublishTurn(output));
  EXPECT_EQ(2, encoder.Audio().Size());
}

TEST_F(CEncoderPublishTurn, WithoutSoundNothingIsSent) {
  AddVideo(400);
  EXPECT_EQ(Sent::kNothing, encoder.PublishTurn(output));
  EXPECT_EQ(400, encoder.Video().Size()) << "nothing is skipped either";
}

TEST_F(CEncoderPublishTurn, StreamsAreSoundThenPicture) {
  ASSERT_EQ(2U, output->nb_streams);
  EXPECT_EQ(AV_CODEC_ID_AAC, output->streams[0]->codecpar->codec_id);
  EXPECT_EQ(AV_CODEC_ID_H264, output->streams[1]->codecpar->codec_id);
}

TEST_F(CEncoderPublishTurn, PictureGoesAHundredMillisecondsBehindTheSound) {
  AddVideo(17);  // at 0, 40, 80 before the fifteen that are held
  AddAudio({0, 21, 43, 64, 85, 107, 128, 149, 171, 192});
  SendAllThatIsDue();
  std::vector<std::pair<int, std::int64_t>> wire;
  for (const Recording::Packet& packet : Wire()) {
    wire.emplace_back(packet.stream, packet.ptsMs);
  }
  // The file ends where the fifteenth video packet from the end would have to go: 0, 40 and 80 ms
  // are shown at 100, 140 and 180.
  EXPECT_EQ((std::vector<std::pair<int, std::int64_t>>{{0, 0},
                                                       {0, 21},
                                                       {0, 43},
                                                       {0, 64},
                                                       {0, 85},
                                                       {1, 100},
                                                       {0, 107},
                                                       {0, 128},
                                                       {1, 140},
                                                       {0, 149},
                                                       {0, 171},
                                                       {1, 180}}),
            wire);
  EXPECT_TRUE(log.Noted("send audio pts = 107"));
  EXPECT_TRUE(log.Noted("send video pts = 140"));
}

// The muxer must not wait for a packet of each stream: the server would see a silent publisher.
TEST_F(CEncoderPublishTurn, PicturesThatAreBehindTheSoundGoOutAtOnce) {
  AddVideo(114);
  AddAudio({8000, 8021});  // the sound is 8 s further
  const std::int64_t before = avio_tell(output->pb);
  EXPECT_EQ(100, SendAllThatIsDue());
  // All but what lies within a fifth of a second, at more than 64 bytes each.
  EXPECT_GT(avio_tell(output->pb) - before, 94 * 64);
  EXPECT_EQ(2, encoder.Audio().Size());
}

TEST_F(CEncoderPublishTurn, FifteenVideoPacketsAreAlwaysHeldBack) {
  AddVideo(100);
  std::vector<std::int64_t> sound;
  for (int i = 0; i < 300; ++i) {
    sound.push_back(i * 1024 / 48);
  }
  AddAudio(sound);
  SendAllThatIsDue();
  EXPECT_EQ(14, encoder.Video().Size());
  EXPECT_EQ(86U, encoder.Statistics().videoPacketsSent);
}

TEST_F(CEncoderPublishTurn,
       AStallOfAHundredAndFiftyOnePacketsIsCutAndTheNextVideoPacketIsAKeyFrame) {
  AddVideo(151, 30);  // keys at 30, 80, 130
  std::vector<std::int64_t> sound;
  for (int i = 0; i < 283; ++i) {
    sound.push_back(i * 1024 / 48);
  }
  AddAudio(sound);
  ASSERT_EQ(Sent::kPacket, encoder.PublishTurn(output));
  EXPECT_EQ(130U, encoder.Statistics().videoPacketsDropped);
  EXPECT_EQ(21, encoder.Video().Size());
  SendAllThatIsDue();
  bool first = true;
  for (const Recording::Packet& packet : Wire()) {
    if (packet.stream == 1 && first) {
      EXPECT_TRUE(packet.key);
      EXPECT_EQ(130 * 40 + 100, packet.ptsMs);
      first = false;
    }
  }
  EXPECT_FALSE(first);
}

TEST_F(CEncoderPublishTurn, AfterTheCutOlderSoundIsSentFirst) {
  AddVideo(151, 1);  // the head becomes 4040 ms
  AddAudio({0, 21, 43, 4100, 4121, 4142});
  SendAllThatIsDue();
  EXPECT_EQ(0U, encoder.Statistics().audioPacketsDropped);
  const std::vector<Recording::Packet> wire = Wire();
  ASSERT_GE(wire.size(), 6U);
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(0, wire[i].stream) << i;
  }
  EXPECT_EQ(1, wire[5].stream);
  EXPECT_EQ(4140, wire[5].ptsMs);
}

TEST_F(CEncoderPublishTurn, ACutThatLeavesNoSoundSendsNothing) {
  AddVideo(151, 1);
  AddAudio({9000});
  EXPECT_EQ(Sent::kNothing, encoder.PublishTurn(output));
  EXPECT_EQ(1U, encoder.Statistics().audioPacketsDropped);
  EXPECT_EQ(0U, encoder.Statistics().videoPacketsSent);
}

TEST_F(CEncoderPublishTurn, AFailedWriteIsLoggedWithItsCauseAndCalledForARetry) {
  OpenOutput("/dev/full");
  AddVideo(20);
  encoder.Audio().PushBack(NewPacket(0, true, 64));
  encoder.Audio().PushBack(NewPacket(500, true, 64));
  Sent sent = Sent::kPacket;
  std::uint64_t taken = 0;
  for (int i = 0; i < 20 && sent == Sent::kPacket; ++i) {
    encoder.Video().PushBack(NewPacket((20 + i) * 40, false));
    auto* head = static_cast<AVPacket*>(encoder.Video().Peek());
    ASSERT_GE(av_grow_packet(head, 100000), 0);
    sent = encoder.PublishTurn(output);
    taken += sent == Sent::kPacket ? 1 : 0;
  }
  EXPECT_EQ(Sent::kFailed, sent);
  EXPECT_TRUE(log.SaidError("av_write_frame error\n"));
  EXPECT_NE(std::string::npos, log.Errors().find("No space left on device"));
  const EncoderStatistics statistics = encoder.Statistics();
  EXPECT_EQ(PublishState::kRetrying, statistics.status.state);
  EXPECT_EQ(PublishFault::kWrite, statistics.status.fault);
  EXPECT_EQ("send: No space left on device", statistics.cause);
  EXPECT_GT(taken, 0U);
  EXPECT_EQ(taken, statistics.videoPacketsSent + statistics.audioPacketsSent)
      << "what failed counts as sent";
}

TEST_F(CEncoderPublishTurn, QueuedDelayIsWhatTheWaitingPicturesStandFor) {
  for (int i = 0; i < 20; ++i) {
    encoder.EnqueueVideo(0, support::NewCanvas(i));
    encoder.Turn();
  }
  encoder.EnqueueAudio(0, support::NewSine(0, 48000));
  encoder.TurnUntilIdle();
  EXPECT_EQ(760, encoder.Statistics().queuedMs);
  SendAllThatIsDue();
  EXPECT_EQ(600 - 40, encoder.Statistics().queuedMs);
}

// One connection from its making to its end, on the test's thread.
class CEncoderPublishOnce : public testing::Test {
 protected:
  void SetUp() override {
    encoder.AllowFiles();
    ASSERT_TRUE(encoder.Open());
  }
  void FeedOneOfEach() {
    encoder.Video().PushBack(NewPacket(0, true));
    encoder.Audio().PushBack(NewPacket(0, true));
  }
  void PublishUntilSent(std::uint64_t pictures) {
    std::thread ending([&] {
      EXPECT_TRUE(support::WaitFor(
          [&] { return encoder.Statistics().videoPacketsSent >= pictures; }, 60000));
      encoder.Halt(true);
    });
    EXPECT_FALSE(encoder.PublishOnce());
    ending.join();
    encoder.Halt(false);
  }
  support::TempDir directory;
  LogRecord log;
  EncoderUnderTest encoder;
  int fed = 0;
};

TEST_F(CEncoderPublishOnce, AnAddressThatCantBeOpenedIsLoggedAndCallsForARetryAndTheQueuesAreLost) {
  const std::string address = directory.File("missing/rtmp.flv");
  encoder.SetUrl(address);
  FeedOneOfEach();
  EXPECT_TRUE(encoder.PublishOnce());
  EXPECT_TRUE(log.SaidError("avio_open error, path='" + address + "'"));
  EXPECT_NE(std::string::npos, log.Errors().find("connect: No such file or directory\n"));
  EXPECT_EQ(0, encoder.Video().Size());
  EXPECT_EQ(0, encoder.Audio().Size());
  EXPECT_EQ(1U, encoder.Statistics().videoPacketsDropped);
  EXPECT_EQ(1, encoder.Statistics().status.tries);
  EXPECT_TRUE(encoder.PublishOnce());
  EXPECT_EQ(2, encoder.Statistics().status.tries);
}

TEST_F(CEncoderPublishOnce, ARefusedHeaderIsLoggedAndCallsForNoRetry) {
  const LibraryFailures failures({"avformat_write_header"});
  encoder.SetUrl(directory.File("stream.flv"));
  FeedOneOfEach();
  EXPECT_FALSE(encoder.PublishOnce());
  EXPECT_TRUE(log.SaidError("avformat_write_header, error\n"));
  EXPECT_EQ(PublishState::kEnded, encoder.Statistics().status.state);
  EXPECT_EQ("stream header: Invalid argument", encoder.Statistics().cause);
  EXPECT_EQ(0, encoder.Video().Size());
}

TEST_F(CEncoderPublishOnce, WithoutAContextOrAStreamItEndsSilently) {
  encoder.SetUrl(directory.File("stream.flv"));
  for (const char* name : {"avformat_alloc_output_context2", "avformat_new_stream"}) {
    const LibraryFailures failures({name});
    EXPECT_FALSE(encoder.PublishOnce()) << name;
    EXPECT_EQ(PublishState::kEnded, encoder.Statistics().status.state) << name;
  }
  for (const std::string& error : log.Media(AV_LOG_ERROR)) {
    EXPECT_EQ(std::string::npos, error.find("stream.flv")) << error;
  }
  EXPECT_FALSE(std::filesystem::exists(directory.File("stream.flv")));
}

TEST_F(CEncoderPublishOnce, AFailedTrailerIsLogged) {
  const LibraryFailures failures({"av_write_trailer"});
  encoder.SetUrl("/dev/full");
  for (int i = 0; i < 30; ++i) {
    encoder.Video().PushBack(NewPacket(i * 40, i == 0, 100000));
    encoder.Audio().PushBack(NewPacket(i * 40, true));
  }
  EXPECT_TRUE(encoder.PublishOnce());
  EXPECT_TRUE(log.SaidError("av_write_trailer error\n"));
}

// The address comes from the service.
TEST(CEncoderPublishAddress, ThatNamesAFileLeavesTheFileAlone) {
  const support::TempDir directory;
  const std::string file = directory.File("rtmp.txt");
  for (const std::string& address :
       {file, "file:" + file, "async:file:" + file, "cache:" + file, "crypto:file:" + file,
        "subfile,,start,0,end,9,,:" + file, "tee:" + file, std::string("pipe:1")}) {
    std::ofstream(file) << "precious";
    const LogRecord log;
    EncoderUnderTest encoder;
    ASSERT_TRUE(encoder.Open());
    encoder.SetUrl(address);
    encoder.Video().PushBack(NewPacket(0, true));
    encoder.Audio().PushBack(NewPacket(0, true));
    EXPECT_TRUE(encoder.PublishOnce()) << address;
    EXPECT_EQ("precious", support::ReadFile(file)) << address;
    EXPECT_EQ(1, encoder.Statistics().status.tries) << address;
  }
}

// Nobody who joins waits for the next one, and the clocks don't begin anew.
TEST_F(CEncoderPublishOnce, EachConnectionBeginsWithAKeyFrameAndTheTimeGoesOn) {
  const auto feed = [this](int pictures) {
    for (int i = 0; i < pictures; ++i, ++fed) {
      encoder.EnqueueVideo(0, support::NewCanvas(fed));
      encoder.EnqueueAudio(0, support::NewSine(fed * 1920, 1920));
      encoder.TurnUntilIdle();
    }
  };
  std::vector<std::int64_t> begins;
  std::int64_t last = -1;
  for (const std::string name : {"first.flv", "second.flv", "third.flv"}) {
    feed(17);  // not a whole distance between key frames
    if (!begins.empty()) {
      encoder.SetUrl(directory.File("missing/lost.flv"));
      EXPECT_TRUE(encoder.PublishOnce());
      feed(30);
    }
    encoder.SetUrl(directory.File(name));
    PublishUntilSent(encoder.Statistics().videoPacketsSent + 2);
    const Recording recording(directory.File(name));
    ASSERT_EQ("", recording.Error());
    std::int64_t picture = -1;
    std::int64_t sound = -1;
    for (const Recording::Packet& packet : recording.Packets()) {
      EXPECT_GT(packet.ptsMs, packet.stream == 1 ? last : -1);
      if (packet.stream == 1 && picture < 0) {
        EXPECT_TRUE(packet.key) << name;
        picture = packet.ptsMs;
      }
      sound = packet.stream == 0 && sound < 0 ? packet.ptsMs : sound;
    }
    begins.push_back(picture);
    EXPECT_LE(picture - sound, 100) << name;
    last = recording.Packets().back().ptsMs;
  }
}

TEST_F(CEncoderPublishOnce, TheNextTryIsDueAfterThreeSeconds) {
  const support::FakeClock clock;
  const std::uint32_t begin = clock.Now();
  EXPECT_TRUE(encoder.AwaitRetry());
  EXPECT_EQ(3000U, clock.Now() - begin);
}

TEST_F(CEncoderPublishOnce, AStoppedNodeDoesNotSitOutTheWait) {
  const support::FakeClock clock;
  const std::uint32_t begin = clock.Now();
  encoder.Stop();
  EXPECT_FALSE(encoder.AwaitRetry());
  EXPECT_EQ(begin, clock.Now());
}

// Both threads run, on the test's clock, which their polling moves on.
class CEncoderPublishThread : public testing::Test {
 protected:
  // Lets the polling threads pass that many milliseconds of their clock.
  void Pass(std::uint32_t ms) {
    const std::uint32_t end = clock.Now() + ms;
    while (clock.Now() < end) {
      clock.TakeDelays();
    }
  }
  void FeedPictures(int count) {
    for (int i = 0; i < count; ++i) {
      encoder.EnqueueVideo(0, support::NewCanvas(i));
    }
  }
  void AwaitEncoded(std::uint64_t pictures) {
    EXPECT_TRUE(support::WaitFor(
        [&] {
          clock.TakeDelays();
          return encoder.Statistics().videoPacketsEncoded >= pictures;
        },
        60000));
  }
  support::TempDir directory;
  LogRecord log;
  support::FakeClock clock;
  EncoderUnderTest encoder;
};

TEST_F(CEncoderPublishThread, WithNoSoundAtAllNoConnectionIsMade) {
  encoder.AllowFiles();
  encoder.SetUrl(directory.File("stream.flv"));
  ASSERT_EQ(0, encoder.Start());
  FeedPictures(10);
  AwaitEncoded(10);
  Pass(60000);
  EXPECT_EQ(PublishState::kWaiting, encoder.Statistics().status.state);
  EXPECT_EQ(10, encoder.Video().Size());
  EXPECT_FALSE(std::filesystem::exists(directory.File("stream.flv")));
  encoder.Stop();
  EXPECT_EQ(0, encoder.Video().Size());
}

TEST_F(CEncoderPublishThread, PicturesThatWaitForSoundDoNotPileUp) {
  for (int i = 0; i < 500; ++i) {
    encoder.Video().PushBack(support::NewPacket(i * 40, i % 50 == 0));
    EXPECT_FALSE(encoder.HasFirstPackets());
    ASSERT_LE(encoder.Video().Size(), 150);
  }
  const auto* first = static_cast<const AVPacket*>(encoder.Video().Peek());
  ASSERT_NE(first, nullptr);
  EXPECT_NE(first->flags & AV_PKT_FLAG_KEY, 0);
  encoder.Audio().PushBack(support::NewPacket(20000, true));
  EXPECT_TRUE(encoder.HasFirstPackets());
}

// There is no connection yet that could lose anything, and the label tells what waits, not what
// went.
TEST_F(CEncoderPublishThread, PicturesThatWaitForSoundCountAsNoLossAndAsTheDelayThatTheyAre) {
  ASSERT_TRUE(encoder.Open());
  bool skipped = false;
  for (int i = 0; i < 160; ++i) {
    encoder.EnqueueVideo(0, support::NewCanvas(i));
    encoder.TurnUntilIdle();
    const int before = encoder.Video().Size();
    EXPECT_FALSE(encoder.HasFirstPackets());
    skipped = skipped || encoder.Video().Size() < before;
  }
  EXPECT_TRUE(skipped);
  EXPECT_EQ(0U, encoder.Statistics().videoPacketsDropped);
  EXPECT_EQ(40 * (encoder.Video().Size() - 1), encoder.Statistics().queuedMs);
}

TEST_F(CEncoderPublishThread, AfterARefusedHeaderItEndsAndTheQueuesGrowUntilStop) {
  const LibraryFailures failures({"avformat_write_header"});
  encoder.AllowFiles();
  encoder.SetUrl(directory.File("stream.flv"));
  ASSERT_EQ(0, encoder.Start());
  FeedPictures(5);
  encoder.EnqueueAudio(0, support::NewSine(0, 48000));
  ASSERT_TRUE(support::WaitFor(
      [&] {
        clock.TakeDelays();
        return encoder.Statistics().status.state == PublishState::kEnded;
      },
      60000));
  // It says so before it takes what waits along with it.
  ASSERT_TRUE(support::WaitFor([] { return !support::HasThread("publish"); }, 60000));
  AwaitEncoded(5);
  const int before = encoder.Video().Size();
  FeedPictures(10);
  encoder.EnqueueAudio(0, support::NewSine(48000, 48000));
  AwaitEncoded(15);
  clock.Advance(30000);
  EXPECT_EQ(before + 10, encoder.Video().Size());
  EXPECT_TRUE(support::WaitFor(
      [&] {
        clock.TakeDelays();
        return encoder.Audio().Size() > 40;
      },
      60000));
  EXPECT_EQ(1, encoder.Statistics().status.tries) << "no retry";
  encoder.Stop();
  EXPECT_EQ(0, encoder.Video().Size());
  EXPECT_EQ(0, encoder.Audio().Size());
}

}  // namespace
