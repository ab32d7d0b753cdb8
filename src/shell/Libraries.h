// Brings up the media libraries that need it, once, on the user interface thread, before any node
// is made. Each library that fails refuses the call that needs it later, where that can be named;
// only SDL's failure is told, since it costs the monitor or the preview.
#ifndef ORVANE_SHELL_LIBRARIES_H
#define ORVANE_SHELL_LIBRARIES_H

namespace shell {

// What the system, the C library and Qt have to be told before the application object is made.
void PrepareProcess();

// With the log open: it is told why SDL did not come up, if it didn't.
void StartLibraries();

// SDL's timer, sound and video. False when not all of them came up; what the machine has is up all
// the same, so that one without sound still shows its preview.
bool StartSdl();

}  // namespace shell

#endif
