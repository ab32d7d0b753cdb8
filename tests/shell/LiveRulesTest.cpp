#include "shell/LiveRules.h"

#include <gtest/gtest.h>

namespace {

TEST(LiveRules, AnAddressThatHoldsRtmpAnywhereCanBePublishedTo) {
  for (const char* address : {"rtmp://127.0.0.1/live/key", "rtmps://a/b", "x rtmp", "RTMP rtmp"}) {
    EXPECT_TRUE(shell::CanPublish(address)) << address;
  }
}

TEST(LiveRules, AnyOtherAddressCanNot) {
  for (const char* address : {"", "RTMP://127.0.0.1/live", "http://127.0.0.1/live.flv", "rtm p"}) {
    EXPECT_FALSE(shell::CanPublish(address)) << address;
  }
}

TEST(LiveRules, TheQualityGivesTheSizeOfTheStream) {
  EXPECT_EQ(shell::StreamSize(0), QSize(960, 540));
  EXPECT_EQ(shell::StreamSize(1), QSize(1280, 720));
  for (const int quality : {2, 3, -1, 1000}) {
    EXPECT_EQ(shell::StreamSize(quality), QSize(1920, 1080)) << quality;
  }
}

}  // namespace
