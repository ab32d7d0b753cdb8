#include "media/ffmpeg/ErrorText.h"

#include <gtest/gtest.h>

#include <climits>

extern "C" {
#include <libavutil/error.h>
}

namespace {

TEST(ErrorText, IsTheLibrarysOwn) {
  EXPECT_EQ("No such file or directory", ffmpeg::ErrorText(AVERROR(ENOENT)));
  EXPECT_EQ("End of file", ffmpeg::ErrorText(AVERROR_EOF));
  EXPECT_EQ("Invalid data found when processing input", ffmpeg::ErrorText(AVERROR_INVALIDDATA));
}

TEST(ErrorText, IsNeverEmpty) {
  for (const int error : {0, 1, -1, INT_MIN, INT_MAX, -123456789, AVERROR_EXIT, AVERROR_UNKNOWN}) {
    EXPECT_NE("", ffmpeg::ErrorText(error)) << error;
  }
}

}  // namespace
