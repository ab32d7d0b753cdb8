// FFmpeg's words for its errors, where FFmpeg is at home.
#ifndef ORVANE_MEDIA_FFMPEG_ERRORTEXT_H
#define ORVANE_MEDIA_FFMPEG_ERRORTEXT_H

#include <string>

#include "platform/AvErrorText.h"

namespace ffmpeg {

inline std::string ErrorText(int error) {
  return platform::AvErrorText(error);
}

}  // namespace ffmpeg

#endif
