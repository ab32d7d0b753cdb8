#include "media/ffmpeg/ExactRgb.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>

extern "C" {
#include <libavutil/pixdesc.h>
}

#include "media/ffmpeg/ColourSpace.h"

namespace ffmpeg {

namespace {

// R, G and B of 0 to 255 are sums of the three components, each with a factor, and an offset.
struct Formula {
  float factor[3][3];
  float offset[3];
};

// The library's own description, but for one format, of which it has the bits of red and blue
// exchanged: three are of red, three of green, two of blue, from the highest down.
const AVPixFmtDescriptor* DescriptionOf(int format) {
  const AVPixFmtDescriptor* told = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(format));
  if (format != AV_PIX_FMT_RGB8) {
    return told;
  }
  static const AVPixFmtDescriptor rgb8 = [told] {
    AVPixFmtDescriptor right = *told;
    const int shifts[] = {5, 2, 0};
    const int depths[] = {3, 3, 2};
    for (int i = 0; i < 3; ++i) {
      right.comp[i].shift = shifts[i];
      right.comp[i].depth = depths[i];
    }
    return right;
  }();
  return &rgb8;
}

bool IsReadable(const AVPixFmtDescriptor* d) {
  constexpr std::uint64_t kOther = AV_PIX_FMT_FLAG_BAYER | AV_PIX_FMT_FLAG_FLOAT;
  if ((d->flags & kOther) != 0 || std::strncmp(d->name, "xyz", 3) == 0) {
    return false;
  }
  return std::all_of(d->comp, d->comp + d->nb_components,
                     [](const AVComponentDescriptor& c) { return c.depth <= 16; });
}

double Largest(const AVPixFmtDescriptor* d, int component) {
  return std::ldexp(1.0, d->comp[component].depth) - 1;
}

Formula RgbFormula(const AVPixFmtDescriptor* d) {
  Formula f{};
  for (int i = 0; i < 3; ++i) {
    f.factor[i][i] = static_cast<float>(255 / Largest(d, i));
  }
  return f;
}

Formula GreyFormula(const AVPixFmtDescriptor* d, bool full) {
  Formula f{};
  if (std::strcmp(d->name, "monow") == 0) {
    // The one format in which 0 is white.
    for (int i = 0; i < 3; ++i) {
      f.factor[i][0] = -255;
      f.offset[i] = 255;
    }
    return f;
  }
  const double unit = std::ldexp(1.0, d->comp[0].depth - 8);
  for (int i = 0; i < 3; ++i) {
    f.factor[i][0] = static_cast<float>(full ? 255 / Largest(d, 0) : 255.0 / 219 / unit);
    f.offset[i] = full ? 0 : -16 * 255.0F / 219;
  }
  return f;
}

Formula YuvFormula(const AVPixFmtDescriptor* d, const Weights& w, bool full) {
  const double unit = std::ldexp(1.0, d->comp[0].depth - 8);
  const double luma = (full ? 1.0 : 255.0 / 219) / unit;
  const double chroma = (full ? 1.0 : 255.0 / 224) / unit;
  const double green = 1 - w.red - w.blue;
  const double matrix[3][3] = {{luma, 0, chroma * 2 * (1 - w.red)},
                               {luma, -chroma * 2 * (1 - w.blue) * w.blue / green,
                                -chroma * 2 * (1 - w.red) * w.red / green},
                               {luma, chroma * 2 * (1 - w.blue), 0}};
  Formula f{};
  for (int i = 0; i < 3; ++i) {
    for (int k = 0; k < 3; ++k) {
      f.factor[i][k] = static_cast<float>(matrix[i][k]);
    }
    f.offset[i] = static_cast<float>(-(full ? 0 : 16) * unit * matrix[i][0] -
                                     128 * unit * (matrix[i][1] + matrix[i][2]));
  }
  return f;
}

std::uint8_t ToByte(float value) {
  return static_cast<std::uint8_t>(std::min(255.0F, std::max(0.0F, value + 0.5F)));
}

// A palette is an array of 0xAARRGGBB in the machine's byte order.
void ReadPalette(const AVFrame* source, AVFrame* target) {
  std::uint32_t palette[256];
  std::memcpy(palette, source->data[1], sizeof palette);
  for (int y = 0; y < source->height; ++y) {
    const std::uint8_t* in = source->data[0] + static_cast<std::ptrdiff_t>(y) * source->linesize[0];
    std::uint8_t* out = target->data[0] + static_cast<std::ptrdiff_t>(y) * target->linesize[0];
    for (int x = 0; x < source->width; ++x) {
      const std::uint32_t colour = palette[in[x]];
      *out++ = static_cast<std::uint8_t>(colour >> 16);
      *out++ = static_cast<std::uint8_t>(colour >> 8);
      *out++ = static_cast<std::uint8_t>(colour);
    }
  }
}

void ReadRow(const AVFrame* source, const AVPixFmtDescriptor* d, int y, int components,
             std::uint16_t* lines) {
  const std::uint8_t* data[4] = {source->data[0], source->data[1], source->data[2],
                                 source->data[3]};
  const bool rgb = (d->flags & AV_PIX_FMT_FLAG_RGB) != 0;
  for (int c = 0; c < components; ++c) {
    const bool chroma = !rgb && c > 0;
    const int width = chroma ? AV_CEIL_RSHIFT(source->width, d->log2_chroma_w) : source->width;
    av_read_image_line2(lines + static_cast<std::ptrdiff_t>(c) * source->width, data,
                        source->linesize, d, 0, chroma ? y >> d->log2_chroma_h : y, c, width, 0,
                        sizeof *lines);
  }
}

}  // namespace

bool ReadAsRgb24(const AVFrame* source, AVFrame* target, std::vector<std::uint16_t>* lines) {
  const AVPixFmtDescriptor* d = DescriptionOf(source->format);
  if (d == nullptr || !IsReadable(d)) {
    return false;
  }
  if ((d->flags & AV_PIX_FMT_FLAG_PAL) != 0) {
    ReadPalette(source, target);
    return true;
  }
  const bool rgb = (d->flags & AV_PIX_FMT_FLAG_RGB) != 0;
  const int components = d->nb_components < 3 ? 1 : 3;
  const bool full = IsFullRange(source);
  const Formula f = components == 1 ? GreyFormula(d, full)
                    : rgb           ? RgbFormula(d)
                                    : YuvFormula(d, WeightsOf(SwsSpace(source)), full);
  const auto width = static_cast<std::size_t>(source->width);
  const int shift = rgb ? 0 : d->log2_chroma_w;
  lines->assign(3 * width, 0);
  const std::uint16_t* a = lines->data();
  const std::uint16_t* b = a + width;
  const std::uint16_t* c = b + width;
  for (int y = 0; y < source->height; ++y) {
    ReadRow(source, d, y, components, lines->data());
    std::uint8_t* out = target->data[0] + static_cast<std::ptrdiff_t>(y) * target->linesize[0];
    for (std::size_t x = 0; x < width; ++x) {
      const float first = a[x];
      const float second = b[x >> shift];
      const float third = c[x >> shift];
      for (int i = 0; i < 3; ++i) {
        *out++ = ToByte(f.factor[i][0] * first + f.factor[i][1] * second + f.factor[i][2] * third +
                        f.offset[i]);
      }
    }
  }
  return true;
}

}  // namespace ffmpeg
