#include "support/camera/CameraPicture.h"

#include <linux/videodev2.h>

#include <algorithm>
#include <chrono>

#include "support/TimeCode.h"

extern "C" {
#include <libswscale/swscale.h>
}

namespace support {

namespace {

std::uint8_t Luma(const std::uint8_t* rgb) {
  return static_cast<std::uint8_t>((66 * rgb[0] + 129 * rgb[1] + 25 * rgb[2] + 128) / 256 + 16);
}

}  // namespace

CameraPicture::CameraPicture(std::uint32_t pixelFormat, int width, int height,
                             const CameraColour& background)
    : m_pixelFormat(pixelFormat),
      m_width(width),
      m_height(height),
      m_background(background),
      m_rgb(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3) {}

CameraPicture::~CameraPicture() {
  avcodec_free_context(&m_jpeg);
  av_frame_free(&m_frame);
  av_packet_free(&m_packet);
}

std::size_t CameraPicture::RowBytes() const {
  const auto width = static_cast<std::size_t>(m_width);
  return m_pixelFormat == V4L2_PIX_FMT_RGB24  ? width * 3
         : m_pixelFormat == V4L2_PIX_FMT_YUYV ? width * 2
                                              : 0;
}

std::size_t CameraPicture::LargestBytes() const {
  const std::size_t row = RowBytes() != 0 ? RowBytes() : static_cast<std::size_t>(m_width) * 3;
  return row * static_cast<std::size_t>(m_height);
}

const std::vector<std::uint8_t>& CameraPicture::Make(unsigned frame) {
  PaintCameraPicture(m_rgb.data(), static_cast<std::size_t>(m_width) * 3, m_width, m_height, frame,
                     m_background);
  if (m_clock) {
    PaintClock();
  }
  if (m_pixelFormat == V4L2_PIX_FMT_RGB24) {
    return m_rgb;
  }
  if (m_pixelFormat == V4L2_PIX_FMT_YUYV) {
    ToYuyv();
  } else {
    ToJpeg();
  }
  return m_picture;
}

void CameraPicture::PaintClock() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  const TimeCells cells = EncodeTime(static_cast<std::uint32_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(now).count()));
  for (int y = 0; y < kTimeCellSize; ++y) {
    std::uint8_t* row = m_rgb.data() + static_cast<std::size_t>(y * m_width) * 3;
    for (const bool white : cells) {
      row = std::fill_n(row, kTimeCellSize * 3, static_cast<std::uint8_t>(white ? 255 : 0));
    }
  }
}

void CameraPicture::ToYuyv() {
  m_picture.resize(LargestBytes());
  std::uint8_t* out = m_picture.data();
  const std::uint8_t* end = m_rgb.data() + m_rgb.size();
  for (const std::uint8_t* rgb = m_rgb.data(); rgb < end; rgb += 6, out += 4) {
    const int red = (rgb[0] + rgb[3]) / 2;
    const int green = (rgb[1] + rgb[4]) / 2;
    const int blue = (rgb[2] + rgb[5]) / 2;
    out[0] = Luma(rgb);
    out[1] = static_cast<std::uint8_t>((-38 * red - 74 * green + 112 * blue + 128) / 256 + 128);
    out[2] = Luma(rgb + 3);
    out[3] = static_cast<std::uint8_t>((112 * red - 94 * green - 18 * blue + 128) / 256 + 128);
  }
}

bool CameraPicture::OpenJpeg() {
  m_jpeg = avcodec_alloc_context3(avcodec_find_encoder(AV_CODEC_ID_MJPEG));
  m_jpeg->width = m_width;
  m_jpeg->height = m_height;
  m_jpeg->pix_fmt = AV_PIX_FMT_YUVJ420P;
  m_jpeg->time_base = AVRational{1, 25};
  m_jpeg->flags |= AV_CODEC_FLAG_QSCALE;
  m_jpeg->global_quality = 2 * FF_QP2LAMBDA;
  m_frame = av_frame_alloc();
  m_frame->width = m_width;
  m_frame->height = m_height;
  m_frame->format = AV_PIX_FMT_YUVJ420P;
  m_frame->quality = m_jpeg->global_quality;
  m_packet = av_packet_alloc();
  return av_frame_get_buffer(m_frame, 0) == 0 && avcodec_open2(m_jpeg, nullptr, nullptr) == 0;
}

void CameraPicture::ToJpeg() {
  m_picture.clear();
  if (m_jpeg == nullptr && !OpenJpeg()) {
    return;
  }
  av_frame_make_writable(m_frame);
  SwsContext* context = sws_getContext(m_width, m_height, AV_PIX_FMT_RGB24, m_width, m_height,
                                       AV_PIX_FMT_YUVJ420P, SWS_POINT, nullptr, nullptr, nullptr);
  const std::uint8_t* source[4] = {m_rgb.data(), nullptr, nullptr, nullptr};
  const int stride[4] = {m_width * 3, 0, 0, 0};
  sws_scale(context, source, stride, 0, m_height, m_frame->data, m_frame->linesize);
  sws_freeContext(context);
  ++m_frame->pts;
  if (avcodec_send_frame(m_jpeg, m_frame) == 0 && avcodec_receive_packet(m_jpeg, m_packet) == 0) {
    m_picture.assign(m_packet->data, m_packet->data + m_packet->size);
    av_packet_unref(m_packet);
  }
}

}  // namespace support
