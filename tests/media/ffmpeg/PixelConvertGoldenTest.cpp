// Rare formats, byte by byte as their definition has them: what a reader and a writer of one
// library misread together shows here.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <ostream>
#include <vector>

extern "C" {
#include <libavutil/pixdesc.h>
}

#include "media/ffmpeg/PixelConvert.h"
#include "media/ffmpeg/Scoped.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

// One row of four pixels; the planes in their order, each as long as its row.
struct Golden {
  AVPixelFormat format;
  std::vector<Bytes> planes;
  Bytes rgb;  // of the first pixels; as many as it holds
  AVColorRange range = AVCOL_RANGE_UNSPECIFIED;
};

std::ostream& operator<<(std::ostream& stream, const Golden& golden) {
  return stream << av_get_pix_fmt_name(golden.format);
}

class PixelConvertGolden : public testing::TestWithParam<Golden> {};

TEST_P(PixelConvertGolden, IsReadAsItIsDefined) {
  const Golden& golden = GetParam();
  ffmpeg::ScopedFrame source(av_frame_alloc());
  source->width = 4;
  source->height = 1;
  source->format = golden.format;
  source->color_range = golden.range;
  ASSERT_GE(av_frame_get_buffer(source.Get(), 1), 0);
  for (std::size_t plane = 0; plane < golden.planes.size(); ++plane) {
    ASSERT_NE(source->data[plane], nullptr);
    std::copy(golden.planes[plane].begin(), golden.planes[plane].end(), source->data[plane]);
  }
  ffmpeg::ScopedFrame target(av_frame_alloc());
  target->width = 4;
  target->height = 1;
  target->format = AV_PIX_FMT_RGB24;
  ASSERT_GE(av_frame_get_buffer(target.Get(), 1), 0);
  ffmpeg::PixelConvert convert;
  ASSERT_EQ(0, convert.Convert(source.Get(), target.Get()));
  for (std::size_t i = 0; i < golden.rgb.size(); ++i) {
    EXPECT_NEAR(golden.rgb[i], target->data[0][i], 1) << "byte " << i;
  }
}

// A palette of 256 entries in the machine's byte order, 0xAARRGGBB, of which the first are given.
Bytes Palette(const std::vector<std::uint32_t>& colours) {
  Bytes bytes(AVPALETTE_SIZE);
  std::memcpy(bytes.data(), colours.data(), colours.size() * sizeof colours[0]);
  return bytes;
}

