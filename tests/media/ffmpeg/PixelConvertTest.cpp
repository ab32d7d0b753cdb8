#include "media/ffmpeg/PixelConvert.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <tuple>
#include <vector>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

#include "media/ffmpeg/FramePool.h"
#include "media/ffmpeg/Scoped.h"

namespace {

using ffmpeg::PixelConvert;
using ffmpeg::ScopedFrame;
using Pixel = std::array<double, 3>;

AVFrame* NewFrame(int width, int height, AVPixelFormat format, int align = 1) {
  AVFrame* frame = av_frame_alloc();
  frame->width = width;
  frame->height = height;
  frame->format = format;
  EXPECT_GE(av_frame_get_buffer(frame, align), 0);
  return frame;
}

// Noise, with blocks of hard edges between full black, full white and pure colours in its upper
// part: what an interpolating road gets wrong.
void FillWithEdges(AVFrame* frame) {
  std::mt19937 random(7);
  const auto format = static_cast<AVPixelFormat>(frame->format);
  const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(format);
  std::vector<std::uint16_t> line(static_cast<std::size_t>(frame->width));
  const bool yuv = (description->flags & AV_PIX_FMT_FLAG_RGB) == 0;
  const bool full =
      frame->color_range == AVCOL_RANGE_JPEG || std::string(description->name).find("yuvj") == 0;
  for (const AVBufferRef* buffer : frame->buf) {
    if (buffer != nullptr) {
      std::fill_n(buffer->data, buffer->size, std::uint8_t{0});  // the writer below only sets bits
    }
  }
  for (int component = 0; component < description->nb_components; ++component) {
    const bool chroma = yuv && (component == 1 || component == 2);
    const int width =
        chroma ? AV_CEIL_RSHIFT(frame->width, description->log2_chroma_w) : frame->width;
    const int height =
        chroma ? AV_CEIL_RSHIFT(frame->height, description->log2_chroma_h) : frame->height;
    const int shift = description->comp[component].depth - 8;
    // Legal values only: beyond them the result is clipped, in which roads may differ.
    const int low = yuv && !full ? 16 : 0;
    const int high = yuv && !full ? (chroma ? 240 : 235) : 255;
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        int value = std::uniform_int_distribution<int>(low, high)(random);
        if (y < height / 2) {
          value = ((x / 3 + y / 2 + component) & 1) != 0 ? low : high;
        }
        line[static_cast<std::size_t>(x)] =
            static_cast<std::uint16_t>(shift >= 0 ? value << shift : value >> -shift);
      }
      av_write_image_line2(line.data(), frame->data, frame->linesize, description, 0, y, component,
                           width, 2);
    }
  }
}

double Component(const AVFrame* frame, const AVPixFmtDescriptor* description, int component, int x,
                 int y) {
  const std::uint8_t* data[4] = {frame->data[0], frame->data[1], frame->data[2], frame->data[3]};
  std::uint16_t value = 0;
  av_read_image_line2(&value, data, frame->linesize, description, x, y, component, 1, 0, 2);
  return value;
}

double Clip(double value) {
  return std::clamp(value, 0.0, 255.0);
}

struct Weights {
  double red;
  double blue;
};
constexpr Weights kBt601{0.299, 0.114};
constexpr Weights kBt709{0.2126, 0.0722};
constexpr Weights kBt2020{0.2627, 0.0593};

