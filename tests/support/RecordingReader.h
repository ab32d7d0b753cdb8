// Demuxing and decoding of one file from its start; a part of Recording.
#ifndef ORVANE_TESTS_SUPPORT_RECORDINGREADER_H
#define ORVANE_TESTS_SUPPORT_RECORDINGREADER_H

#include <cstdint>
#include <functional>
#include <string>

extern "C" {
#include <libavformat/avformat.h>
}

#include "media/ffmpeg/Scoped.h"

namespace support {

class RecordingReader {
 public:
  explicit RecordingReader(const std::string& path);

  const std::string& Error() const { return m_error; }
  int StreamCount() const;
  const AVStream* StreamAt(int index) const;
  // Lent until the next call; null at the end.
  const AVPacket* Next();
  // Decodes what is left of the first stream of that kind.
  void Decode(AVMediaType kind, const std::function<void(const AVFrame&, std::int64_t ms)>& look);

 private:
  ffmpeg::ScopedInput m_input;
  ffmpeg::ScopedPacket m_packet;
  std::string m_error;
};

}  // namespace support

#endif
