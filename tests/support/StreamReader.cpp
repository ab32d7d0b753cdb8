#include "support/StreamReader.h"

#include <chrono>
#include <cstdlib>
#include <thread>

extern "C" {
#include <libswscale/swscale.h>
}

namespace support {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

CameraColour RgbPicture::At(int x, int y) const {
  const std::uint8_t* pixel =
      rgb.data() + Stride() * static_cast<std::size_t>(y) + 3 * static_cast<std::size_t>(x);
  return {pixel[0], pixel[1], pixel[2]};
}

bool Near(const CameraColour& left, const CameraColour& right, int tolerance) {
  return std::abs(left.red - right.red) <= tolerance &&
         std::abs(left.green - right.green) <= tolerance &&
         std::abs(left.blue - right.blue) <= tolerance;
}

StreamReader::StreamReader(platform::CaptureStream* stream, platform::CaptureKind kind)
    : m_stream(stream), m_kind(kind), m_packet(av_packet_alloc()), m_frame(av_frame_alloc()) {}

StreamReader::~StreamReader() {
  av_packet_free(&m_packet);
  av_frame_free(&m_frame);
  avcodec_free_context(&m_decoder);
}

int StreamReader::Next(int timeoutMs) {
  const auto end = steady_clock::now() + milliseconds(timeoutMs);
  av_packet_unref(m_packet);
  for (;;) {
    const int result = m_stream->Read(m_packet);
    if (result != AVERROR(EAGAIN) || steady_clock::now() >= end) {
      return result;
    }
    std::this_thread::sleep_for(milliseconds(2));
  }
}

int StreamReader::Drain() {
  int packets = 0;
  while (Next(0) == 0) {
    ++packets;
  }
  return packets;
}

bool StreamReader::OpenDecoder() {
  platform::StreamInfo info;
  if (!m_stream->FindStream(m_kind, &info)) {
    return false;
  }
  m_decoder = avcodec_alloc_context3(avcodec_find_decoder(info.parameters->codec_id));
  return avcodec_parameters_to_context(m_decoder, info.parameters) >= 0 &&
         avcodec_open2(m_decoder, nullptr, nullptr) >= 0;
}

bool StreamReader::Decode(RgbPicture* picture) {
  if (avcodec_send_packet(m_decoder, m_packet) < 0 ||
      avcodec_receive_frame(m_decoder, m_frame) < 0) {
    return false;
  }
  picture->width = m_frame->width;
  picture->height = m_frame->height;
  picture->delivered = static_cast<AVPixelFormat>(m_frame->format);
  picture->rgb.resize(picture->Stride() * static_cast<std::size_t>(picture->height));
  SwsContext* context = sws_getContext(m_frame->width, m_frame->height, picture->delivered,
                                       m_frame->width, m_frame->height, AV_PIX_FMT_RGB24,
                                       SWS_POINT | SWS_ACCURATE_RND, nullptr, nullptr, nullptr);
  std::uint8_t* planes[4] = {picture->rgb.data(), nullptr, nullptr, nullptr};
  const int strides[4] = {static_cast<int>(picture->Stride()), 0, 0, 0};
  sws_scale(context, m_frame->data, m_frame->linesize, 0, m_frame->height, planes, strides);
  sws_freeContext(context);
  av_frame_unref(m_frame);
  return true;
}

bool StreamReader::NextPicture(RgbPicture* picture, int timeoutMs) {
  if (m_decoder == nullptr && !OpenDecoder()) {
    return false;
  }
  while (Next(timeoutMs) == 0) {
    if (Decode(picture)) {
      return true;
    }
  }
  return false;
}

}  // namespace support