// One pixel of any frame as R, G, B of 0 to 255, by the definition of its colour space.
Pixel ExactRgb(const AVFrame* frame, int x, int y, const Weights& weights) {
  const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame->format));
  Pixel raw{};
  for (int c = 0; c < std::min<int>(3, d->nb_components); ++c) {
    const bool chroma = (d->flags & AV_PIX_FMT_FLAG_RGB) == 0 && c > 0;
    const double unit = std::ldexp(1.0, d->comp[c].depth - 8);
    const double value = Component(frame, d, c, chroma ? x >> d->log2_chroma_w : x,
                                   chroma ? y >> d->log2_chroma_h : y);
    const bool rgb = (d->flags & AV_PIX_FMT_FLAG_RGB) != 0 || d->nb_components < 3;
    raw[static_cast<std::size_t>(c)] =
        rgb ? value * 255.0 / (std::ldexp(1.0, d->comp[c].depth) - 1) : value / unit;
  }
  if (frame->format == AV_PIX_FMT_MONOWHITE) {
    return {255 - raw[0], 255 - raw[0], 255 - raw[0]};
  }
  if (d->nb_components < 3) {
    return {raw[0], raw[0], raw[0]};
  }
  if ((d->flags & AV_PIX_FMT_FLAG_RGB) != 0) {
    return raw;
  }
  const bool full =
      frame->color_range == AVCOL_RANGE_JPEG || std::string(d->name).find("yuvj") == 0;
  const double luma = full ? raw[0] : (raw[0] - 16) * 255 / 219;
  const double cb = (raw[1] - 128) * (full ? 1.0 : 255.0 / 224);
  const double cr = (raw[2] - 128) * (full ? 1.0 : 255.0 / 224);
  const double red = luma + 2 * (1 - weights.red) * cr;
  const double blue = luma + 2 * (1 - weights.blue) * cb;
  const double green =
      (luma - weights.red * red - weights.blue * blue) / (1 - weights.red - weights.blue);
  return {Clip(red), Clip(green), Clip(blue)};
}

double WorstRgbError(const AVFrame* source, const AVFrame* rgb, const Weights& weights) {
  double worst = 0;
  for (int y = 0; y < rgb->height; ++y) {
    for (int x = 0; x < rgb->width; ++x) {
      const Pixel exact = ExactRgb(source, x, y, weights);
      const std::uint8_t* got =
          rgb->data[0] + static_cast<std::ptrdiff_t>(y) * rgb->linesize[0] + 3 * x;
      for (std::size_t c = 0; c < 3; ++c) {
        worst = std::max(worst, std::abs(exact[c] - got[c]));
      }
    }
  }
  return worst;
}

double WorstYuvError(const AVFrame* rgb, const AVFrame* yuv, bool full) {
  const double lumaScale = full ? 1.0 : 219.0 / 255;
  const double chromaScale = full ? 1.0 : 224.0 / 255;
  double worst = 0;
  const auto luma = [](const Pixel& p) { return 0.299 * p[0] + 0.587 * p[1] + 0.114 * p[2]; };
  for (int y = 0; y < rgb->height; ++y) {
    for (int x = 0; x < rgb->width; ++x) {
      const double exact = (full ? 0 : 16) + lumaScale * luma(ExactRgb(rgb, x, y, kBt601));
      worst = std::max(worst, std::abs(exact - yuv->data[0][y * yuv->linesize[0] + x]));
    }
  }
  for (int y = 0; y < AV_CEIL_RSHIFT(rgb->height, 1); ++y) {
    for (int x = 0; x < AV_CEIL_RSHIFT(rgb->width, 1); ++x) {
      double cb = 0;
      double cr = 0;
      for (int i = 0; i < 4; ++i) {
        const Pixel p = ExactRgb(rgb, std::min(2 * x + (i & 1), rgb->width - 1),
                                 std::min(2 * y + (i >> 1), rgb->height - 1), kBt601);
        cb += (p[2] - luma(p)) / (2 * (1 - 0.114)) / 4;
        cr += (p[0] - luma(p)) / (2 * (1 - 0.299)) / 4;
      }
      worst = std::max(worst,
                       std::abs(128 + chromaScale * cb - yuv->data[1][y * yuv->linesize[1] + x]));
      worst = std::max(worst,
                       std::abs(128 + chromaScale * cr - yuv->data[2][y * yuv->linesize[2] + x]));
    }
  }
  return worst;
}

