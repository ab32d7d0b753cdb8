#include "media/ffmpeg/ColourSpace.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

extern "C" {
#include <libswscale/swscale.h>
}

#include "media/ffmpeg/Scoped.h"

namespace {

struct Picture {
  explicit Picture(AVPixelFormat format, AVColorRange range = AVCOL_RANGE_UNSPECIFIED)
      : frame(av_frame_alloc()) {
    frame->format = format;
    frame->color_range = range;
  }
  const ffmpeg::ScopedFrame frame;
};

TEST(ColourSpace, TheRangeIsThatOfTheFormatOrOfTheFrame) {
  const struct {
    AVPixelFormat format;
    AVColorRange range;
    bool full;
  } cases[] = {
      {AV_PIX_FMT_RGB24, AVCOL_RANGE_UNSPECIFIED, true},
      {AV_PIX_FMT_RGB24, AVCOL_RANGE_MPEG, true},
      {AV_PIX_FMT_PAL8, AVCOL_RANGE_UNSPECIFIED, true},
      {AV_PIX_FMT_YUV420P, AVCOL_RANGE_UNSPECIFIED, false},
      {AV_PIX_FMT_YUV420P, AVCOL_RANGE_MPEG, false},
      {AV_PIX_FMT_YUV420P, AVCOL_RANGE_JPEG, true},
      {AV_PIX_FMT_YUVJ411P, AVCOL_RANGE_UNSPECIFIED, true},
      {AV_PIX_FMT_YUVJ420P, AVCOL_RANGE_UNSPECIFIED, true},
      {AV_PIX_FMT_YUVJ422P, AVCOL_RANGE_UNSPECIFIED, true},
      {AV_PIX_FMT_YUVJ440P, AVCOL_RANGE_UNSPECIFIED, true},
      {AV_PIX_FMT_YUVJ444P, AVCOL_RANGE_UNSPECIFIED, true},
      {AV_PIX_FMT_GRAY8, AVCOL_RANGE_UNSPECIFIED, true},
      {AV_PIX_FMT_GRAY8, AVCOL_RANGE_JPEG, true},
      {AV_PIX_FMT_GRAY8, AVCOL_RANGE_MPEG, false},
      {AV_PIX_FMT_NONE, AVCOL_RANGE_UNSPECIFIED, true},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.full, ffmpeg::IsFullRange(Picture(c.format, c.range).frame.Get()))
        << c.format << " " << c.range;
  }
}

TEST(ColourSpace, TheNameWithoutItsRangeIsThatOfTheSameSamples) {
  EXPECT_EQ(AV_PIX_FMT_YUV411P, ffmpeg::WithoutRange(AV_PIX_FMT_YUVJ411P));
  EXPECT_EQ(AV_PIX_FMT_YUV420P, ffmpeg::WithoutRange(AV_PIX_FMT_YUVJ420P));
  EXPECT_EQ(AV_PIX_FMT_YUV422P, ffmpeg::WithoutRange(AV_PIX_FMT_YUVJ422P));
  EXPECT_EQ(AV_PIX_FMT_YUV440P, ffmpeg::WithoutRange(AV_PIX_FMT_YUVJ440P));
  EXPECT_EQ(AV_PIX_FMT_YUV444P, ffmpeg::WithoutRange(AV_PIX_FMT_YUVJ444P));
  EXPECT_EQ(AV_PIX_FMT_NV12, ffmpeg::WithoutRange(AV_PIX_FMT_NV12));
}

TEST(ColourSpace, TheMatrixIsTheOneThatTheFrameNamesAndElseBt601) {
  const struct {
    AVColorSpace named;
    int space;
    double red;
    double blue;
  } cases[] = {
      {AVCOL_SPC_BT709, SWS_CS_ITU709, 0.2126, 0.0722},
      {AVCOL_SPC_BT2020_NCL, SWS_CS_BT2020, 0.2627, 0.0593},
      {AVCOL_SPC_BT2020_CL, SWS_CS_BT2020, 0.2627, 0.0593},
      {AVCOL_SPC_SMPTE240M, SWS_CS_SMPTE240M, 0.212, 0.087},
      {AVCOL_SPC_FCC, SWS_CS_FCC, 0.30, 0.11},
      {AVCOL_SPC_SMPTE170M, SWS_CS_ITU601, 0.299, 0.114},
      {AVCOL_SPC_BT470BG, SWS_CS_ITU601, 0.299, 0.114},
      {AVCOL_SPC_UNSPECIFIED, SWS_CS_ITU601, 0.299, 0.114},
  };
  for (const auto& c : cases) {
    const Picture picture(AV_PIX_FMT_YUV420P);
    picture.frame->colorspace = c.named;
    EXPECT_EQ(c.space, ffmpeg::SwsSpace(picture.frame.Get())) << c.named;
    EXPECT_EQ(c.red, ffmpeg::WeightsOf(c.space).red) << c.named;
    EXPECT_EQ(c.blue, ffmpeg::WeightsOf(c.space).blue) << c.named;
  }
}

TEST(ColourSpace, EachMatrixAndRangeHasATableOfItsOwn) {
  const Picture picture(AV_PIX_FMT_YUV420P);
  AVFrame* frame = picture.frame.Get();
  std::vector<const libyuv::YuvConstants*> tables;
  for (const AVColorSpace space : {AVCOL_SPC_SMPTE170M, AVCOL_SPC_BT709, AVCOL_SPC_BT2020_NCL}) {
    for (const AVColorRange range : {AVCOL_RANGE_MPEG, AVCOL_RANGE_JPEG}) {
      frame->colorspace = space;
      frame->color_range = range;
      tables.push_back(ffmpeg::RawMatrix(frame));
      EXPECT_EQ(tables.back(), ffmpeg::RawMatrix(frame));
      EXPECT_EQ(1, std::count(tables.begin(), tables.end(), tables.back()))
          << space << " " << range;
    }
  }
}

}  // namespace
