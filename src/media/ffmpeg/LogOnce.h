// One line in the log for a fault that would else be told of each frame, for hours.
//
// Threads: one.
#ifndef ORVANE_MEDIA_FFMPEG_LOGONCE_H
#define ORVANE_MEDIA_FFMPEG_LOGONCE_H

#include <string>
#include <utility>

extern "C" {
#include <libavutil/log.h>
}

#include "media/ffmpeg/ErrorText.h"

namespace ffmpeg {

class LogOnce {
 public:
  // whose: such as 'media file "a.mp4"'. error: a negative AVERROR.
  void Tell(const std::string& whose, const char* what, int error) {
    if (!std::exchange(m_told, true)) {
      av_log(nullptr, AV_LOG_ERROR, "%s: %s: %s\n", whose.c_str(), what, ErrorText(error).c_str());
    }
  }

 private:
  bool m_told = false;
};

}  // namespace ffmpeg

#endif
