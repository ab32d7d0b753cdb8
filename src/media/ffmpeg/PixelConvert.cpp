#include "media/ffmpeg/PixelConvert.h"

#include <libyuv.h>

#include <algorithm>
#include <cstdlib>

extern "C" {
#include <libavutil/error.h>
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
}

#include "media/ffmpeg/ColourSpace.h"
#include "media/ffmpeg/ExactRgb.h"

namespace ffmpeg {

namespace {

constexpr int kStripRows = 16;

// Beside the fast bilinear: without the two chroma flags every other column of colour is
// dropped, which costs more time than it saves, and flat colours are off by up to 22 of 255.
constexpr int kScaleFlags =
    SWS_FAST_BILINEAR | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP;

bool PlaneLiesInBuffer(const AVFrame* frame, int plane, int rowBytes, int rows) {
  const auto first = reinterpret_cast<std::uintptr_t>(frame->data[plane]);
  // The last row stands before the first one where the picture is stored bottom up.
  const auto last = first + static_cast<std::uintptr_t>(static_cast<std::intptr_t>(rows - 1) *
                                                        frame->linesize[plane]);
  for (const AVBufferRef* buffer : frame->buf) {
    if (buffer == nullptr) {
      continue;
    }
    const auto begin = reinterpret_cast<std::uintptr_t>(buffer->data);
    const auto end = begin + buffer->size;
    if (first >= begin && first < end) {
      return std::min(first, last) >= begin &&
             std::max(first, last) + static_cast<std::uintptr_t>(rowBytes) <= end;
    }
  }
  return true;  // memory that is not counted: nothing to measure it by
}

int RowsOf(const AVPixFmtDescriptor* description, int plane, int height) {
  const bool chroma = (plane == 1 || plane == 2) && (description->flags & AV_PIX_FMT_FLAG_RGB) == 0;
  return chroma ? AV_CEIL_RSHIFT(height, description->log2_chroma_h) : height;
}

// RGB24 out of the formats that libyuv reads directly. False: it has no road.
bool ToRgb24(const AVFrame* s, AVFrame* t) {
  const int w = s->width;
  const int h = s->height;
  std::uint8_t* out = t->data[0];
  const int stride = t->linesize[0];
  switch (s->format) {
    case AV_PIX_FMT_BGR0:
    case AV_PIX_FMT_BGRA:
      return libyuv::ARGBToRAW(s->data[0], s->linesize[0], out, stride, w, h) == 0;
    case AV_PIX_FMT_RGB0:
    case AV_PIX_FMT_RGBA:
      // The same exchange of red and blue, seen from the other end.
      return libyuv::ARGBToRGB24(s->data[0], s->linesize[0], out, stride, w, h) == 0;
    case AV_PIX_FMT_BGR24:
      return libyuv::RAWToRGB24(s->data[0], s->linesize[0], out, stride, w, h) == 0;
    case AV_PIX_FMT_GRAY8:
      if (!IsFullRange(s)) {
        return false;
      }
      libyuv::MergeRGBPlane(s->data[0], s->linesize[0], s->data[0], s->linesize[0], s->data[0],
                            s->linesize[0], out, stride, w, h);
      return true;
    case AV_PIX_FMT_GBRP:
      libyuv::MergeRGBPlane(s->data[2], s->linesize[2], s->data[0], s->linesize[0], s->data[1],
                            s->linesize[1], out, stride, w, h);
      return true;
    default:
      return false;
  }
}

// RGB24 out of planar YUV, by the frame's own matrix. False: libyuv has no road.
bool YuvToRgb24(const AVFrame* s, AVFrame* t) {
  const libyuv::YuvConstants* matrix = RawMatrix(s);
  const int w = s->width;
  const int h = s->height;
  std::uint8_t* out = t->data[0];
  const int stride = t->linesize[0];
  switch (WithoutRange(s->format)) {
    case AV_PIX_FMT_YUV420P:
      return libyuv::I420ToRGB24Matrix(s->data[0], s->linesize[0], s->data[2], s->linesize[2],
                                       s->data[1], s->linesize[1], out, stride, matrix, w, h) == 0;
    case AV_PIX_FMT_YUV422P:
      return libyuv::I422ToRGB24Matrix(s->data[0], s->linesize[0], s->data[2], s->linesize[2],
                                       s->data[1], s->linesize[1], out, stride, matrix, w, h) == 0;
    case AV_PIX_FMT_YUV444P:
      return libyuv::I444ToRGB24Matrix(s->data[0], s->linesize[0], s->data[2], s->linesize[2],
                                       s->data[1], s->linesize[1], out, stride, matrix, w, h) == 0;
    case AV_PIX_FMT_NV12:
      return libyuv::NV21ToRGB24Matrix(s->data[0], s->linesize[0], s->data[1], s->linesize[1], out,
                                       stride, matrix, w, h) == 0;
    case AV_PIX_FMT_NV21:
      return libyuv::NV12ToRGB24Matrix(s->data[0], s->linesize[0], s->data[1], s->linesize[1], out,
                                       stride, matrix, w, h) == 0;
    default:
      return false;
  }
}

// YUV 4:2:0 out of packed RGB. False: libyuv has no road.
bool ToYuv420(const AVFrame* s, AVFrame* t) {
  if (SwsSpace(t) != SWS_CS_ITU601) {
    return false;
  }
  const bool full = IsFullRange(t);
  switch (s->format) {
    case AV_PIX_FMT_RGB24: {
      const auto convert = full ? libyuv::RAWToJ420 : libyuv::RAWToI420;
      return convert(s->data[0], s->linesize[0], t->data[0], t->linesize[0], t->data[1],
                     t->linesize[1], t->data[2], t->linesize[2], s->width, s->height) == 0;
    }
    case AV_PIX_FMT_BGR0:
    case AV_PIX_FMT_BGRA: {
      const auto convert = full ? libyuv::ARGBToJ420 : libyuv::ARGBToI420;
      return convert(s->data[0], s->linesize[0], t->data[0], t->linesize[0], t->data[1],
                     t->linesize[1], t->data[2], t->linesize[2], s->width, s->height) == 0;
    }
    default:
      return false;
  }
}

}  // namespace

bool IsWellFormed(const AVFrame* frame) {
  // FFmpeg's own check would write a line to the log for each such frame.
  constexpr std::int64_t kMaxPixels = INT32_MAX / 8;
  if (frame == nullptr || frame->width <= 0 || frame->height <= 0 ||
      static_cast<std::int64_t>(frame->width) * frame->height > kMaxPixels) {
    return false;
  }
  const auto format = static_cast<AVPixelFormat>(frame->format);
  const AVPixFmtDescriptor* description = av_pix_fmt_desc_get(format);
  int rowBytes[4] = {};
  if (description == nullptr || (description->flags & AV_PIX_FMT_FLAG_HWACCEL) != 0 ||
      av_image_fill_linesizes(rowBytes, format, frame->width) < 0) {
    return false;
  }
  for (int plane = 0; plane < av_pix_fmt_count_planes(format); ++plane) {
    if (frame->data[plane] == nullptr || std::abs(frame->linesize[plane]) < rowBytes[plane] ||
        !PlaneLiesInBuffer(frame, plane, rowBytes[plane],
                           RowsOf(description, plane, frame->height))) {
      return false;
    }
  }
  return (description->flags & AV_PIX_FMT_FLAG_PAL) == 0 ||
         (frame->data[1] != nullptr && PlaneLiesInBuffer(frame, 1, AVPALETTE_SIZE, 1));
}

bool PixelConvert::Side::operator==(const Side& other) const {
  return width == other.width && height == other.height && format == other.format &&
         space == other.space && fullRange == other.fullRange;
}

PixelConvert::Side PixelConvert::Describe(const AVFrame* frame) {
  Side side;
  side.width = frame->width;
  side.height = frame->height;
  side.format = WithoutRange(frame->format);
  side.space = SwsSpace(frame);
  side.fullRange = IsFullRange(frame);
  return side;
}

int PixelConvert::Convert(const AVFrame* source, AVFrame* target) {
  if (!IsWellFormed(source) || !IsWellFormed(target)) {
    return AVERROR(EINVAL);
  }
  const bool equal = source->width == target->width && source->height == target->height;
  if (equal ? ConvertDirectly(source, target) : ScaleDirectly(source, target)) {
    return 0;
  }
  const int error = Prepare(Describe(source), Describe(target));
  if (error < 0) {
    return error;
  }
  const int rows = sws_scale(m_context.Get(), source->data, source->linesize, 0, source->height,
                             target->data, target->linesize);
  return rows < 0 ? rows : 0;
}

bool PixelConvert::ConvertDirectly(const AVFrame* source, AVFrame* target) {
  if (target->format == AV_PIX_FMT_RGB24) {
    if (source->format == AV_PIX_FMT_RGB24) {
      av_image_copy_plane(target->data[0], target->linesize[0], source->data[0],
                          source->linesize[0], source->width * 3, source->height);
      return true;
    }
    return ToRgb24(source, target) || YuvToRgb24(source, target) ||
           ConvertPacked422(source, target) || ConvertDeepYuv(source, target) ||
           ReadAsRgb24(source, target, &m_lines);
  }
  if (WithoutRange(target->format) == AV_PIX_FMT_YUV420P) {
    return ToYuv420(source, target);
  }
  return false;
}

bool PixelConvert::ScaleDirectly(const AVFrame* source, AVFrame* target) {
  if (target->format == AV_PIX_FMT_RGB24) {
    return RgbScale::Takes(source->format) && m_rgbScale.Scale(source, target);
  }
  const Side from = Describe(source);
  const Side to = Describe(target);
  if (from.format != AV_PIX_FMT_YUV420P || to.format != AV_PIX_FMT_YUV420P ||
      from.space != to.space || from.fullRange != to.fullRange || to.width > from.width ||
      to.height > from.height) {
    return false;
  }
  return libyuv::I420Scale(source->data[0], source->linesize[0], source->data[1],
                           source->linesize[1], source->data[2], source->linesize[2], source->width,
                           source->height, target->data[0], target->linesize[0], target->data[1],
                           target->linesize[1], target->data[2], target->linesize[2], target->width,
                           target->height, libyuv::kFilterBox) == 0;
}

// libyuv takes packed 4:2:2 to planar and planar to RGB24, each with any matrix. A strip of few
// rows stays in the cache between the two steps.
bool PixelConvert::ConvertPacked422(const AVFrame* source, AVFrame* target) {
  const bool yuyv = source->format == AV_PIX_FMT_YUYV422;
  const libyuv::YuvConstants* matrix = RawMatrix(source);
  if (!yuyv && source->format != AV_PIX_FMT_UYVY422) {
    return false;
  }
  const int width = source->width;
  const int chroma = (width + 1) / 2;
  m_strip.resize(static_cast<std::size_t>(kStripRows) *
                 static_cast<std::size_t>(width + 2 * chroma));
  std::uint8_t* y = m_strip.data();
  std::uint8_t* u = y + static_cast<std::ptrdiff_t>(kStripRows) * width;
  std::uint8_t* v = u + static_cast<std::ptrdiff_t>(kStripRows) * chroma;
  const auto unpack = yuyv ? libyuv::YUY2ToI422 : libyuv::UYVYToI422;
  for (int row = 0; row < source->height; row += kStripRows) {
    const int rows = std::min(kStripRows, source->height - row);
    const std::ptrdiff_t in = static_cast<std::ptrdiff_t>(row) * source->linesize[0];
    const std::ptrdiff_t out = static_cast<std::ptrdiff_t>(row) * target->linesize[0];
    if (unpack(source->data[0] + in, source->linesize[0], y, width, u, chroma, v, chroma, width,
               rows) != 0 ||
        libyuv::I422ToRGB24Matrix(y, width, v, chroma, u, chroma, target->data[0] + out,
                                  target->linesize[0], matrix, width, rows) != 0) {
      return false;
    }
  }
  return true;
}

// The 10-bit formats of films and cameras: libyuv makes four bytes a pixel of them, and three of
// these, strip by strip as above. Strips are of even height: 4:2:0 shares rows of chroma.
bool PixelConvert::ConvertDeepYuv(const AVFrame* source, AVFrame* target) {
  int (*deepen)(const std::uint16_t*, int, const std::uint16_t*, int, const std::uint16_t*, int,
                std::uint8_t*, int, const libyuv::YuvConstants*, int, int) = nullptr;
  switch (source->format) {
    case AV_PIX_FMT_YUV420P10LE:
      deepen = libyuv::I010ToARGBMatrix;
      break;
    case AV_PIX_FMT_YUV422P10LE:
      deepen = libyuv::I210ToARGBMatrix;
      break;
    case AV_PIX_FMT_YUV444P10LE:
      deepen = libyuv::I410ToARGBMatrix;
      break;
    default:
      return false;
  }
  const int chromaShift = source->format == AV_PIX_FMT_YUV420P10LE ? 1 : 0;
  m_strip.resize(static_cast<std::size_t>(kStripRows) * 4 *
                 static_cast<std::size_t>(source->width));
  const auto plane = [source](int index, int row) {
    return reinterpret_cast<const std::uint16_t*>(
        source->data[index] + static_cast<std::ptrdiff_t>(row) * source->linesize[index]);
  };
  for (int row = 0; row < source->height; row += kStripRows) {
    const int rows = std::min(kStripRows, source->height - row);
    const int chromaRow = row >> chromaShift;
    // With the chroma planes exchanged, as RawMatrix needs it, the four bytes are R, G, B, A.
    if (deepen(plane(0, row), source->linesize[0] / 2, plane(2, chromaRow), source->linesize[2] / 2,
               plane(1, chromaRow), source->linesize[1] / 2, m_strip.data(), source->width * 4,
               RawMatrix(source), source->width, rows) != 0 ||
        libyuv::ARGBToRGB24(
            m_strip.data(), source->width * 4,
            target->data[0] + static_cast<std::ptrdiff_t>(row) * target->linesize[0],
            target->linesize[0], source->width, rows) != 0) {
      return false;
    }
  }
  return true;
}

int PixelConvert::Prepare(const Side& source, const Side& target) {
  if (m_context && source == m_source && target == m_target) {
    return 0;
  }
  m_context.Reset(sws_getContext(source.width, source.height, source.format, target.width,
                                 target.height, target.format, kScaleFlags, nullptr, nullptr,
                                 nullptr));
  if (!m_context) {
    return AVERROR(EINVAL);
  }
  constexpr int kOne = 1 << 16;
  // Refused between formats that have no matrix, such as RGB to RGB at equal size: none is needed.
  sws_setColorspaceDetails(m_context.Get(), sws_getCoefficients(source.space),
                           source.fullRange ? 1 : 0, sws_getCoefficients(target.space),
                           target.fullRange ? 1 : 0, 0, kOne, kOne);
  m_source = source;
  m_target = target;
  return 0;
}

}  // namespace ffmpeg
