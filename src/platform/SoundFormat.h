// The one format of sound, out of the capture layer and between all nodes: 48000 samples a second,
// stereo, signed 16-bit, interleaved.
#ifndef ORVANE_PLATFORM_SOUNDFORMAT_H
#define ORVANE_PLATFORM_SOUNDFORMAT_H

#include <cstdint>

namespace platform {

inline constexpr int kSoundRate = 48000;
inline constexpr int kSoundChannels = 2;
// Of one sample of each channel.
inline constexpr int kSoundFrameBytes = kSoundChannels * static_cast<int>(sizeof(std::int16_t));

// So long a capture holds sound back that comes in time: from the moment at which it is heard to
// its reaching the encoder 10 to 20 ms more pass, until its block is complete and the reader polls.
// As much as stays under 100 ms, for two reasons. The picture takes longer still on its way through
// the compositor, so a shorter hold would move the sound further ahead of it. And a block may come
// 55 ms late before it is missed.
inline constexpr int kSoundHoldMs = 73;

}  // namespace platform

#endif
