// The camera chooser on a screen of its own, with cameras that speak the system's interface.
//
// The screen, with a window manager and a compositor, and the application are made for the whole
// program; each test makes its cameras and its dialog.
#ifndef ORVANE_TESTS_WIDGETS_CAMDLGRIG_H
#define ORVANE_TESTS_WIDGETS_CAMDLGRIG_H

#include <gtest/gtest.h>

#include <QRect>
#include <string>

#include "support/FakeCamera.h"
#include "support/VirtualDesktop.h"

class CCamDlg;
struct xcb_connection_t;

namespace support {

constexpr int kPatienceMs = 15000;

class CamDlgRig : public testing::Test {
 protected:
  // scale: device pixels of a logical one.
  static void StartScreen(int width, int height, int scale);
  static void SetUpTestSuite() { StartScreen(1280, 900, 1); }
  static void TearDownTestSuite();

  void SetUp() override;

  static FakeCameraMode ModeOf(const std::string& card, const CameraColour& background);
  // Shown as the main window shows it, and active. shadow: as its first one.
  static void Show(CCamDlg* dialog, bool shadow = true);
  // Where the preview stands on the screen, in device pixels.
  static QRect PreviewArea(const CCamDlg& dialog);
  // Number of the camera's picture on the screen; -1 when there is none.
  static int Counter(const CCamDlg& dialog);
  // The whole of the preview shows a camera of that colour.
  static bool Shows(const CCamDlg& dialog, const CameraColour& background);
  static bool ShowsBlack(const CCamDlg& dialog);
  // Later pictures come.
  static bool GoesOn(const CCamDlg& dialog);
  // The same picture stays for half a second.
  static bool StandsStill(const CCamDlg& dialog);
  // So many workers of the chooser run in this process. One that was joined is still listed for the
  // moment that the system needs to take it away.
  static bool HasWorkers(int count);
  static int Descriptors();
  // The camera can be opened this very moment.
  static bool IsFree(const std::string& card);

  static VirtualDesktop* s_desktop;
  static xcb_connection_t* s_link;  // to see what the server has
};

}  // namespace support

#endif
