#include "media/ffmpeg/ErrorText.h"

#include <cstdint>

extern "C" {
#include <libavutil/error.h>
}

namespace ffmpeg {

std::string ErrorText(int error) {
  char text[AV_ERROR_MAX_STRING_SIZE] = "";
  av_strerror(error, text, sizeof text);
  return text;
}

}  // namespace ffmpeg
