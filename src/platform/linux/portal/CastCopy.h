// The one copy of a shared picture: out of its source's memory, into the program's own. One that
// lies turned there stands here.
//
// A file that is mapped may be made shorter by the program that gave it, at any moment, and a touch
// of what is then missing ends this program, however shortly before its size was looked at. So only
// a file that is sealed against that is read where it is mapped, as compositors seal theirs, after
// a look at whether it has all of the picture. Any other is read by the system, which tells of a
// missing end: straight into the picture where both lie alike, and by strips that stay in the
// processor's cache where they don't. Memory without a file lies in a block that PipeWire's daemon
// made, sealed and mapped whole.
//
// Failure: false when the memory ends before the picture does; the picture then holds anything.
// Threads: one.
#ifndef ORVANE_PLATFORM_LINUX_PORTAL_CASTCOPY_H
#define ORVANE_PLATFORM_LINUX_PORTAL_CASTCOPY_H

#include <cstdint>
#include <vector>

#include "platform/linux/portal/CastFormat.h"
#include "platform/linux/portal/CastPicture.h"
#include "platform/linux/portal/CastView.h"

namespace platform {

class CastCopy {
 public:
  // picture: of the view's size when it stands (CastTurn).
  bool Copy(const CastView& view, CastPixels pixels, CastPicture* picture);

 private:
  bool CopyStrips(const CastView& view, CastPixels pixels, CastPicture* picture);

  std::vector<std::uint8_t> m_strip;  // used again for every picture
};

}  // namespace platform

#endif
