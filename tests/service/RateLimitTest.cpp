#include "service/RateLimit.h"

#include <gtest/gtest.h>

using service::LoginLimit;
using service::RecentCallers;
using service::RequestLimit;

TEST(RateLimitRequests, AllowsABurstOfTwiceTheRateAndThenTheRate) {
  RequestLimit limit(10);
  const struct {
    std::int64_t atMs;
    int asked;
    int allowed;
  } steps[] = {{0, 30, 20}, {100, 5, 1}, {600, 10, 5}, {600, 1, 0}, {100000, 30, 20}};
  for (const auto& step : steps) {
    int allowed = 0;
    for (int i = 0; i < step.asked; ++i) {
      allowed += limit.Allow("caller", step.atMs) ? 1 : 0;
    }
    EXPECT_EQ(allowed, step.allowed) << "at " << step.atMs;
  }
  EXPECT_TRUE(limit.Allow("another", 100000));
}

TEST(RateLimitRequests, ATimeThatGoesBackGivesNothing) {
  RequestLimit limit(1);
  EXPECT_TRUE(limit.Allow("c", 5000));
  EXPECT_TRUE(limit.Allow("c", 5000));
  EXPECT_FALSE(limit.Allow("c", 1000));
  EXPECT_FALSE(limit.Allow("c", 5000));
  EXPECT_TRUE(limit.Allow("c", 6000));
}

TEST(RateLimitLogins, RefusesAfterSoManyFailuresUntilTheWindowHasPassed) {
  LoginLimit limit(3);
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(limit.Allow("c", 1000));
    limit.Failed("c", 1000 + i);
  }
  EXPECT_FALSE(limit.Allow("c", 1003));
  EXPECT_TRUE(limit.Allow("another", 1003));
  EXPECT_FALSE(limit.Allow("c", 1000 + LoginLimit::kWindowMs - 1));
  EXPECT_TRUE(limit.Allow("c", 1000 + LoginLimit::kWindowMs));
}

TEST(RateLimitLogins, ASuccessForgetsTheFailures) {
  LoginLimit limit(2);
  limit.Failed("c", 1);
  limit.Succeeded("c");
  limit.Failed("c", 2);
  EXPECT_TRUE(limit.Allow("c", 3));
}

TEST(RateLimitCallers, ForgetsTheOneSeenLongestAgo) {
  RecentCallers<int> callers;
  for (int i = 0; i < RecentCallers<int>::kMaxEntries; ++i) {
    callers.Find(std::to_string(i)) = 1;
  }
  callers.Find("0");
  callers.Find("new");
  EXPECT_EQ(callers.Size(), RecentCallers<int>::kMaxEntries);
  EXPECT_EQ(callers.Find("0"), 1);
  EXPECT_EQ(callers.Find("1"), 0);
}
