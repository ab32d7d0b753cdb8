// The desktop: the whole screen of the X display that the program runs on, 25 pictures a second,
// cursor drawn. Bgr0 pictures of the screen's size; where that changes (another monitor, another
// mode) they follow with the next picture.
//
// Pictures that are black though the screen is on go on like all others, and are told as filling
// (IsFiller): that is what an X server gives that only stands in for another desktop, and nobody
// may take it for one.
//
// Whoever talks to an X server that is stopped waits for it without limit, and libavdevice's input
// can't be interrupted. So each open desktop has a thread of its own ("desktop") that does all the
// talking, and the reader waits for that thread with a limit: a picture is at hand when it was
// grabbed, at most one is kept. A thread that the server keeps waiting is left behind at the
// closing and ends, with its connection, when the server answers or dies.
//
// Failure: no display, or none that answers in time, is told at the opening; the end of the X
// server is a read error. A black screen is told in the log after 3 s, and that it is over.
// Threads: as CaptureStream.
#ifndef ORVANE_PLATFORM_LINUX_X11DESKTOP_H
#define ORVANE_PLATFORM_LINUX_X11DESKTOP_H

#include "platform/CaptureLayer.h"

namespace platform {

// The display that DISPLAY names.
OpenResult OpenX11Desktop();

}  // namespace platform

#endif
