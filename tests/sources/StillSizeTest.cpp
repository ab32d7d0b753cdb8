#include "sources/StillSize.h"

#include <gtest/gtest.h>

namespace {

using platform::Size;

constexpr Size kCanvas{1920, 1080};

TEST(StillSize, WhatTheSceneCanShowStaysAsItIs) {
  for (const Size& size : {Size{1, 1}, Size{1920, 1080}, Size{3840, 2160}, Size{2160, 3840},
                           Size{100'000, 80}, Size{0, 0}}) {
    EXPECT_EQ(sources::KeptSize(size, kCanvas), size) << size.width << "x" << size.height;
  }
}

TEST(StillSize, APhotographIsReducedInItsShape) {
  for (const Size& size :
       {Size{6000, 4000}, Size{12'000, 9000}, Size{16'320, 12'240}, Size{4000, 6000}}) {
    const Size kept = sources::KeptSize(size, kCanvas);
    const double pixels = static_cast<double>(kept.width) * kept.height;
    EXPECT_LE(pixels, 8.3e6);
    EXPECT_GE(pixels, 8.28e6);
    EXPECT_NEAR(static_cast<double>(kept.width) / kept.height,
                static_cast<double>(size.width) / size.height, 0.001);
  }
}

// The layer's first size is that of the picture, cut to the canvas.
TEST(StillSize, ALongAndNarrowOneKeepsWhatItsLayerTakesItsSizeFrom) {
  const Size wide = sources::KeptSize({200'000, 900}, kCanvas);
  EXPECT_EQ(wide.height, 900);
  EXPECT_GE(wide.width, 1920);
  EXPECT_LT(wide.width, 200'000);
  const Size high = sources::KeptSize({1500, 130'000}, kCanvas);
  EXPECT_EQ(high.width, 1500);
  EXPECT_GE(high.height, 1080);
}

}  // namespace
