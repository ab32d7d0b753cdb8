#include "sources/CInputFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "media/ffmpeg/Scoped.h"
#include "support/FakeClock.h"
#include "support/LogRecord.h"
#include "support/MediaSamples.h"
#include "support/RecordingNode.h"

using ffmpeg::ScopedFrame;
using support::ClipOptions;
using support::MediaSamples;

namespace {

class File : public CInputFile {
 public:
  using CInputFile::CInputFile;
  using CInputFile::DecodedPictures;
  using CInputFile::DecodedSound;
  using CInputFile::Open;
  using CInputFile::PaceTurn;
  using CInputFile::ReadTurn;
};

struct ShownPicture {
  int counter = -1;
  std::int64_t pts = 0;
  std::uint32_t leftAt = 0;
  int width = 0;
  int height = 0;
};

// A file played a turn at a time on the test's clock, and all that it sent.
class Player {
 public:
  explicit Player(const std::string& path, std::uint64_t startMs = 1000)
      : m_clock(startMs), m_node(path) {
    m_node.AddAudioOutput(&m_consumer);
    m_node.AddVideoOutput(&m_consumer);
    m_opened = m_node.Open();
  }

  // Turns of both threads until the clock has moved by so much.
  void Run(std::uint32_t ms) {
    const std::uint32_t begin = m_clock.Now();
    while (m_clock.Now() - begin < ms) {
      ReadAhead();
      m_node.PaceTurn(&m_pace);
      Take();
      mostPictures = std::max(mostPictures, m_node.DecodedPictures()->Size());
      mostSound = std::max(mostSound, m_node.DecodedSound()->Size());
    }
  }
  // Reading turns until the read thread would sleep.
  void ReadAhead() {
    for (int i = 0; i < 5000; ++i) {
      const std::uint32_t before = m_clock.Now();
      m_node.ReadTurn();
      if (m_clock.Now() != before) {
        break;
      }
    }
  }

  int Opened() const { return m_opened; }
  File& Node() { return m_node; }
  support::FakeClock& Clock() { return m_clock; }
  sources::FilePace& Pace() { return m_pace; }
  std::int64_t Samples() const { return static_cast<std::int64_t>(sound.size() / 2); }

  std::vector<ShownPicture> pictures;
  std::vector<std::int16_t> sound;
  std::vector<std::int64_t> soundPts;
  std::vector<int> soundSamples;
  int mostPictures = 0;
  int mostSound = 0;

 private:
  void Take() {
    while (AVFrame* taken = m_consumer.TakeAudio()) {
      ScopedFrame frame(taken);
      EXPECT_EQ(frame->format, AV_SAMPLE_FMT_S16);
      EXPECT_EQ(frame->sample_rate, 48000);
      EXPECT_EQ(frame->ch_layout.nb_channels, 2);
      EXPECT_EQ(frame->linesize[0], frame->nb_samples * 4);
      const auto* samples = reinterpret_cast<const std::int16_t*>(frame->data[0]);
      sound.insert(sound.end(), samples, samples + frame->nb_samples * 2);
      soundPts.push_back(frame->pts);
      soundSamples.push_back(frame->nb_samples);
    }
    while (AVFrame* taken = m_consumer.TakeVideo()) {
      ScopedFrame frame(taken);
      EXPECT_EQ(frame->format, AV_PIX_FMT_RGB24);
      EXPECT_EQ(frame->linesize[0], frame->width * 3);
      pictures.push_back(
          {support::ReadCameraCounter(frame->data[0], static_cast<std::size_t>(frame->linesize[0]),
                                      frame->width, frame->height),
           frame->pts, m_clock.Now(), frame->width, frame->height});
    }
  }

  support::FakeClock m_clock;
  support::RecordingNode m_consumer;
  File m_node;
  sources::FilePace m_pace;
  int m_opened = -1;
};

void ExpectCountersRise(const std::vector<ShownPicture>& pictures) {
  for (std::size_t i = 1; i < pictures.size(); ++i) {
    EXPECT_GT(pictures[i].counter, pictures[i - 1].counter) << i;
  }
}

struct Format {
  const char* name;
  const char* video;
  const char* audio;
  int rate;
  int channels;
};

std::ostream& operator<<(std::ostream& out, const Format& format) {
  return out << format.name;
}

class CInputFileFormats : public ::testing::TestWithParam<Format> {};

class CInputFileTest : public ::testing::Test {
 protected:
  MediaSamples m_samples;
};

}  // namespace