// Eight pixels a byte, the first in the highest bit; ten and sixteen bits in the named order.
INSTANTIATE_TEST_SUITE_P(
    PixelConvertGolden, PixelConvertGolden,
    testing::Values(
        Golden{AV_PIX_FMT_MONOWHITE, {{0x50}}, {255, 255, 255, 0, 0, 0, 255, 255, 255, 0, 0, 0}},
        Golden{AV_PIX_FMT_MONOBLACK, {{0x50}}, {0, 0, 0, 255, 255, 255, 0, 0, 0, 255, 255, 255}},
        Golden{AV_PIX_FMT_PAL8,
               {{2, 0, 1, 0}, Palette({0xff102030, 0xffc0b0a0, 0x00ff0001})},
               {255, 0, 1, 16, 32, 48, 192, 176, 160, 16, 32, 48}},
        Golden{AV_PIX_FMT_RGB565LE,
               {{0x00, 0xf8, 0xe0, 0x07, 0x1f, 0x00, 0xff, 0xff}},
               {255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255}},
        Golden{AV_PIX_FMT_BGR565LE, {{0x00, 0xf8, 0xe0, 0x07}}, {0, 0, 255, 0, 255, 0}},
        Golden{AV_PIX_FMT_RGB555LE, {{0x00, 0x7c, 0xe0, 0x03}}, {255, 0, 0, 0, 255, 0}},
        Golden{AV_PIX_FMT_RGB8, {{0xe0, 0x1c, 0x03}}, {255, 0, 0, 0, 255, 0, 0, 0, 255}},
        Golden{AV_PIX_FMT_BGR8, {{0x07, 0x38, 0xc0}}, {255, 0, 0, 0, 255, 0, 0, 0, 255}},
        Golden{AV_PIX_FMT_ARGB, {{9, 200, 100, 50}}, {200, 100, 50}},
        Golden{AV_PIX_FMT_ABGR, {{9, 200, 100, 50}}, {50, 100, 200}},
        Golden{AV_PIX_FMT_GBRP, {{100}, {50}, {200}}, {200, 100, 50}},
        Golden{AV_PIX_FMT_GBRP10LE, {{0xff, 0x03}, {0x00, 0x00}, {0x00, 0x02}}, {128, 255, 0}},
        Golden{AV_PIX_FMT_RGB48BE, {{0xff, 0xff, 0x80, 0x00, 0x00, 0x00}}, {255, 128, 0}},
        Golden{AV_PIX_FMT_RGB48LE, {{0xff, 0xff, 0x00, 0x80, 0x00, 0x00}}, {255, 128, 0}},
        Golden{AV_PIX_FMT_RGBA64BE, {{0xff, 0xff, 0x80, 0x00, 0x00, 0x00, 1, 2}}, {255, 128, 0}},
        Golden{AV_PIX_FMT_GRAY8, {{0, 90, 255}}, {0, 0, 0, 90, 90, 90, 255, 255, 255}},
        Golden{AV_PIX_FMT_GRAY8,
               {{16, 126, 235}},
               {0, 0, 0, 128, 128, 128, 255, 255, 255},
               AVCOL_RANGE_MPEG},
        Golden{AV_PIX_FMT_GRAY16BE, {{0x80, 0x00, 0xff, 0xff}}, {128, 128, 128, 255, 255, 255}},
        Golden{AV_PIX_FMT_GRAY10LE, {{0xff, 0x03, 0x00, 0x02}}, {255, 255, 255, 128, 128, 128}},
        Golden{AV_PIX_FMT_YA8, {{90, 7, 255, 8}}, {90, 90, 90, 255, 255, 255}},
        // Red is 81, 90, 240 in BT.601 of limited range; two pixels share the chroma.
        Golden{AV_PIX_FMT_YUYV422, {{81, 90, 81, 240}}, {255, 0, 0, 255, 0, 0}},
        Golden{AV_PIX_FMT_YVYU422, {{81, 240, 81, 90}}, {255, 0, 0, 255, 0, 0}},
        Golden{AV_PIX_FMT_UYVY422, {{90, 81, 240, 81}}, {255, 0, 0, 255, 0, 0}},
        Golden{AV_PIX_FMT_YUV410P, {{81, 81, 81, 81}, {90}, {240}}, Bytes{255, 0, 0, 255, 0, 0}},
        Golden{AV_PIX_FMT_YUV411P, {{81, 81, 81, 81}, {90}, {240}}, Bytes{255, 0, 0, 255, 0, 0}},
        Golden{AV_PIX_FMT_NV12,
               {{81, 81, 16, 235}, {90, 240, 128, 128}},
               {255, 0, 0, 255, 0, 0, 0, 0, 0, 255, 255, 255}},
        Golden{AV_PIX_FMT_NV21, {{81, 81}, {240, 90}}, {255, 0, 0, 255, 0, 0}},
        Golden{AV_PIX_FMT_P010LE,
               {{0x40, 0x51, 0x40, 0x51}, {0x80, 0x5a, 0x00, 0xf0}},
               {255, 0, 0, 255, 0, 0}}),
    [](const auto& test) {
      return std::string(av_get_pix_fmt_name(test.param.format)) +
             (test.param.range == AVCOL_RANGE_MPEG ? "OfLimitedRange" : "");
    });

// The palette is a plane of its own, 1024 bytes whatever the picture's size.
TEST(PixelConvertGoldenPalette, OneThatIsShorterThanItMustBeIsRefused) {
  ffmpeg::ScopedFrame source(av_frame_alloc());
  source->width = 4;
  source->height = 1;
  source->format = AV_PIX_FMT_PAL8;
  source->buf[0] = av_buffer_allocz(4);
  source->buf[1] = av_buffer_allocz(AVPALETTE_SIZE - 1);
  source->data[0] = source->buf[0]->data;
  source->data[1] = source->buf[1]->data;
  source->linesize[0] = 4;
  EXPECT_FALSE(ffmpeg::IsWellFormed(source.Get()));
  av_buffer_unref(&source->buf[1]);
  source->buf[1] = av_buffer_allocz(AVPALETTE_SIZE);
  source->data[1] = source->buf[1]->data;
  EXPECT_TRUE(ffmpeg::IsWellFormed(source.Get()));
  source->data[1] = nullptr;
  EXPECT_FALSE(ffmpeg::IsWellFormed(source.Get()));
}

}  // namespace
