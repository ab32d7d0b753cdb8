// Brings up the media libraries that need it, once, on the user interface thread, before any node
// is made. Results are not looked at: each library refuses the call that needs it later, where the
// failure can be named.
#ifndef ORVANE_SHELL_LIBRARIES_H
#define ORVANE_SHELL_LIBRARIES_H

namespace shell {

// What the C library and Qt have to be told before the application object is made.
void PrepareProcess();

void StartLibraries();

// SDL's timer, sound and video. False when not all of them came up; what the machine has is up all
// the same, so that one without sound still shows its preview.
bool StartSdl();

}  // namespace shell

#endif