TEST_P(CInputFileFormats, PlaysItsPicturesInOrderAndItsSound) {
  const Format& format = GetParam();
  MediaSamples samples;
  ClipOptions options;
  options.videoCodec = format.video;
  options.audioCodec = format.audio;
  options.sampleRate = format.rate;
  options.channels = format.channels;
  const std::string path = samples.Clip(format.name, options);
  ASSERT_FALSE(path.empty()) << samples.Error();
  Player player(path);
  ASSERT_EQ(player.Opened(), 0);
  player.Run(4000);

  // The last pictures may be later than the last sound.
  EXPECT_GE(player.pictures.size(), 46U);
  EXPECT_LE(player.pictures.size(), 50U);
  ASSERT_FALSE(player.pictures.empty());
  EXPECT_EQ(player.pictures.front().counter, 0);
  ExpectCountersRise(player.pictures);
  EXPECT_NEAR(static_cast<double>(player.Samples()), 96000, 4000);
  const std::vector<std::int16_t> middle(player.sound.begin() + 48000,
                                         player.sound.begin() + 48000 + 48000);
  EXPECT_GT(support::ToneStrength(middle, 0, 1000), 0.1);
  EXPECT_GT(support::ToneStrength(middle, 1, 1000), 0.1);
  EXPECT_LT(support::ToneStrength(middle, 0, 1300), 0.02);
}

INSTANTIATE_TEST_SUITE_P(CInputFile, CInputFileFormats,
                         ::testing::Values(Format{"a.mp4", "libx264", "aac", 48000, 2},
                                           Format{"mono.mkv", "libx264", "aac", 44100, 1},
                                           Format{"surround.mp4", "libx264", "aac", 48000, 6},
                                           Format{"a.flv", "libx264", "aac", 44100, 2},
                                           Format{"a.ts", "mpeg2video", "mp2", 48000, 2},
                                           Format{"a.avi", "mpeg4", "mp2", 44100, 2},
                                           Format{"a.mov", "mjpeg", "pcm_s16le", 48000, 2},
                                           Format{"slow.mkv", "mpeg4", "flac", 8000, 1}));

TEST_F(CInputFileTest, ASoundFrameLongerThanTheBufferIsPlayedWhole) {
  ClipOptions options;
  options.audioCodec = "flac";
  options.sampleRate = 8000;
  options.channels = 1;
  options.further = {"-frame_size", "8000"};  // 48000 samples when resampled
  Player player(m_samples.Clip("long-frames.mkv", options));
  ASSERT_EQ(player.Opened(), 0) << m_samples.Error();
  player.Run(4000);
  EXPECT_NEAR(static_cast<double>(player.Samples()), 96000, 400);
  ASSERT_FALSE(player.soundSamples.empty());
  EXPECT_EQ(*std::max_element(player.soundSamples.begin(), player.soundSamples.end()), 10240);
}

TEST_F(CInputFileTest, PicturesLeaveWithTheSoundInRealTime) {
  Player player(m_samples.Clip("a.mp4"));
  ASSERT_EQ(player.Opened(), 0);
  const std::uint32_t start = player.Clock().Now();
  player.Run(3000);
  ASSERT_GT(player.pictures.size(), 40U);
  for (const ShownPicture& picture : player.pictures) {
    const double due = start + picture.counter * 40.0;
    EXPECT_NEAR(static_cast<double>(picture.pts), due, 45) << picture.counter;
    EXPECT_GE(picture.leftAt + 1.0, due) << "a picture leaves no earlier than it is due";
    EXPECT_LE(picture.leftAt, due + 120) << picture.counter;
  }
}

