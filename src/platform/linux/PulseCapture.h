// Sound capture from PulseAudio, or from PipeWire's server of the same protocol: what the machine
// plays, and the microphones.
//
// Flow: ListPulseMicrophones gives the names to choose from; OpenPulseStream opens one of them, or
// kSystemSoundName, which means the monitor of the default output and follows when the user makes
// another one the default. ListenToPulse hears the same, in blocks of 25 ms as they come, without
// keeping an idle output awake.
//
// The stream is PCM S16LE, stereo, 48000 Hz, in packets of 10 ms; the time base of its packets is
// 1/48000. It never runs dry: from open to close it gives 48000 sample frames for each second of
// CLOCK_MONOTONIC. While the source is suspended, unplugged, idle or late, or the server gone or
// frozen, they are silence; the sound comes back by itself and in step. Read gives AVERROR(EAGAIN)
// while the next packet is not due and no other failure.
//
// Latency: what is heard or said at time t leaves the stream as the samples for time t plus a fixed
// time, kHoldUs of ContinuousSound.h, which also says why.
//
// Ownership and threads: as in CaptureLayer.h. Each open stream and each listener has a connection
// and a thread ("pulse") of its own, which end with it. The functions may be called from any
// thread, one at a time.
//
// Time and failure: all are called on the user interface thread, and a server may be frozen, so
// none waits for more than 0.1 s, and ListenToPulse not at all. Without a server the list is empty
// and opening fails. With one that doesn't answer the list is the one that it gave last, and
// opening gives a stream that is silent until the server answers. Closing takes a few milliseconds
// in every state.
#ifndef ORVANE_PLATFORM_LINUX_PULSECAPTURE_H
#define ORVANE_PLATFORM_LINUX_PULSECAPTURE_H

#include <memory>
#include <string>
#include <vector>

#include "platform/CaptureLayer.h"

namespace platform {

// How long a caller waits for the list, and for an opening: a server that works takes 5 to 20 ms.
inline constexpr int kPulseListMs = 50;
inline constexpr int kPulseOpenMs = 45;

// The sources that monitor no output, the server's default one first. Descriptions in UTF-8, made
// unique where two are equal; a name means the same source for the life of the process.
std::vector<std::string> ListPulseMicrophones(int waitMs = kPulseListMs);
// Begins to ask for them, and returns at once.
void PreparePulseMicrophones();

// What the server calls a listed microphone; empty for a name that nobody knows.
std::string FindPulseMicrophone(const std::string& name, int waitMs = kPulseListMs);

// name: kSystemSoundName or a listed microphone.
OpenResult OpenPulseStream(const std::string& name, int waitMs = kPulseOpenMs);

// The same names. What was not heard for 4 s, nobody having taken it, is forgotten.
std::unique_ptr<SoundListener> ListenToPulse(const std::string& name);

}  // namespace platform

#endif
