#include "shell/TellOrder.h"

#include <gtest/gtest.h>

namespace {

constexpr bool kAccepted = false;
constexpr bool kRefused = true;

TEST(TellOrder, WhatIsAnsweredBeforeTheNextGoesOutIsToldOnce) {
  shell::TellOrder order;
  for (const bool refused : {kAccepted, kRefused}) {
    for (const bool live : {true, false}) {
      order.Told();
      EXPECT_FALSE(order.Answered(refused, live));
    }
  }
}

TEST(TellOrder, ARefusedEndThatMayHaveOvertakenItsStartIsToldAgain) {
  shell::TellOrder order;
  order.Told();
  order.Told();
  EXPECT_FALSE(order.Answered(kRefused, false)) << "the other is still under way";
  EXPECT_TRUE(order.Answered(kAccepted, false));
}

TEST(TellOrder, EndsThatWereAllAcceptedHaveFoundTheirStarts) {
  shell::TellOrder order;
  for (int broadcast = 0; broadcast < 2; ++broadcast) {
    order.Told();
    order.Told();
    EXPECT_FALSE(order.Answered(kAccepted, false));
    EXPECT_FALSE(order.Answered(kAccepted, false));
  }
}

TEST(TellOrder, AStartThatMayHaveOvertakenTheEndBeforeItIsToldAgain) {
  shell::TellOrder order;
  order.Told();
  order.Told();
  EXPECT_FALSE(order.Answered(kAccepted, true));
  EXPECT_TRUE(order.Answered(kAccepted, true));
}

TEST(TellOrder, WhatWasToldAgainIsNotToldForEver) {
  shell::TellOrder order;
  order.Told();
  order.Told();
  order.Answered(kRefused, false);
  ASSERT_TRUE(order.Answered(kAccepted, false));
  order.Told();
  EXPECT_FALSE(order.Answered(kRefused, false));
}

}  // namespace
