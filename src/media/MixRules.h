// Which inputs are in a mix: the rules by which they join and leave it, and the order in which the
// mixer reads them. The flags are indexed by position, one for each possible input; set means that
// the input is in the mix.
#ifndef ORVANE_MEDIA_MIXRULES_H
#define ORVANE_MEDIA_MIXRULES_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace media {

using MixFlags = std::vector<std::atomic<bool>>;

// An input joins when more frames than these wait in its queue: about half a second of sound, so
// that it does not run dry at once.
constexpr int kFramesToJoin = 25;
// It leaves when its last frame is older than that of input 0 by more than this.
constexpr std::int64_t kMaxLagMs = 1000;

// Clears flag i for each graph input i from 1 up whose last frame lags behind that of input 0, and
// returns the number of these inputs, flags that were clear already included. lastPts: the pts of
// the last frame of each graph input.
int EvictLagging(const std::vector<std::int64_t>& lastPts, MixFlags* active);

// An input that is not in the mix and has that many frames queued joins it now.
bool Joins(bool active, int queued);

// Number of set flags below position.
int RankOf(const MixFlags& active, std::size_t position);

// The lowest position whose flag is clear, -1 when there is none.
int FirstFree(const MixFlags& active);

}  // namespace media

#endif
