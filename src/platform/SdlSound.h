// SDL's sound, set up on a thread of its own ("sdl-sound"): its driver waits for the sound server
// without any limit, and a server may be frozen.
//
// Threads: StartSdlSound once, on the user interface thread, when SDL's other subsystems are set
// up; AwaitSdlSound on any thread.
#ifndef ORVANE_PLATFORM_SDLSOUND_H
#define ORVANE_PLATFORM_SDLSOUND_H

#include <string>

namespace platform {

// Begins, and waits for up to waitMs. False with the error when it has failed by then; a set-up
// that is still under way goes on.
bool StartSdlSound(int waitMs, std::string* error);

// Returns when no set-up is under way; with a frozen sound server it may take for ever.
void AwaitSdlSound();

}  // namespace platform

#endif