struct Size {
  int width;
  int height;
};
constexpr Size kSizes[] = {{1, 1}, {2, 2}, {1, 7}, {7, 1}, {3, 5}, {17, 9}, {64, 48}, {161, 35}};

// Every format that a capture device, a decoder or a picture file gives, at odd sizes too.
class ToRgb24 : public testing::TestWithParam<AVPixelFormat> {};

TEST_P(ToRgb24, IsWithinTwoOfTheExactResult) {
  for (const Size& size : kSizes) {
    ScopedFrame source(NewFrame(size.width, size.height, GetParam()));
    ScopedFrame target(NewFrame(size.width, size.height, AV_PIX_FMT_RGB24));
    FillWithEdges(source.Get());
    PixelConvert convert;
    ASSERT_EQ(0, convert.Convert(source.Get(), target.Get()));
    EXPECT_LE(WorstRgbError(source.Get(), target.Get(), kBt601), 2.0)
        << size.width << "x" << size.height;
  }
}

std::string FormatName(const testing::TestParamInfo<AVPixelFormat>& info) {
  return av_get_pix_fmt_name(info.param);
}

INSTANTIATE_TEST_SUITE_P(
    PixelConvert, ToRgb24,
    testing::Values(AV_PIX_FMT_RGB24, AV_PIX_FMT_BGR24, AV_PIX_FMT_BGR0, AV_PIX_FMT_BGRA,
                    AV_PIX_FMT_RGB0, AV_PIX_FMT_RGBA, AV_PIX_FMT_ARGB, AV_PIX_FMT_GBRP,
                    AV_PIX_FMT_GBRAP, AV_PIX_FMT_GBRP10LE, AV_PIX_FMT_RGB565LE, AV_PIX_FMT_RGB48BE,
                    AV_PIX_FMT_RGBA64BE, AV_PIX_FMT_GRAY8, AV_PIX_FMT_YA8, AV_PIX_FMT_GRAY16BE,
                    AV_PIX_FMT_MONOWHITE, AV_PIX_FMT_MONOBLACK, AV_PIX_FMT_YUV410P,
                    AV_PIX_FMT_YUV411P, AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUV422P,
                    AV_PIX_FMT_YUVJ422P, AV_PIX_FMT_YUV440P, AV_PIX_FMT_YUVJ440P,
                    AV_PIX_FMT_YUV444P, AV_PIX_FMT_YUVJ444P, AV_PIX_FMT_YUVA420P,
                    AV_PIX_FMT_YUVA444P, AV_PIX_FMT_NV12, AV_PIX_FMT_NV21, AV_PIX_FMT_YUYV422,
                    AV_PIX_FMT_UYVY422, AV_PIX_FMT_YVYU422, AV_PIX_FMT_YUV420P10LE,
                    AV_PIX_FMT_YUV422P10LE, AV_PIX_FMT_YUV444P10LE, AV_PIX_FMT_YUV420P12LE,
                    AV_PIX_FMT_P010LE),
    FormatName);

// Canvas to encoder: RGB to YUV 4:2:0, in both ranges.
class ToYuv420 : public testing::TestWithParam<std::tuple<AVPixelFormat, bool>> {};

TEST_P(ToYuv420, IsWithinTwoOfTheExactResult) {
  const auto [format, full] = GetParam();
  for (const Size& size : kSizes) {
    ScopedFrame source(NewFrame(size.width, size.height, format));
    ScopedFrame target(NewFrame(size.width, size.height, AV_PIX_FMT_YUV420P));
    target->color_range = full ? AVCOL_RANGE_JPEG : AVCOL_RANGE_UNSPECIFIED;
    FillWithEdges(source.Get());
    PixelConvert convert;
    ASSERT_EQ(0, convert.Convert(source.Get(), target.Get()));
    EXPECT_LE(WorstYuvError(source.Get(), target.Get(), full), 2.0)
        << size.width << "x" << size.height;
  }
}

