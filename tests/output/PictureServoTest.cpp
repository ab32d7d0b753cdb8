#include "output/PictureServo.h"

#include <gtest/gtest.h>

namespace {

using output::PictureServo;

// What a second of looks gives, all of that distance but one.
int Second(PictureServo* servo, std::int64_t behindMs, std::int64_t once) {
  int found = 0;
  for (int i = 0; i < PictureServo::kLooks; ++i) {
    const int correction = servo->Look(i == 7 ? once : behindMs);
    EXPECT_TRUE(correction == 0 || i == PictureServo::kLooks - 1) << i;
    found = correction;
  }
  return found;
}

TEST(PictureServo, CorrectsWhatHasStoodForASecond) {
  PictureServo servo;
  struct Case {
    std::int64_t behindMs;
    int correction;
  };
  for (const Case& c :
       {Case{0, 0}, Case{59, 0}, Case{60, 1}, Case{80, 2}, Case{400, 10}, Case{999, 24},
        Case{60000, 25}, Case{-59, 0}, Case{-60, -1}, Case{-4000, -1}}) {
    EXPECT_EQ(Second(&servo, c.behindMs, c.behindMs), c.correction) << c.behindMs;
  }
}

TEST(PictureServo, ABusyMomentIsNothing) {
  PictureServo servo;
  EXPECT_EQ(Second(&servo, 0, 400), 0);
  EXPECT_EQ(Second(&servo, 0, -400), 0);
  EXPECT_EQ(Second(&servo, 400, 0), 0);
  EXPECT_EQ(Second(&servo, -400, 0), 0);
  // And leaves nothing behind.
  EXPECT_EQ(Second(&servo, 100, 100), 2);
}

}  // namespace
