// What every user of SDL's video in this process shares.
//
// SDL was made for one thread that creates its windows, draws in them and pumps their events. Here
// each preview draws on a thread of its own, and the user interface thread pumps. So all of them
// hold one mutex: while they create or destroy windows and renderers, while they draw, and while
// they pump.
#ifndef ORVANE_PLATFORM_SDLVIDEO_H
#define ORVANE_PLATFORM_SDLVIDEO_H

#include "platform/Lock.h"

namespace platform {

// Held for one drawing of one window at most; never while waiting for anything but the X server.
Mutex& SdlVideoMutex();

// Takes what SDL has collected and throws it away. SDL selects the input events of the windows that
// it draws in, so that without this the memory grows with every move of the mouse. User interface
// thread, from a timer. Does nothing where SDL has no video, or while a preview is drawing: the
// user interface never waits for one.
void FlushSdlEvents();

}  // namespace platform

#endif