INSTANTIATE_TEST_SUITE_P(PixelConvert, ToYuv420,
                         testing::Combine(testing::Values(AV_PIX_FMT_RGB24, AV_PIX_FMT_BGR0,
                                                          AV_PIX_FMT_BGRA),
                                          testing::Bool()));

TEST(PixelConvert, UsesTheMatrixAndRangeThatTheSourceNames) {
  const struct {
    AVColorSpace space;
    AVColorRange range;
    Weights weights;
    double tolerance;
  } cases[] = {
      {AVCOL_SPC_BT709, AVCOL_RANGE_MPEG, kBt709, 2.0},
      {AVCOL_SPC_BT709, AVCOL_RANGE_JPEG, kBt709, 2.0},
      {AVCOL_SPC_BT2020_NCL, AVCOL_RANGE_MPEG, kBt2020, 2.0},
      {AVCOL_SPC_BT2020_NCL, AVCOL_RANGE_JPEG, kBt2020, 3.0},
      {AVCOL_SPC_SMPTE170M, AVCOL_RANGE_MPEG, kBt601, 2.0},
      {AVCOL_SPC_SMPTE240M, AVCOL_RANGE_MPEG, {0.212, 0.087}, 3.0},
      {AVCOL_SPC_FCC, AVCOL_RANGE_MPEG, {0.30, 0.11}, 3.0},
      {AVCOL_SPC_UNSPECIFIED, AVCOL_RANGE_JPEG, kBt601, 2.0},
  };
  for (const AVPixelFormat format :
       {AV_PIX_FMT_YUV420P, AV_PIX_FMT_NV12, AV_PIX_FMT_YUYV422, AV_PIX_FMT_YUV420P10LE}) {
    for (const auto& c : cases) {
      ScopedFrame source(NewFrame(66, 34, format));
      ScopedFrame target(NewFrame(66, 34, AV_PIX_FMT_RGB24));
      source->colorspace = c.space;
      source->color_range = c.range;
      FillWithEdges(source.Get());
      PixelConvert convert;
      ASSERT_EQ(0, convert.Convert(source.Get(), target.Get()));
      EXPECT_LE(WorstRgbError(source.Get(), target.Get(), c.weights), c.tolerance)
          << av_get_pix_fmt_name(format) << " " << av_color_space_name(c.space) << " "
          << av_color_range_name(c.range);
    }
  }
}

TEST(PixelConvert, ReadsPaddedRowsAndPicturesStoredBottomUp) {
  for (const AVPixelFormat format : {AV_PIX_FMT_BGR0, AV_PIX_FMT_RGB24, AV_PIX_FMT_YUV420P,
                                     AV_PIX_FMT_YUYV422, AV_PIX_FMT_RGB565LE}) {
    ScopedFrame source(NewFrame(31, 18, format, 64));
    FillWithEdges(source.Get());
    ScopedFrame straight(NewFrame(31, 18, AV_PIX_FMT_RGB24));
    PixelConvert convert;
    ASSERT_EQ(0, convert.Convert(source.Get(), straight.Get()));
    EXPECT_LE(WorstRgbError(source.Get(), straight.Get(), kBt601), 2.0);

    ScopedFrame flipped(av_frame_clone(source.Get()));
    for (int plane = 0; plane < av_pix_fmt_count_planes(format); ++plane) {
      const int rows = format == AV_PIX_FMT_YUV420P && plane > 0 ? 9 : 18;
      flipped->data[plane] += static_cast<std::ptrdiff_t>(rows - 1) * flipped->linesize[plane];
      flipped->linesize[plane] = -flipped->linesize[plane];
    }
    ScopedFrame target(NewFrame(31, 18, AV_PIX_FMT_RGB24));
    ASSERT_EQ(0, convert.Convert(flipped.Get(), target.Get()));
    for (int y = 0; y < 18; ++y) {
      EXPECT_TRUE(std::equal(target->data[0] + y * 93, target->data[0] + y * 93 + 93,
                             straight->data[0] + (17 - y) * 93))
          << av_get_pix_fmt_name(format) << " row " << y;
    }
  }
}

