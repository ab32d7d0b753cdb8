#include "sources/CInputSilentFile.h"

#include <gtest/gtest.h>

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

class Film : public CInputSilentFile {
 public:
  using CInputSilentFile::CInputSilentFile;
  using CInputSilentFile::Open;
  using CInputSilentFile::Turn;
};

struct Shown {
  int counter;
  std::int64_t pts;
  std::int64_t leftAt;
};

ClipOptions Silent() {
  ClipOptions options;
  options.soundSeconds = 0;
  return options;
}

class CInputSilentFileTest : public testing::Test {
 protected:
  // Plays for so long; what was shown.
  std::vector<Shown> Play(Film* film, std::uint32_t ms) {
    film->AddVideoOutput(&m_consumer);
    film->AddAudioOutput(&m_consumer);
    std::vector<Shown> shown;
    const std::uint32_t begin = m_clock.Now();
    for (int turn = 0; turn < 20000 && m_clock.Now() - begin < ms; ++turn) {
      film->Turn(&m_pace);
      while (AVFrame* taken = m_consumer.TakeVideo()) {
        const ScopedFrame frame(taken);
        EXPECT_EQ(frame->format, AV_PIX_FMT_RGB24);
        EXPECT_EQ(frame->linesize[0], frame->width * 3);
        m_width = frame->width;
        shown.push_back({support::ReadCameraCounter(frame->data[0],
                                                    static_cast<std::size_t>(frame->linesize[0]),
                                                    frame->width, frame->height),
                         frame->pts, m_clock.Now()});
      }
      EXPECT_EQ(m_consumer.TakeAudio(), nullptr);
    }
    EXPECT_GE(m_clock.Now() - begin, ms) << "it neither sleeps nor ends";
    return shown;
  }

  MediaSamples m_samples;
  support::FakeClock m_clock{1000};
  support::RecordingNode m_consumer;
  sources::FilePace m_pace;
  int m_width = 0;
};

struct Kind {
  const char* name;
  const char* codec;
};
class CInputSilentFileFormats : public CInputSilentFileTest,
                                public testing::WithParamInterface<Kind> {};

}  // namespace

TEST_P(CInputSilentFileFormats, ShowsEveryPictureAtItsTime) {
  ClipOptions options = Silent();
  options.videoCodec = GetParam().codec;
  Film film(m_samples.Clip(GetParam().name, options));
  ASSERT_EQ(film.Open(), 0) << m_samples.Error();
  const std::vector<Shown> shown = Play(&film, 4000);
  ASSERT_EQ(shown.size(), 50U);
  for (int i = 0; i < 50; ++i) {
    const Shown& picture = shown[static_cast<std::size_t>(i)];
    EXPECT_EQ(picture.counter, i);
    EXPECT_NEAR(static_cast<double>(picture.pts), 1000 + i * 40, 1) << i;
    EXPECT_NEAR(static_cast<double>(picture.leftAt), 1000 + i * 40, 6) << i;
  }
  EXPECT_EQ(m_width, 160);
}

INSTANTIATE_TEST_SUITE_P(CInputSilentFile, CInputSilentFileFormats,
                         testing::Values(Kind{"a.mp4", "libx264"}, Kind{"a.mkv", "libx264"},
                                         Kind{"a.flv", "libx264"}, Kind{"a.ts", "mpeg2video"},
                                         Kind{"a.avi", "mpeg4"}, Kind{"a.mov", "mjpeg"}));

TEST_F(CInputSilentFileTest, PicturesWithoutAnEvenPaceKeepTheirOwn) {
  ClipOptions options = Silent();
  options.further = {"-vf", "select='lt(n,10)+not(mod(n,20))'", "-vsync", "vfr"};
  Film film(m_samples.Clip("vfr.mkv", options));
  ASSERT_EQ(film.Open(), 0) << m_samples.Error();
  const std::vector<Shown> shown = Play(&film, 3000);
  ASSERT_EQ(shown.size(), 12U);
  EXPECT_EQ(shown[10].counter, 20);
  EXPECT_NEAR(static_cast<double>(shown[10].leftAt), 1800, 6);
  EXPECT_NEAR(static_cast<double>(shown[11].leftAt), 2600, 6);
}

TEST_F(CInputSilentFileTest, StampsThatBeginLateStartAtOnce) {
  ClipOptions options = Silent();
  options.further = {"-output_ts_offset", "30"};
  Film film(m_samples.Clip("late.mkv", options));
  ASSERT_EQ(film.Open(), 0) << m_samples.Error();
  EXPECT_GE(Play(&film, 200).size(), 4U);
}

TEST_F(CInputSilentFileTest, AFinishedFilmSleepsAndSendsNothingMore) {
  Film film(m_samples.Clip("a.mp4", Silent()));
  ASSERT_EQ(film.Open(), 0);
  EXPECT_EQ(Play(&film, 4000).size(), 50U);
  m_clock.TakeDelays();
  EXPECT_TRUE(Play(&film, 100).empty());
  EXPECT_EQ(m_clock.TakeDelays(), std::vector<std::uint32_t>(10, 10));
}

TEST_F(CInputSilentFileTest, AMachineThatSleptGoesOnWhereItStood) {
  Film film(m_samples.Clip("a.mp4", Silent()));
  ASSERT_EQ(film.Open(), 0);
  const std::size_t before = Play(&film, 500).size();
  m_clock.Advance(60000);
  const std::vector<Shown> after = Play(&film, 400);
  EXPECT_NEAR(static_cast<double>(after.size()), 10, 2);
  EXPECT_EQ(after.front().counter, static_cast<int>(before));
}

TEST_F(CInputSilentFileTest, WhatCanNotBePlayedSaysWhy) {
  ClipOptions sound;
  sound.frames = 0;
  const struct {
    std::string path;
    const char* cause;
  } files[] = {{m_samples.Path("missing.mp4"), "No such file"},
               {m_samples.Write("noise.mp4", "no film"), "Invalid data"},
               {m_samples.Clip("sound.mkv", sound), "it has no picture"},
               {m_samples.Directory(), "not a regular file"}};
  for (const auto& file : files) {
    support::LogRecord log;
    CInputSilentFile film(file.path);
    EXPECT_EQ(film.Start(), -1) << file.path;
    EXPECT_NE(film.Failure().find(file.cause), std::string::npos) << film.Failure();
    EXPECT_EQ(film.Stop(), 0);
  }
}

TEST_F(CInputSilentFileTest, ADamagedFilmIsShownAsFarAsItGoes) {
  ClipOptions options = Silent();
  options.videoCodec = "mpeg2video";
  const std::string whole = m_samples.Clip("whole.ts", options);
  support::LogRecord log;
  Film film(m_samples.Damaged(whole, "damaged.ts", 0.4, 0.5));
  ASSERT_EQ(film.Open(), 0);
  const std::vector<Shown> shown = Play(&film, 5000);
  EXPECT_GT(shown.size(), 20U);
}

TEST_F(CInputSilentFileTest, StopEndsTheThreadAndClosesTheFile) {
  CInputSilentFile film(m_samples.Clip("a.mp4", Silent()));
  ASSERT_EQ(film.Start(), 0);
  EXPECT_EQ(film.Start(), 0);
  EXPECT_EQ(film.Stop(), 0);
  EXPECT_EQ(film.Stop(), 0);
  EXPECT_EQ(film.Failure(), "");
}
