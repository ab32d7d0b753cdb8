#include "media/ffmpeg/RgbScale.h"

#include <libyuv.h>

#include <algorithm>
#include <cstddef>

extern "C" {
#include <libavutil/frame.h>
}

namespace ffmpeg {

namespace {

constexpr int kRowsAtOnce = 8;  // in the first cache at 1920 pixels
constexpr int kPixelBytes = 4;
constexpr std::int64_t kOne = 1 << 16;  // a row, in the arithmetic of positions

}  // namespace

bool RgbScale::Takes(int format) {
  return format == AV_PIX_FMT_RGB24 || format == AV_PIX_FMT_BGR0 || format == AV_PIX_FMT_BGRA;
}

// The picture at row position at, in 1/65536, into pixels of four bytes.
void RgbScale::BlendRow(const AVFrame* source, std::int64_t at, std::uint8_t* pixels) {
  const std::int64_t inside = std::clamp<std::int64_t>(at, 0, (source->height - 1) * kOne);
  const std::uint8_t* upper = source->data[0] + inside / kOne * source->linesize[0];
  const int weight = static_cast<int>(inside % kOne / 256);  // of the lower row, of 256
  const std::uint8_t* lower = weight == 0 ? upper : upper + source->linesize[0];
  if (source->format != AV_PIX_FMT_RGB24) {
    const int bytes = source->width * kPixelBytes;
    libyuv::InterpolatePlane(upper, 0, lower, 0, pixels, 0, bytes, 1, weight);
    return;
  }
  if (weight != 0) {
    libyuv::InterpolatePlane(upper, 0, lower, 0, m_blend.data(), 0, source->width * 3, 1, weight);
    upper = m_blend.data();
  }
  libyuv::RAWToARGB(upper, 0, pixels, 0, source->width, 1);
}

bool RgbScale::Scale(const AVFrame* source, AVFrame* target) {
  const int rowBytes = source->width * kPixelBytes;
  const int scaledBytes = target->width * kPixelBytes;
  m_blend.resize(static_cast<std::size_t>(source->width) * 3);
  m_rows.resize(static_cast<std::size_t>(rowBytes) * kRowsAtOnce);
  m_scaled.resize(static_cast<std::size_t>(scaledBytes) * kRowsAtOnce);
  // As libyuv does across. Made smaller, centres lie on centres: the first output row is half of
  // one from the edge. Made larger, the outermost rows lie on the outermost rows.
  const bool smaller = target->height <= source->height;
  const std::int64_t step = smaller ? source->height * kOne / target->height
                                    : (source->height - 1) * kOne / (target->height - 1);
  std::int64_t at = smaller ? (step - kOne) / 2 : 0;
  for (int top = 0; top < target->height; top += kRowsAtOnce) {
    const int rows = std::min(kRowsAtOnce, target->height - top);
    for (int row = 0; row < rows; ++row, at += step) {
      BlendRow(source, at, m_rows.data() + static_cast<std::ptrdiff_t>(row) * rowBytes);
    }
    const std::uint8_t* pixels = m_rows.data();
    if (source->width != target->width) {
      if (libyuv::ARGBScale(pixels, rowBytes, source->width, rows, m_scaled.data(), scaledBytes,
                            target->width, rows, libyuv::kFilterBilinear) != 0) {
        return false;
      }
      pixels = m_scaled.data();
    }
    libyuv::ARGBToRAW(pixels, scaledBytes,
                      target->data[0] + static_cast<std::ptrdiff_t>(top) * target->linesize[0],
                      target->linesize[0], target->width, rows);
  }
  return true;
}

}  // namespace ffmpeg