TEST_F(CInputFileTest, SoundStampsFollowTheCountOfReleasedSamples) {
  ClipOptions options;
  options.sampleRate = 44100;
  Player player(m_samples.Clip("a.mp4", options));
  ASSERT_EQ(player.Opened(), 0);
  const std::uint32_t start = player.Clock().Now();
  player.Run(3000);
  std::int64_t released = 0;
  ASSERT_GT(player.soundPts.size(), 50U);
  const std::int64_t first = player.soundPts[0] - player.soundSamples[0] * 1000 / 48000;
  EXPECT_LE(std::abs(first - start), 20);
  for (std::size_t i = 0; i < player.soundPts.size(); ++i) {
    released += player.soundSamples[i];
    EXPECT_EQ(player.soundPts[i], first + released * 1000 / 48000) << i;
  }
}

// The stamps of the silence generator, which the mixer compares them with, go on there too.
TEST_F(CInputFileTest, AFileStartedBehindTheWrapOfThe32BitClockIsStampedOn) {
  constexpr std::int64_t kStart = (INT64_C(1) << 32) + 700;
  Player player(m_samples.Clip("a.mp4"), kStart);
  ASSERT_EQ(player.Opened(), 0);
  player.Run(500);
  ASSERT_FALSE(player.soundPts.empty());
  ASSERT_FALSE(player.pictures.empty());
  EXPECT_NEAR(static_cast<double>(player.soundPts[0] - kStart), 20, 30);
  EXPECT_NEAR(static_cast<double>(player.pictures[0].pts - kStart), 0, 45);
}

TEST_F(CInputFileTest, EachSoundFrameNotesHowFarTheCountIsFromTheFilesStamps) {
  support::LogRecord log;
  ClipOptions options;
  options.further = {"-output_ts_offset", "30"};
  Player player(m_samples.Clip("a.mkv", options));
  ASSERT_EQ(player.Opened(), 0);
  player.Run(500);
  const std::vector<std::string> notes = log.Debug();
  ASSERT_FALSE(notes.empty());
  ASSERT_EQ(notes.size(), player.soundPts.size());
  // The end of the first frame against its own beginning: the length of it.
  EXPECT_EQ(notes[0], "t1-t2 = " + std::to_string(player.soundSamples[0] * 1000 / 48000));
}

TEST_F(CInputFileTest, AFileWhoseStampsBeginLateStartsAtOnce) {
  ClipOptions options;
  options.further = {"-output_ts_offset", "30"};
  Player player(m_samples.Clip("a.mkv", options));
  ASSERT_EQ(player.Opened(), 0);
  player.Run(200);
  EXPECT_FALSE(player.soundPts.empty());
}

TEST_F(CInputFileTest, WithSoundThatStartsLateTheEarlierPicturesComeWithIt) {
  ClipOptions options;
  options.soundDelay = 1;
  options.soundSeconds = 1;
  Player player(m_samples.Clip("late.mkv", options));
  ASSERT_EQ(player.Opened(), 0);
  player.Run(300);
  ASSERT_GE(player.pictures.size(), 24U);
  EXPECT_EQ(player.pictures.front().counter, 0);
  ExpectCountersRise(player.pictures);
  player.Run(2000);
  EXPECT_GE(player.pictures.size(), 46U);
}

TEST_F(CInputFileTest, PicturesAfterTheLastSoundAreNeverShown) {
  ClipOptions options;
  options.soundSeconds = 1;
  Player player(m_samples.Clip("a.mp4", options));
  ASSERT_EQ(player.Opened(), 0);
  player.Run(6000);
  ASSERT_FALSE(player.pictures.empty());
  EXPECT_NEAR(player.pictures.back().counter, 25, 3);
  EXPECT_GT(player.Node().DecodedPictures()->Size(), 20);
}

TEST_F(CInputFileTest, AFilePlaysOnceAndThenPollsEvery10Milliseconds) {
  Player player(m_samples.Clip("a.mp4"));
  ASSERT_EQ(player.Opened(), 0);
  EXPECT_FALSE(player.Node().SoundHasEnded());
  player.Run(500);
  EXPECT_FALSE(player.Node().SoundHasEnded()) << "all is read, and not yet let go";
  player.Run(4500);
  const std::size_t shown = player.pictures.size();
  EXPECT_TRUE(player.Node().SoundHasEnded());
  player.Run(5000);
  EXPECT_EQ(player.pictures.size(), shown);
  player.Clock().TakeDelays();
  player.Node().ReadTurn();
  player.Node().ReadTurn();
  EXPECT_EQ(player.Clock().TakeDelays(), (std::vector<std::uint32_t>{10, 10}));
  player.Node().PaceTurn(&player.Pace());
  EXPECT_EQ(player.Clock().TakeDelays(), std::vector<std::uint32_t>{5});
}

