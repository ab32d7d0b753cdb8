// main() of the tests that show widgets: an application object first. Without a display of the
// test's own choosing Qt draws off screen.
#include <gtest/gtest.h>

#include <QApplication>

#include "widgets/theme/Theme.h"

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
  }
  QApplication application(argc, argv);
  PrepareTheme();
  return RUN_ALL_TESTS();
}
