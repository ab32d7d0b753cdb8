// A size in pixels.
#ifndef ORVANE_PLATFORM_SIZE_H
#define ORVANE_PLATFORM_SIZE_H

namespace platform {

struct Size {
  int width = 0;
  int height = 0;
  bool operator==(const Size& other) const {
    return width == other.width && height == other.height;
  }
  bool operator!=(const Size& other) const { return !(*this == other); }
};

}  // namespace platform

#endif
