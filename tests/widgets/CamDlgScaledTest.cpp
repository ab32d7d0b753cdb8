// The camera chooser on a screen where a logical pixel is two device pixels wide.
#include "widgets/CCamDlg.h"
#include "widgets/CamDlgRig.h"

namespace {

class CamDlgScaled : public support::CamDlgRig {
 protected:
  static void SetUpTestSuite() { StartScreen(2560, 1440, 2); }
};

TEST_F(CamDlgScaled, ThePictureFillsTheLabel) {
  support::FakeCamera camera;
  const support::CameraColour blue{20, 60, 180};
  ASSERT_TRUE(camera.Plug(ModeOf("Camera", blue))) << camera.Failure();
  CCamDlg dialog;
  Show(&dialog);
  EXPECT_EQ(QSize(1280, 720), PreviewArea(dialog).size());
  EXPECT_TRUE(Shows(dialog, blue));
  EXPECT_TRUE(GoesOn(dialog));
}

}  // namespace
