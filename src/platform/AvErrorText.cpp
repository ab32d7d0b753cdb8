#include "platform/AvErrorText.h"

#include <cstdint>

extern "C" {
#include <libavutil/error.h>
}

namespace platform {

std::string AvErrorText(int error) {
  char text[AV_ERROR_MAX_STRING_SIZE] = "";
  av_strerror(error, text, sizeof text);
  return text;
}

}  // namespace platform
