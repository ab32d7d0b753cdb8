// What a buffer of PipeWire's holds of a shared screen: where its pixels lie, as CastLayout judges
// what the buffer says, and how they stand.
//
// What the buffer lists (its memories, its notes) is PipeWire's own and stays while the buffer is
// at hand. The numbers behind it lie in memory that another program may write at any moment: each
// is read once, and judged as it was read.
//
// Taken are files that are mapped, and memory that PipeWire has made itself. Buffers of a graphics
// card are not offered, and not taken: how long one of them is nothing here can look at.
//
// Ownership: a view points into the buffer and is over with it. Pure; any thread.
#ifndef ORVANE_PLATFORM_LINUX_PORTAL_CASTVIEW_H
#define ORVANE_PLATFORM_LINUX_PORTAL_CASTVIEW_H

#include <spa/buffer/buffer.h>

#include <cstdint>

#include "platform/Size.h"
#include "platform/linux/portal/CastLayout.h"
#include "platform/linux/portal/CastTurn.h"

namespace platform {

struct CastMemory {
  const std::uint8_t* mapped = nullptr;
  int file = -1;                // that is mapped there; -1: a part of a block of PipeWire's
  std::int64_t fileOffset = 0;  // where in it the mapping begins
};

struct CastView {
  CastMemory memory;
  CastLayout layout;  // as the picture lies
  CastTurn turn = CastTurn::None;
};

// size: of the format that was agreed on. None, and the view, when there is a picture.
CastFault ViewCast(const spa_buffer& buffer, const Size& size, CastView* view);

}  // namespace platform

#endif
