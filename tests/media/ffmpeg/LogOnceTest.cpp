#include "media/ffmpeg/LogOnce.h"

#include <gtest/gtest.h>

#include <cerrno>

extern "C" {
#include <libavutil/error.h>
}

#include "support/LogRecord.h"

namespace {

TEST(LogOnce, TellsWhoseFaultItIsAndWhyOnce) {
  const support::LogRecord log;
  ffmpeg::LogOnce fault;
  EXPECT_EQ("", log.Errors());
  for (int i = 0; i < 3; ++i) {
    fault.Tell("film \"a.mp4\"", "can't be read on", AVERROR(EIO));
    fault.Tell("film \"b.mp4\"", "a picture can't be converted", AVERROR(ENOMEM));
  }
  EXPECT_EQ("film \"a.mp4\": can't be read on: Input/output error\n", log.Errors());
  EXPECT_EQ(1U, log.Media(AV_LOG_ERROR).size());
}

TEST(LogOnce, EachOfTwoFaultsIsTold) {
  const support::LogRecord log;
  ffmpeg::LogOnce picture;
  ffmpeg::LogOnce sound;
  for (int i = 0; i < 2; ++i) {
    picture.Tell("film", "its picture", AVERROR(EIO));
    sound.Tell("film", "its sound", AVERROR(EIO));
  }
  EXPECT_EQ("film: its picture: Input/output error\nfilm: its sound: Input/output error\n",
            log.Errors());
}

}  // namespace
