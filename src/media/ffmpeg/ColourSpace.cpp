#include "media/ffmpeg/ColourSpace.h"

#include <libyuv.h>
#include <libyuv/row.h>

#include <algorithm>
#include <cstring>
#include <iterator>

extern "C" {
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace ffmpeg {

namespace {

// A field of a decoded frame as a number: decoders write there what the file says, which may be no
// enumerator and must then not be read as one.
template <typename Enumeration>
int NumberOf(const Enumeration& field) {
  static_assert(sizeof(Enumeration) == sizeof(int));
  int number = 0;
  std::memcpy(&number, &field, sizeof number);
  return number;
}

constexpr Weights WeightsFor(int space) {
  switch (space) {
    case SWS_CS_ITU709:
      return {0.2126, 0.0722};
    case SWS_CS_BT2020:
      return {0.2627, 0.0593};
    case SWS_CS_SMPTE240M:
      return {0.212, 0.087};
    case SWS_CS_FCC:
      return {0.30, 0.11};
    default:
      return {0.299, 0.114};
  }
}

#if defined(__x86_64__) || defined(__i386__)

// libyuv's own tables hold no factor above 2, so that its blue is off by 13 of 255 in BT.709 and
// by 3 in BT.601. Its code takes larger ones: unsigned, in units of 1/64.
struct alignas(32) Matrix {
  libyuv::YuvConstants table;
};

constexpr Matrix RawMatrixOf(const Weights& weights, bool full) {
  const double chroma = 64 * (full ? 1.0 : 255.0 / 224);
  const double luma = 64 * (full ? 1.0 : 255.0 / 219);
  const double green = 1 - weights.red - weights.blue;
  const auto round = [](double value) { return static_cast<std::uint8_t>(value + 0.5); };
  const std::uint8_t toRed = round(chroma * 2 * (1 - weights.red));
  const std::uint8_t toBlue = round(chroma * 2 * (1 - weights.blue));
  const std::uint8_t redToGreen = round(chroma * 2 * (1 - weights.red) * weights.red / green);
  const std::uint8_t blueToGreen = round(chroma * 2 * (1 - weights.blue) * weights.blue / green);
  Matrix matrix{};
  for (int i = 0; i < 32; i += 2) {
    // The exchange: what libyuv takes for U is V, what it takes for blue is red.
    matrix.table.kUVToB[i] = toRed;
    matrix.table.kUVToG[i] = redToGreen;
    matrix.table.kUVToG[i + 1] = blueToGreen;
    matrix.table.kUVToR[i + 1] = toBlue;
  }
  for (int i = 0; i < 16; ++i) {
    // Luma is multiplied as a 16-bit number of which it fills both bytes.
    matrix.table.kYToRgb[i] = static_cast<std::int16_t>(luma * 65536 / 257 + 0.5);
    matrix.table.kYBiasToRgb[i] = static_cast<std::int16_t>(full ? 32 : 32.5 - 1 - 16 * luma);
  }
  return matrix;
}

#endif

}  // namespace

bool IsFullRange(const AVFrame* frame) {
  switch (frame->format) {
    case AV_PIX_FMT_YUVJ411P:
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_YUVJ440P:
    case AV_PIX_FMT_YUVJ444P:
      return true;
    default:
      break;
  }
  const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame->format));
  if (d == nullptr || (d->flags & AV_PIX_FMT_FLAG_RGB) != 0) {
    return true;
  }
  if (d->nb_components < 3) {
    return NumberOf(frame->color_range) != AVCOL_RANGE_MPEG;
  }
  return NumberOf(frame->color_range) == AVCOL_RANGE_JPEG;
}

AVPixelFormat WithoutRange(int format) {
  switch (format) {
    case AV_PIX_FMT_YUVJ411P:
      return AV_PIX_FMT_YUV411P;
    case AV_PIX_FMT_YUVJ420P:
      return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
      return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ440P:
      return AV_PIX_FMT_YUV440P;
    case AV_PIX_FMT_YUVJ444P:
      return AV_PIX_FMT_YUV444P;
    default:
      return static_cast<AVPixelFormat>(format);
  }
}

int SwsSpace(const AVFrame* frame) {
  switch (NumberOf(frame->colorspace)) {
    case AVCOL_SPC_BT709:
      return SWS_CS_ITU709;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
      return SWS_CS_BT2020;
    case AVCOL_SPC_SMPTE240M:
      return SWS_CS_SMPTE240M;
    case AVCOL_SPC_FCC:
      return SWS_CS_FCC;
    default:
      return SWS_CS_ITU601;
  }
}

Weights WeightsOf(int swsSpace) {
  return WeightsFor(swsSpace);
}

#if defined(__x86_64__) || defined(__i386__)

const libyuv::YuvConstants* RawMatrix(const AVFrame* frame) {
  static constexpr int kSpaces[] = {SWS_CS_ITU601, SWS_CS_ITU709, SWS_CS_BT2020, SWS_CS_SMPTE240M,
                                    SWS_CS_FCC};
  static constexpr Matrix kLimited[] = {
      RawMatrixOf(WeightsFor(kSpaces[0]), false), RawMatrixOf(WeightsFor(kSpaces[1]), false),
      RawMatrixOf(WeightsFor(kSpaces[2]), false), RawMatrixOf(WeightsFor(kSpaces[3]), false),
      RawMatrixOf(WeightsFor(kSpaces[4]), false)};
  static constexpr Matrix kFull[] = {
      RawMatrixOf(WeightsFor(kSpaces[0]), true), RawMatrixOf(WeightsFor(kSpaces[1]), true),
      RawMatrixOf(WeightsFor(kSpaces[2]), true), RawMatrixOf(WeightsFor(kSpaces[3]), true),
      RawMatrixOf(WeightsFor(kSpaces[4]), true)};
  const auto* space = std::find(std::begin(kSpaces), std::end(kSpaces), SwsSpace(frame));
  const auto index = space - std::begin(kSpaces);
  return IsFullRange(frame) ? &kFull[index].table : &kLimited[index].table;
}

#else

const libyuv::YuvConstants* RawMatrix(const AVFrame* frame) {
  const bool full = IsFullRange(frame);
  switch (SwsSpace(frame)) {
    case SWS_CS_ITU709:
      return full ? &libyuv::kYvuF709Constants : &libyuv::kYvuH709Constants;
    case SWS_CS_BT2020:
      return full ? &libyuv::kYvuV2020Constants : &libyuv::kYvu2020Constants;
    default:
      return full ? &libyuv::kYvuJPEGConstants : &libyuv::kYvuI601Constants;
  }
}

#endif

}  // namespace ffmpeg
