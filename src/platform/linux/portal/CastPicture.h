// Pictures of a shared screen, and the memory that they use again.
//
// Flow: Take gives a picture of that size with uninitialised pixels; it is filled by whoever took
// it and then only read, by anybody, through references. With the last of them its memory goes
// back, so that no picture costs fresh pages. A change of size gives the spare memory of the former
// one back to the system. Few are ever out at once (one newest, one on its way, one being read), so
// no more than kSpare are kept.
//
// Ownership: references may outlive the pool. Threads: one calls Take; references are dropped on
// any thread.
#ifndef ORVANE_PLATFORM_LINUX_PORTAL_CASTPICTURE_H
#define ORVANE_PLATFORM_LINUX_PORTAL_CASTPICTURE_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/Size.h"

namespace platform {

// Packed rows of 32-bit pixels: blue in the lowest byte, green, red, and one that means nothing.
struct CastPicture {
  std::uint8_t* data = nullptr;  // of bytes, and FFmpeg's padding behind them
  std::size_t bytes = 0;
  Size size;
};

using CastPictureRef = std::shared_ptr<const CastPicture>;

class CastPictures {
 public:
  static constexpr std::size_t kSpare = 4;

  CastPictures();
  ~CastPictures();
  CastPictures(const CastPictures&) = delete;
  CastPictures& operator=(const CastPictures&) = delete;

  // size: as IsCastSize wants it. Null when there is no memory.
  std::shared_ptr<CastPicture> Take(const Size& size);

 private:
  class Kept;
  std::shared_ptr<Kept> m_kept;
};

}  // namespace platform

#endif
