// The entry of the program.
#include <sys/stat.h>

#include <QApplication>
#include <cstdio>

#include "platform/CaptureLayer.h"
#include "platform/DisplayGuard.h"
#include "platform/ProcessEnd.h"
#include "platform/SilentBuses.h"
#include "shell/Libraries.h"
#include "shell/QuitSignals.h"
#include "shell/orvane.h"
#include "sources/DeviceCatalogue.h"
#include "widgets/theme/Theme.h"

namespace {

// The renderer draws into X11 windows; in a Wayland session the program runs through XWayland.
bool PlatformFits() {
  const QString platform = QGuiApplication::platformName();
  if (platform == "xcb") {
    return true;
  }
  std::printf(
      "orvane draws into X11 windows and can't run on the platform \"%s\"; "
      "start it with QT_QPA_PLATFORM=xcb\n",
      qPrintable(platform));
  return false;
}

int Leave(int status) {
  platform::LimitProcessEnd(status);
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  // What the program writes holds a password and the keys of streams.
  umask(077);
  shell::PrepareProcess();
  platform::LeaveOutSilentBuses();
  QApplication application(argc, argv);
  if (!PlatformFits()) {
    return 1;
  }
  const platform::DisplayGuard displayGuard;
  const shell::QuitSignals quitSignals;
  // By the time of the login the sound server has answered.
  platform::CaptureLayer::Current().Prepare();
  PrepareTheme();
  orvane window;
  window.ShowLogin();
  if (DeviceCatalogue::Instance()->loggedIn == 0) {
    return Leave(0);
  }
  window.InitGraph();
  window.show();
  const int status = QApplication::exec();
  window.CloseGraph();
  return Leave(status);
}
