// main() of the tests that show widgets: an application object first. Without a display of the
// test's own choosing Qt draws off screen.
#include <gtest/gtest.h>

#include <QApplication>
#include <csignal>

#include "widgets/theme/Theme.h"

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);  // as the program does
  ::testing::InitGoogleTest(&argc, argv);
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
  }
  // No broadcast of a test asks the desktop of whoever runs it.
  qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere/session");
  qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nowhere/system");
  // Never deleted: Qt's off-screen platform loses its one screen when it is taken down, and the
  // leak check could not tell that from a loss of ours.
  static QApplication* const application = new QApplication(argc, argv);
  static_cast<void>(application);
  PrepareTheme();
  return RUN_ALL_TESTS();
}
