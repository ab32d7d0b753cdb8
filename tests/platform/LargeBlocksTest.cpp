// Against the C library itself: not in the sanitizer builds, which bring an allocator of their own.
#include "platform/linux/LargeBlocks.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstddef>
#include <vector>

namespace {

constexpr std::size_t kCanvas = 1920U * 1080U * 3U;

TEST(LargeBlocks, AFreedPictureGoesBackToTheSystemHoweverManyWereFreedBefore) {
  platform::GiveLargeBlocksBack();
  const std::size_t before = mallinfo2().hblkhd;
  for (int i = 0; i < 3; ++i) {
    const std::vector<char> picture(kCanvas, 1);
    EXPECT_GE(mallinfo2().hblkhd, before + kCanvas);
  }
  EXPECT_EQ(mallinfo2().hblkhd, before);
}

}  // namespace
