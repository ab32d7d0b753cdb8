// The end of the X server, in a process of its own: SDL can't be used again after it.
#include <gtest/gtest.h>

#include "output/ScreenRig.h"

namespace {

class PreviewLoss : public support::ScreenRig {};

TEST_F(PreviewLoss, AServerThatDiesEndsTheShowAndNothingElse) {
  OpenWindow(960, 540);
  ASSERT_EQ(0, render->Start());
  AddLayer(1920, 1080, {0, 0, 255});
  ASSERT_TRUE(Shows(10, 10, 0x0000ff));
  serverGone = true;
  desktop.KillServer();
  EXPECT_TRUE(GoesOn(30));
  EXPECT_TRUE(StopsAtOnce());
}

}  // namespace