void FillFlat(AVFrame* rgb, const std::array<std::uint8_t, 3>& colour) {
  for (int y = 0; y < rgb->height; ++y) {
    for (int x = 0; x < rgb->width; ++x) {
      std::copy(colour.begin(), colour.end(),
                rgb->data[0] + static_cast<std::ptrdiff_t>(y) * rgb->linesize[0] + 3 * x);
    }
  }
}

TEST(PixelConvert, KeepsFlatColoursWhileScaling) {
  const Size targets[] = {{1, 1}, {3, 5}, {33, 17}, {64, 36}, {640, 360}, {129, 200}};
  const std::array<std::uint8_t, 3> colours[] = {{255, 0, 0},     {0, 255, 0}, {0, 0, 255},
                                                 {255, 255, 255}, {0, 0, 0},   {18, 130, 201}};
  double worst = 0;
  for (const Size& size : targets) {
    for (const auto& colour : colours) {
      ScopedFrame source(NewFrame(127, 63, AV_PIX_FMT_RGB24));
      ScopedFrame target(NewFrame(size.width, size.height, AV_PIX_FMT_RGB24));
      FillFlat(source.Get(), colour);
      PixelConvert convert;
      ASSERT_EQ(0, convert.Convert(source.Get(), target.Get()));
      ScopedFrame wanted(NewFrame(size.width, size.height, AV_PIX_FMT_RGB24));
      FillFlat(wanted.Get(), colour);
      worst = std::max(worst, WorstRgbError(wanted.Get(), target.Get(), kBt601));
    }
  }
  EXPECT_LE(worst, 2.0);
}

// The value at a position between the pixels' centres, by definition.
double Bilinear(const AVFrame* rgb, double x, double y, std::size_t component) {
  const double column = std::clamp(x, 0.0, rgb->width - 1.0);
  const double row = std::clamp(y, 0.0, rgb->height - 1.0);
  const int left = static_cast<int>(column);
  const int top = static_cast<int>(row);
  double sum = 0;
  for (int i = 0; i < 4; ++i) {
    const int atX = std::min(left + (i & 1), rgb->width - 1);
    const int atY = std::min(top + (i >> 1), rgb->height - 1);
    const double across = (i & 1) != 0 ? column - left : 1 - (column - left);
    const double down = (i >> 1) != 0 ? row - top : 1 - (row - top);
    sum += across * down * ExactRgb(rgb, atX, atY, kBt601)[component];
  }
  return sum;
}

// Where output pixel i takes its value from, on an axis of that length.
double SourceOf(int i, int targetLength, int sourceLength) {
  return targetLength <= sourceLength
             ? (i + 0.5) * sourceLength / targetLength - 0.5
             : static_cast<double>(i) * (sourceLength - 1) / (targetLength - 1);
}

class ScaleRgb : public testing::TestWithParam<std::tuple<AVPixelFormat, Size>> {};

// Weights are cut to 1/128 across and 1/256 down, which is two values and one on an edge from black
// to white, and each of the two steps rounds.
TEST_P(ScaleRgb, IsBilinear) {
  const auto [format, size] = GetParam();
  ScopedFrame source(NewFrame(203, 119, format));
  FillWithEdges(source.Get());
  ScopedFrame target(NewFrame(size.width, size.height, AV_PIX_FMT_RGB24));
  PixelConvert convert;
  ASSERT_EQ(0, convert.Convert(source.Get(), target.Get()));
  double worst = 0;
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      for (std::size_t c = 0; c < 3; ++c) {
        const double exact = Bilinear(source.Get(), SourceOf(x, size.width, source->width),
                                      SourceOf(y, size.height, source->height), c);
        const std::uint8_t got =
            target->data[0][static_cast<std::ptrdiff_t>(y) * target->linesize[0] + 3 * x +
                            static_cast<std::ptrdiff_t>(c)];
        worst = std::max(worst, std::abs(exact - got));
      }
    }
  }
  EXPECT_LE(worst, 5.0);
}

