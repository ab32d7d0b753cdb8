#include "shell/LiveWindow.h"

#include <malloc.h>

#include <QApplication>
#include <QDir>
#include <QTest>
#include <cstdio>

#include "backend/TestAddress.h"
#include "shell/Libraries.h"
#include "support/ProcessStats.h"
#include "widgets/ItemData.h"
#include "widgets/theme/Theme.h"

namespace support {

VirtualDesktop* LiveWindow::s_desktop = nullptr;

DeskAndFakes::DeskAndFakes() : m_system(platform::CaptureLayer::Current()) {}

platform::OpenResult DeskAndFakes::Open(platform::CaptureKind kind, const std::string& name) {
  return name == kDesk ? m_system.Open(kind, name) : FakeCaptureLayer::Open(kind, name);
}

bool LiveWindow::StartScreen() {
  s_desktop = new VirtualDesktop;
  DesktopOptions options;
  options.windowManager = true;
  if (!s_desktop->Start(options)) {
    std::fprintf(stderr, "no screen: %s\n", s_desktop->Output().c_str());
    return false;
  }
  qputenv("QT_QPA_PLATFORM", "xcb");
  qputenv("SDL_AUDIODRIVER", "dummy");
  shell::PrepareProcess();
  QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
  widgets::RegisterItemData();
  static int argc = 1;
  static char name[] = "orvane";
  static char* argv[] = {name, nullptr};
  new QApplication(argc, argv);  // stays: Qt keeps its platform plugin for the process
  QApplication::setQuitOnLastWindowClosed(false);
  PrepareTheme();
  return true;
}

void LiveWindow::EndScreen() {
  delete s_desktop;
  s_desktop = nullptr;
}

LiveWindow::LiveWindow() {
  SetTestAddress(QStringLiteral("http://127.0.0.1:9"));  // nobody is asked
  PictureOptions size;
  size.width = 640;
  size.height = 360;
  picture = samples.Picture("picture.png", size);
  clip = samples.Clip("clip.mp4");
  FakePictures small;
  for (const char* name : {"Camera 1", "Camera 2"}) {
    devices.AddCamera(name, small)->RunFree();
  }
  TestWindowOptions other;
  other.title = "另一个程序";
  m_others[0].Open(s_desktop->Display(), other);
  other.title = "other program";
  other.x = 400;
  m_others[1].Open(s_desktop->Display(), other);
  platform::CaptureLayer::Install(&devices);
}

LiveWindow::~LiveWindow() {
  Close();
  platform::CaptureLayer::Install(nullptr);
}

void LiveWindow::Open() {
  window = std::make_unique<OpenOrvane>();
  window->InitGraph();
  window->show();
  static_cast<void>(QTest::qWaitForWindowExposed(window.get()));
}

void LiveWindow::Close() {
  window.reset();
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

Held LookAtProcess() {
  Held held;
  held.threads = ThreadNames();
  held.files = QDir(QStringLiteral("/proc/self/fd"))
                   .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)
                   .size();
  held.bytes = static_cast<long>(mallinfo2().uordblks + mallinfo2().hblkhd);
  return held;
}

}  // namespace support
