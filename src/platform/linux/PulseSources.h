// The microphones that a sound server has, asked for once.
#ifndef ORVANE_PLATFORM_LINUX_PULSESOURCES_H
#define ORVANE_PLATFORM_LINUX_PULSESOURCES_H

#include <string>
#include <vector>

#include "platform/linux/MicrophoneNames.h"

namespace platform {

// Fills sources with those that monitor no output, the default one first, the others in the
// server's order. False with the cause when no server answers within that time. Any thread.
bool QueryPulseSources(int timeoutMs, std::vector<SoundSource>* sources, std::string* cause);

}  // namespace platform

#endif