INSTANTIATE_TEST_SUITE_P(
    PixelConvert, ScaleRgb,
    testing::Combine(testing::Values(AV_PIX_FMT_RGB24, AV_PIX_FMT_BGR0, AV_PIX_FMT_BGRA),
                     testing::Values(Size{101, 59}, Size{150, 90}, Size{40, 20}, Size{203, 60},
                                     Size{100, 119}, Size{1, 1}, Size{7, 200}, Size{301, 222},
                                     Size{640, 480})));

TEST(PixelConvert, ScalesAPictureThatIsStoredBottomUp) {
  ScopedFrame source(NewFrame(64, 48, AV_PIX_FMT_RGB24));
  FillWithEdges(source.Get());
  ScopedFrame wanted(NewFrame(40, 30, AV_PIX_FMT_RGB24));
  ScopedFrame got(NewFrame(40, 30, AV_PIX_FMT_RGB24));
  ScopedFrame flipped(NewFrame(64, 48, AV_PIX_FMT_RGB24));
  for (int y = 0; y < 48; ++y) {
    std::copy_n(source->data[0] + y * source->linesize[0], 64 * 3,
                flipped->data[0] + (47 - y) * flipped->linesize[0]);
  }
  flipped->data[0] += 47 * flipped->linesize[0];
  flipped->linesize[0] = -flipped->linesize[0];
  PixelConvert convert;
  ASSERT_EQ(0, convert.Convert(source.Get(), wanted.Get()));
  ASSERT_EQ(0, convert.Convert(flipped.Get(), got.Get()));
  EXPECT_TRUE(std::equal(wanted->data[0], wanted->data[0] + 40 * 30 * 3, got->data[0]));
}

// What a preview shows of a spreadsheet: its lines are one pixel wide.
TEST(PixelConvert, YuvThatBecomesSmallerLosesNoLine) {
  ScopedFrame source(NewFrame(1920, 1080, AV_PIX_FMT_YUV420P));
  std::fill_n(source->data[0], 1920 * 1080, std::uint8_t{16});
  std::fill_n(source->data[1], 960 * 540, std::uint8_t{90});
  std::fill_n(source->data[2], 960 * 540, std::uint8_t{200});
  for (int x = 0; x < 1920; x += 60) {
    for (int y = 0; y < 1080; ++y) {
      source->data[0][y * 1920 + x + x / 60 % 5] = 216;
    }
  }
  for (const Size& size : {Size{960, 540}, Size{640, 360}, Size{768, 432}, Size{833, 469}}) {
    ScopedFrame target(NewFrame(size.width, size.height, AV_PIX_FMT_YUV420P));
    PixelConvert convert;
    ASSERT_EQ(0, convert.Convert(source.Get(), target.Get()));
    const double lit = 200.0 * size.width / 1920;  // in all of the pixels that share a line
    for (int x = 0; x < 1920; x += 60) {
      const int middle = (x + x / 60 % 5) * size.width / 1920;
      double sum = 0;
      for (int near = std::max(0, middle - 3); near < std::min(size.width, middle + 4); ++near) {
        sum += target->data[0][near + (size.height / 2) * target->linesize[0]] - 16;
      }
      EXPECT_NEAR(lit, sum, lit / 2) << size.width << " line at " << x;
    }
    EXPECT_NEAR(90, target->data[1][size.width / 4], 1);
    EXPECT_NEAR(200, target->data[2][size.width / 4], 1);
  }
}

