// The desktop: the whole screen of the X display that the program runs on, 25 pictures a second,
// cursor drawn. Bgr0 pictures of the screen's size.
//
// A read waits for at most one frame. The end of the X server is a read error. Threads: as
// CaptureStream.
#ifndef ORVANE_PLATFORM_LINUX_X11DESKTOP_H
#define ORVANE_PLATFORM_LINUX_X11DESKTOP_H

#include "platform/CaptureLayer.h"

namespace platform {

// The display that DISPLAY names. Without one the cause says so.
OpenResult OpenX11Desktop();

}  // namespace platform

#endif