TEST_F(CInputFileTest, AFileThatGrowsIsPlayedOn) {
  ClipOptions options;
  options.videoCodec = "mpeg2video";
  options.audioCodec = "mp2";
  options.frames = 100;
  options.soundSeconds = 4;
  const std::string whole = m_samples.Clip("whole.ts", options);
  const std::string content = support::ReadFile(whole);
  const std::string path = m_samples.Truncated(whole, "growing.ts", 0.5);
  Player player(path);
  ASSERT_EQ(player.Opened(), 0);
  player.Run(4000);
  const int last = player.pictures.back().counter;
  EXPECT_LT(last, 60);
  EXPECT_TRUE(player.Node().SoundHasEnded());
  std::ofstream(path, std::ios::binary | std::ios::app) << content.substr(content.size() / 2);
  player.Run(500);
  EXPECT_FALSE(player.Node().SoundHasEnded());
  player.Run(3500);
  EXPECT_GT(player.pictures.back().counter, 90);
}

TEST_F(CInputFileTest, VariableFrameRateKeepsItsTimes) {
  ClipOptions options;
  options.further = {"-vf", "select='lt(n,10)+not(mod(n,5))'", "-vsync", "vfr"};
  Player player(m_samples.Clip("vfr.mkv", options));
  ASSERT_EQ(player.Opened(), 0);
  const std::uint32_t start = player.Clock().Now();
  player.Run(3000);
  ASSERT_GE(player.pictures.size(), 16U);
  for (const ShownPicture& picture : player.pictures) {
    EXPECT_NEAR(static_cast<double>(picture.pts), start + picture.counter * 40.0, 45);
  }
}

TEST_F(CInputFileTest, ARotatedFileIsShownAsItIsStored) {
  ClipOptions options;
  options.further = {"-metadata:s:v", "rotate=90"};
  Player player(m_samples.Clip("rotated.mp4", options));
  ASSERT_EQ(player.Opened(), 0);
  player.Run(500);
  ASSERT_FALSE(player.pictures.empty());
  EXPECT_EQ(player.pictures[0].width, 160);
  EXPECT_EQ(player.pictures[0].height, 120);
  EXPECT_EQ(player.pictures[0].counter, 0);
}

TEST_F(CInputFileTest, AFileThatIsBrokenInTheMiddlePlaysOnBehindTheDamage) {
  for (const char* name : {"a.ts", "a.mkv", "a.flv", "a.mp4"}) {
    ClipOptions options;
    options.frames = 100;
    options.soundSeconds = 4;
    const std::string whole = m_samples.Clip(name, options);
    ASSERT_FALSE(whole.empty()) << m_samples.Error();
    Player player(m_samples.Damaged(whole, std::string("broken-") + name, 0.4, 0.5));
    ASSERT_EQ(player.Opened(), 0) << name;
    player.Run(8000);
    int last = 0;
    for (const ShownPicture& picture : player.pictures) {
      last = std::max(last, picture.counter);
    }
    // A flv holds its sizes in a chain: behind a broken link there may be nothing.
    EXPECT_GT(last, name == std::string("a.flv") ? 20 : 85) << name;
    EXPECT_GE(player.pictures.size(), 30U) << name;
  }
}

TEST_F(CInputFileTest, ATruncatedFilePlaysAsFarAsItGoes) {
  const std::string whole = m_samples.Clip("a.mkv");
  Player player(m_samples.Truncated(whole, "cut.mkv", 0.6));
  ASSERT_EQ(player.Opened(), 0);
  player.Run(4000);
  EXPECT_GT(player.pictures.size(), 15U);
  EXPECT_LT(player.pictures.size(), 45U);
}

