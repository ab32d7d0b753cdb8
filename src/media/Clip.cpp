#include "media/Clip.h"

#include <algorithm>

namespace media {

Span ClipSpan(int canvasLength, int imageLength, int offset) {
  if (offset <= -imageLength || offset >= canvasLength) {
    return {0, 0, 0};
  }
  if (offset < 0) {
    return {-offset, 0, std::min(canvasLength, imageLength + offset)};
  }
  return {0, offset, std::min(imageLength, canvasLength - offset)};
}

}  // namespace media
