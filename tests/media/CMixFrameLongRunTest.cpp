// An hour of sound through the mixer, as fast as it goes.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "media/MixerRig.h"

namespace {

long ResidentKb() {
  long pages = 0;
  long resident = 0;
  std::ifstream("/proc/self/statm") >> pages >> resident;
  return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

}  // namespace

TEST(CMixFrameLongRun, AnHourKeepsMemoryFlatAndTimeGoingForward) {
  constexpr int kFramesPerMinute = 60000 / MixerRig::kFrameMs;
  MixerRig rig;
  rig.Join(0);
  rig.Join(1);
  std::int64_t last = -1;
  long mixed = 0;
  long early = 0;
  for (int minute = 0; minute < 60; ++minute) {
    for (int i = 0; i < kFramesPerMinute; ++i) {
      // A layer comes and goes twice a minute.
      if (i == 500 || i == 2000) {
        rig.Join(2);
      }
      const bool third = (i > 500 && i < 1200) || i > 2000;
      rig.Step(third ? std::vector<int>{0, 1, 2} : std::vector<int>{0, 1});
      for (const std::int64_t pts : rig.TakeMixed()) {
        ASSERT_GT(pts, last);
        last = pts;
        ++mixed;
      }
    }
    if (minute == 5) {
      early = ResidentKb();
    }
  }
  EXPECT_LE(ResidentKb() - early, 4096);
  // All but what the rebuilds cost.
  EXPECT_GT(mixed, 60L * kFramesPerMinute * 95 / 100);
}
