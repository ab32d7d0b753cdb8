// Scaling of packed RGB: what every captured screen, camera and film of another size than its layer
// goes through 25 times a second.
//
// Bilinear, in 8 bits from end to end, by libyuv: the two rows that an output row lies between are
// blended, and the blend is scaled across. swscale's fast bilinear takes the same pixels, but each
// of them to YUV and back, which is nine times the work. A few rows at a time: nothing of the
// picture's size stands between source and target, and rows that no output row needs are not read.
//
// Threads: one instance belongs to one thread. It keeps its rows between two pictures.
#ifndef ORVANE_MEDIA_FFMPEG_RGBSCALE_H
#define ORVANE_MEDIA_FFMPEG_RGBSCALE_H

#include <cstdint>
#include <vector>

struct AVFrame;

namespace ffmpeg {

class RgbScale {
 public:
  // Whether pictures of that format can be scaled here: RGB24, BGR0 and BGRA.
  static bool Takes(int format);

  // source: of a format that Takes; target: RGB24; both well formed. False: no memory.
  bool Scale(const AVFrame* source, AVFrame* target);

 private:
  void BlendRow(const AVFrame* source, std::int64_t at, std::uint8_t* pixels);

  std::vector<std::uint8_t> m_blend;   // one row of RGB24
  std::vector<std::uint8_t> m_rows;    // blended ones, four bytes a pixel
  std::vector<std::uint8_t> m_scaled;  // the same at the target's width
};

}  // namespace ffmpeg

#endif
