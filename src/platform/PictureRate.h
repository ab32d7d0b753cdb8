// The one rate of pictures, out of the capture layer and between all nodes, and the gap above which
// a thread that keeps it was not late but suspended.
#ifndef ORVANE_PLATFORM_PICTURERATE_H
#define ORVANE_PLATFORM_PICTURERATE_H

#include <cstdint>

namespace platform {

inline constexpr int kPicturesPerSecond = 25;
inline constexpr int kPictureMs = 1000 / kPicturesPerSecond;
inline constexpr std::int64_t kPictureUs = std::int64_t{kPictureMs} * 1000;

// Gap between two turns of a paced thread above which it was suspended, in milliseconds.
inline constexpr std::uint32_t kSuspendedMs = 3000;

}  // namespace platform

#endif
