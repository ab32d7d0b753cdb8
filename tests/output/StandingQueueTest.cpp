#include "output/StandingQueue.h"

#include <gtest/gtest.h>

namespace {

using output::StandingQueue;

// How many are found in that many looks at a queue of that length.
int Found(StandingQueue* queue, int length, int looks) {
  int found = 0;
  for (int i = 0; i < looks; ++i) {
    found += queue->HasTooMany(length) ? 1 : 0;
  }
  return found;
}

TEST(StandingQueue, LosesOneInTwoSecondsWhileItIsTooLong) {
  StandingQueue queue;
  EXPECT_EQ(Found(&queue, 3, 49), 0);
  EXPECT_EQ(Found(&queue, 3, 1), 1);
  EXPECT_EQ(Found(&queue, 7, 49), 0);
  EXPECT_EQ(Found(&queue, 7, 1), 1);
}

TEST(StandingQueue, WhatIsNeededStays) {
  StandingQueue queue;
  EXPECT_EQ(Found(&queue, 1, 1000), 0);
  EXPECT_EQ(Found(&queue, 2, 1000), 0);
}

TEST(StandingQueue, AMomentAtItsLengthIsEnough) {
  StandingQueue queue;
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(Found(&queue, 5, 49), 0);
    EXPECT_EQ(Found(&queue, 2, 1), 0);
  }
}

}  // namespace