TEST_F(CInputFileTest, APictureThatChangesSizeKeepsTheFirstSize) {
  ClipOptions options;
  options.videoCodec = "mpeg2video";
  options.audioCodec = "mp2";
  options.frames = 25;
  options.soundSeconds = 1;
  const std::string first = support::ReadFile(m_samples.Clip("first.ts", options));
  options.width = 320;
  options.height = 240;
  options.further = {"-output_ts_offset", "1"};
  const std::string second = support::ReadFile(m_samples.Clip("second.ts", options));
  Player player(m_samples.Write("joined.ts", first + second));
  ASSERT_EQ(player.Opened(), 0);
  player.Run(4000);
  ASSERT_GT(player.pictures.size(), 40U);
  int readable = 0;
  for (const ShownPicture& picture : player.pictures) {
    EXPECT_EQ(picture.width, 160);
    EXPECT_EQ(picture.height, 120);
    readable += picture.counter >= 0 ? 1 : 0;
  }
  EXPECT_GT(readable, 38);
}

TEST_F(CInputFileTest, ColoursSurviveTheRoad) {
  const std::string path = m_samples.Make(
      "plain.mp4", {"-f", "lavfi", "-i", "color=c=0x2060A0:s=160x120:r=25:d=1", "-f", "lavfi", "-i",
                    "sine=d=1", "-c:v", "libx264", "-crf", "5", "-c:a", "aac"});
  File node(path);
  ASSERT_EQ(node.Open(), 0);
  for (int i = 0; i < 200 && node.DecodedPictures()->Size() == 0; ++i) {
    node.ReadTurn();
  }
  ScopedFrame frame(static_cast<AVFrame*>(node.DecodedPictures()->Pop()));
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->key_frame, 1);
  const std::uint8_t* pixel = frame->data[0] + 60 * frame->linesize[0] + 80 * 3;
  EXPECT_NEAR(pixel[0], 0x20, 6);
  EXPECT_NEAR(pixel[1], 0x60, 6);
  EXPECT_NEAR(pixel[2], 0xa0, 6);
}

TEST_F(CInputFileTest, SoundThatEndsEarlyDoesNotFillTheMemoryWithPictures) {
  ClipOptions options;
  options.width = 64;
  options.height = 48;
  options.frames = 600;
  options.soundSeconds = 1;
  Player player(m_samples.Clip("a.mkv", options));
  ASSERT_EQ(player.Opened(), 0);
  player.Run(4000);
  // A decoder with several threads may give a few at once.
  EXPECT_GE(player.mostPictures, 250);
  EXPECT_LE(player.mostPictures, 250 + 8);
}

TEST_F(CInputFileTest, PicturesThatEndEarlyCostNoSound) {
  ClipOptions options;
  options.frames = 10;
  options.soundSeconds = 20;
  options.further = {"-max_interleave_delta", "0"};
  Player player(m_samples.Clip("a.mkv", options));
  ASSERT_EQ(player.Opened(), 0);
  player.Run(26000);
  EXPECT_LE(player.mostSound, 250 + 2);
  EXPECT_NEAR(static_cast<double>(player.Samples()), 20 * 48000, 4000);
  EXPECT_EQ(player.pictures.size(), 10U);
}

TEST_F(CInputFileTest, LargePicturesAreDecodedShortlyBeforeTheyAreShown) {
  ClipOptions options;
  options.width = 1280;
  options.height = 720;
  options.frames = 60;
  options.soundSeconds = 2.4;
  Player player(m_samples.Clip("large.mp4", options));
  ASSERT_EQ(player.Opened(), 0);
  player.Run(4000);
  // What 24 MiB hold, and what a decoder of so many threads, 16 at most, gives at once at the end.
  const int threads = std::min(static_cast<int>(std::thread::hardware_concurrency()), 16);
  EXPECT_LE(player.mostPictures, 10 + 4 + threads);
  EXPECT_GE(player.pictures.size(), 56U);
  ExpectCountersRise(player.pictures);
}

TEST_F(CInputFileTest, ASuspendedMachineDoesNotRushThroughTheFile) {
  Player player(m_samples.Clip("a.mp4"));
  ASSERT_EQ(player.Opened(), 0);
  player.Run(500);
  const std::size_t before = player.soundPts.size();
  player.Clock().Advance(60000);
  player.Run(200);
  EXPECT_LE(player.soundPts.size() - before, 12U) << "200 ms of sound";
  player.Run(3000);
  EXPECT_NEAR(static_cast<double>(player.Samples()), 96000, 4000);
}
