// Reads an open capture stream to the end of a test's patience: packets as they come, or the
// pictures in them as RGB24.
//
// Threads: one.
#ifndef ORVANE_TESTS_SUPPORT_STREAMREADER_H
#define ORVANE_TESTS_SUPPORT_STREAMREADER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/CaptureLayer.h"
#include "support/CameraPattern.h"

namespace support {

struct RgbPicture {
  int width = 0;
  int height = 0;
  AVPixelFormat delivered = AV_PIX_FMT_NONE;  // as it came out of the decoder
  std::vector<std::uint8_t> rgb;

  std::size_t Stride() const { return static_cast<std::size_t>(width) * 3; }
  CameraColour At(int x, int y) const;
  int Counter() const { return ReadCameraCounter(rgb.data(), Stride(), width, height); }
  CameraColour Background() const {
    return ReadCameraBackground(rgb.data(), Stride(), width, height);
  }
};

// As near as conversion to YUV and back brings a colour.
bool Near(const CameraColour& left, const CameraColour& right, int tolerance = 6);

class StreamReader {
 public:
  // Does not own the stream.
  StreamReader(platform::CaptureStream* stream, platform::CaptureKind kind);
  ~StreamReader();
  StreamReader(const StreamReader&) = delete;
  StreamReader& operator=(const StreamReader&) = delete;

  // Polls as a node does until a read says something else than "no packet yet": 0 with the packet
  // in Packet(), an error, or AVERROR(EAGAIN) when the time is over.
  int Next(int timeoutMs = 30000);
  AVPacket* Packet() { return m_packet; }
  // Reads on until a packet gives a picture; false on an error or a time-out.
  bool NextPicture(RgbPicture* picture, int timeoutMs = 30000);
  // Reads until there is nothing more to be had at the moment; the number of packets passed over.
  int Drain();

 private:
  bool OpenDecoder();
  bool Decode(RgbPicture* picture);

  platform::CaptureStream* m_stream;
  platform::CaptureKind m_kind;
  AVPacket* m_packet;
  AVFrame* m_frame;
  AVCodecContext* m_decoder = nullptr;
};

}  // namespace support

#endif
