#include "media/Doorbell.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace {

using std::chrono::hours;
using std::chrono::milliseconds;

TEST(Doorbell, ARingThatNobodyWaitedForIsNotLost) {
  media::Doorbell bell;
  bell.Ring();
  bell.Ring();
  bell.Await(hours(1));
}

TEST(Doorbell, OneWaitTakesAllRingsBeforeIt) {
  media::Doorbell bell;
  bell.Ring();
  bell.Ring();
  bell.Await(hours(1));
  const auto begin = std::chrono::steady_clock::now();
  bell.Await(milliseconds(20));
  EXPECT_GE(std::chrono::steady_clock::now() - begin, milliseconds(20));
}

TEST(Doorbell, WakesTheOneThatWaits) {
  media::Doorbell bell;
  std::atomic<int> woken{0};
  std::thread waiting([&] {
    for (int i = 0; i < 100; ++i) {
      bell.Await(hours(1));
      ++woken;
    }
  });
  for (int i = 0; i < 100; ++i) {
    bell.Ring();
    while (woken <= i) {
      std::this_thread::yield();
    }
  }
  waiting.join();
  EXPECT_EQ(100, woken);
}

}  // namespace