// The first context would read past the end of the smaller picture.
TEST(PixelConvert, FollowsASourceThatChangesItsSizeOrFormat) {
  PixelConvert convert;
  ScopedFrame target(NewFrame(40, 30, AV_PIX_FMT_RGB24));
  const struct {
    Size size;
    AVPixelFormat format;
  } sources[] = {{{320, 240}, AV_PIX_FMT_RGB24},
                 {{16, 9}, AV_PIX_FMT_RGB24},
                 {{16, 9}, AV_PIX_FMT_BGR0},
                 {{320, 240}, AV_PIX_FMT_YUV420P}};
  for (const auto& s : sources) {
    ScopedFrame rgb(NewFrame(s.size.width, s.size.height, AV_PIX_FMT_RGB24));
    FillFlat(rgb.Get(), {40, 180, 90});
    ScopedFrame source(NewFrame(s.size.width, s.size.height, s.format));
    PixelConvert().Convert(rgb.Get(), source.Get());
    ASSERT_EQ(0, convert.Convert(source.Get(), target.Get()));
    ScopedFrame wanted(NewFrame(40, 30, AV_PIX_FMT_RGB24));
    FillFlat(wanted.Get(), {40, 180, 90});
    EXPECT_LE(WorstRgbError(wanted.Get(), target.Get(), kBt601), 4.0);
  }
}

TEST(PixelConvert, ScalesTheNewRangeAfterTheSourceChangesIt) {
  PixelConvert convert;
  ScopedFrame source(NewFrame(64, 64, AV_PIX_FMT_YUV420P));
  std::fill_n(source->data[0], 64 * 64, std::uint8_t{235});
  std::fill_n(source->data[1], 32 * 32, std::uint8_t{128});
  std::fill_n(source->data[2], 32 * 32, std::uint8_t{128});
  ScopedFrame target(NewFrame(32, 32, AV_PIX_FMT_RGB24));
  ASSERT_EQ(0, convert.Convert(source.Get(), target.Get()));
  EXPECT_NEAR(255, target->data[0][100], 2);
  source->color_range = AVCOL_RANGE_JPEG;
  ASSERT_EQ(0, convert.Convert(source.Get(), target.Get()));
  EXPECT_NEAR(235, target->data[0][100], 2);
}

TEST(PixelConvert, RefusesAFrameWhosePlanesAreMissingOrTooShort) {
  PixelConvert convert;
  ScopedFrame target(NewFrame(64, 64, AV_PIX_FMT_RGB24));
  ScopedFrame source(NewFrame(64, 64, AV_PIX_FMT_YUV420P));
  ScopedFrame broken(av_frame_clone(source.Get()));
  broken->height = 128;
  EXPECT_EQ(AVERROR(EINVAL), convert.Convert(broken.Get(), target.Get()));
  broken->height = 64;
  broken->linesize[1] = 31;
  EXPECT_EQ(AVERROR(EINVAL), convert.Convert(broken.Get(), target.Get()));
  broken->linesize[1] = 32;
  broken->linesize[0] = -64;
  EXPECT_EQ(AVERROR(EINVAL), convert.Convert(broken.Get(), target.Get()));
  broken->linesize[0] = 64;
  EXPECT_EQ(0, convert.Convert(broken.Get(), target.Get()));
  broken->data[2] = nullptr;
  EXPECT_EQ(AVERROR(EINVAL), convert.Convert(broken.Get(), target.Get()));
  broken->data[2] = source->data[2];
  broken->width = 0;
  EXPECT_EQ(AVERROR(EINVAL), convert.Convert(broken.Get(), target.Get()));
  broken->width = -64;
  EXPECT_EQ(AVERROR(EINVAL), convert.Convert(broken.Get(), target.Get()));
  broken->width = 64;
  broken->format = AV_PIX_FMT_NONE;
  EXPECT_EQ(AVERROR(EINVAL), convert.Convert(broken.Get(), target.Get()));
  broken->format = AV_PIX_FMT_VAAPI;
  EXPECT_EQ(AVERROR(EINVAL), convert.Convert(broken.Get(), target.Get()));
  EXPECT_EQ(AVERROR(EINVAL), convert.Convert(nullptr, target.Get()));
}

}  // namespace
