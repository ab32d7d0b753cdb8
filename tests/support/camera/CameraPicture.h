// The pictures of the camera stand-in in the formats that cameras give.
//
// Threads: one.
#ifndef ORVANE_TESTS_SUPPORT_CAMERA_CAMERAPICTURE_H
#define ORVANE_TESTS_SUPPORT_CAMERA_CAMERAPICTURE_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "support/CameraPattern.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace support {

class CameraPicture {
 public:
  // pixelFormat: V4L2_PIX_FMT_YUYV, _RGB24 or _MJPEG.
  CameraPicture(std::uint32_t pixelFormat, int width, int height, const CameraColour& background);
  ~CameraPicture();
  CameraPicture(const CameraPicture&) = delete;
  CameraPicture& operator=(const CameraPicture&) = delete;

  std::size_t RowBytes() const;  // 0 for compressed formats
  std::size_t LargestBytes() const;
  // Frame number frame as the camera sends it; valid until the next call. With a clock it shows
  // this moment at its top, and no number.
  const std::vector<std::uint8_t>& Make(unsigned frame);
  void ShowClock() { m_clock = true; }

 private:
  void PaintClock();
  void ToYuyv();
  void ToJpeg();
  bool OpenJpeg();

  const std::uint32_t m_pixelFormat;
  const int m_width;
  const int m_height;
  const CameraColour m_background;
  bool m_clock = false;
  std::vector<std::uint8_t> m_rgb;
  std::vector<std::uint8_t> m_picture;
  AVCodecContext* m_jpeg = nullptr;
  AVFrame* m_frame = nullptr;
  AVPacket* m_packet = nullptr;
};

}  // namespace support

#endif
