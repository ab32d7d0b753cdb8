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

}  // namespace platform

#endif
