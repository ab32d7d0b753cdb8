// What tells a decoder of raw pictures that from this packet on they have another size.
#ifndef ORVANE_PLATFORM_LINUX_SIZECHANGE_H
#define ORVANE_PLATFORM_LINUX_SIZECHANGE_H

#include "platform/Size.h"

extern "C" {
#include <libavcodec/packet.h>
}

namespace platform {

// False where there is no memory for it; the packet is then as it was.
bool TellSize(AVPacket* packet, Size size);

}  // namespace platform

#endif
