// The screen on which the dialogs are looked at, and how a picture of one is held against the one
// in reference/. tools/remake-reference-pictures makes those anew.
//
// One screen with a window manager and a compositor serves all tests of the program. Each dialog
// has a file of its own for its tests, all of the one suite DialogPictures: another would need
// another application object.
#ifndef ORVANE_TESTS_WIDGETS_DIALOGPICTURES_H
#define ORVANE_TESTS_WIDGETS_DIALOGPICTURES_H

#include <gtest/gtest.h>

#include <QImage>
#include <QRect>
#include <string>
#include <vector>

class QApplication;
class QWidget;

namespace support {

class VirtualDesktop;

class DialogPictures : public testing::Test {
 public:
  // Shows the dialog at its place, in the size that it has, and waits until it is active.
  static void Open(QWidget* dialog);

 protected:
  static void SetUpTestSuite();
  static void TearDownTestSuite();

  // Shows the dialog, and compares what the screen shows of it with the reference picture of that
  // name. texts: where it paints text beside its labels, buttons and fields, in its coordinates.
  static void ExpectPicture(const std::string& name, QWidget* dialog,
                            const std::vector<QRect>& texts = {});

  // What the screen shows of the dialog, once it stays the same.
  static QImage Shoot(QWidget* dialog);

  static VirtualDesktop* s_desktop;
  static QApplication* s_application;
};

}  // namespace support

#endif
