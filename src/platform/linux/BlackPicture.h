// Whether a picture of a screen shows anything.
//
// A root window that nobody draws into, as that of an X server inside another desktop, is read
// without an error: it is exactly black, and only the cursor is drawn over it. So a picture counts
// as showing nothing when it is black but for one spot that may be a cursor; whether it is one, the
// screen itself can tell (X11Screen::IsBlackAt).
//
// The look costs next to nothing where something shows: some samples are read, and the whole
// picture only when they are black.
//
// BlackSpell keeps how long that has lasted. Pure, any thread.
#ifndef ORVANE_PLATFORM_LINUX_BLACKPICTURE_H
#define ORVANE_PLATFORM_LINUX_BLACKPICTURE_H

#include <cstdint>

#include "platform/Size.h"

namespace platform {

// Part of a picture: from left and top on, right and bottom not included.
struct Spot {
  int left = 0;
  int top = 0;
  int right = 0;
  int bottom = 0;
  int Width() const { return right - left; }
  int Height() const { return bottom - top; }
  bool operator==(const Spot& other) const {
    return left == other.left && top == other.top && right == other.right && bottom == other.bottom;
  }
};

// No cursor is larger, those for weak eyes included.
inline constexpr int kLargestSpot = 256;

enum class Look {
  kShows,
  kSpot,   // black but for one spot of that size at most
  kBlack,  // all of it
};

// rows: 32-bit pixels, the highest byte without a meaning, rows without a gap. *spot is set where
// there is one.
Look LookAtPicture(const std::uint8_t* rows, Size size, Spot* spot);

class BlackSpell {
 public:
  static constexpr std::int64_t kToldUs = 3000000;

  enum class Turn {
    kSame,
    kLasts,  // it has lasted for kToldUs; once in each spell
    kEnds,   // one that has been told
  };
  Turn Add(bool black, std::int64_t nowUs);

 private:
  std::int64_t m_sinceUs = -1;  // negative while there is none
  bool m_told = false;
};

}  // namespace platform

#endif
