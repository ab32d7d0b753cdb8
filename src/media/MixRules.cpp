#include "media/MixRules.h"

#include <algorithm>

extern "C" {
#include <libavutil/common.h>
}

namespace media {

int EvictLagging(const std::vector<std::int64_t>& lastPts, MixFlags* active) {
  int evicted = 0;
  for (std::size_t i = 1; i < lastPts.size(); ++i) {
    if (av_sat_add64(lastPts[i], kMaxLagMs) < lastPts[0]) {
      ++evicted;
      if (i < active->size()) {
        (*active)[i] = false;
      }
    }
  }
  return evicted;
}

bool Joins(bool active, int queued) {
  return !active && queued > kFramesToJoin;
}

int RankOf(const MixFlags& active, std::size_t position) {
  const auto end = active.begin() + static_cast<MixFlags::difference_type>(position);
  return static_cast<int>(std::count_if(active.begin(), end,
                                        [](const std::atomic<bool>& flag) { return flag.load(); }));
}

int FirstFree(const MixFlags& active) {
  const auto free = std::find_if(active.begin(), active.end(),
                                 [](const std::atomic<bool>& flag) { return !flag.load(); });
  return free == active.end() ? -1 : static_cast<int>(free - active.begin());
}

}  // namespace media
