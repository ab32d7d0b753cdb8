// The stopwatch of what promises to be quick.
#include "support/GivenTime.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "support/Process.h"

namespace {

using std::chrono::duration;
using std::chrono::steady_clock;

TEST(GivenTime, NeverCountsMoreThanHasPassed) {
  const auto begin = steady_clock::now();
  const support::GivenTime time;
  EXPECT_TRUE(support::WaitFor([&] { return time.Ms() >= 100; }, 60000));
  const int counted = time.Ms();
  const duration<double, std::milli> passed = steady_clock::now() - begin;
  EXPECT_LE(counted, passed.count());
}

// What waits for longer than it promised is found out, however busy the machine is.
TEST(GivenTime, SeesWhatHangs) {
  EXPECT_GE(support::TimeGiven([] {
              const support::GivenTime other;
              EXPECT_TRUE(support::WaitFor([&] { return other.Ms() >= 700; }, 60000));
            }),
            200);
}

}  // namespace
