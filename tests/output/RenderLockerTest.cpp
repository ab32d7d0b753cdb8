// What the renderer's locks are held to, in the sanitizer builds.
#include "output/RenderLocker.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

TEST(RenderLocker, LocksFollowEachOtherAndEachThreadHasItsOwn) {
  media::Mutex first;
  media::Mutex second;
  for (int i = 0; i < 3; ++i) {
    { const output::RenderLocker lock(&first); }
    const output::RenderLocker lock(&second);
    std::thread([&] { const output::RenderLocker other(&first); }).join();
  }
}

TEST(RenderLocker, NoTwoAreHeldAtOnce) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        media::Mutex first;
        media::Mutex second;
        const output::RenderLocker outer(&first);
        const output::RenderLocker inner(&second);
      },
      "no two of the renderer's locks are held at once");
}

}  // namespace
