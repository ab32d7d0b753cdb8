// The main window on a screen of its own, with real nodes: the real desktop, real windows of other
// programs, real files; only the cameras and the sound device exist in memory. And somebody who
// answers its dialogs.
//
// One application object for the process: StartScreen first, once.
#ifndef ORVANE_TESTS_SHELL_LIVEWINDOW_H
#define ORVANE_TESTS_SHELL_LIVEWINDOW_H

#include <QString>
#include <memory>
#include <string>
#include <vector>

#include "shell/LayersRig.h"
#include "support/FakeCaptureLayer.h"
#include "support/MediaSamples.h"
#include "support/Operator.h"
#include "support/TestWindow.h"
#include "support/VirtualDesktop.h"
#include "support/WorkingDirectory.h"

namespace support {

// The desktop is the system's, all else is in memory.
class DeskAndFakes : public FakeCaptureLayer {
 public:
  DeskAndFakes();
  platform::OpenResult Open(platform::CaptureKind kind, const std::string& name) override;

 private:
  platform::CaptureLayer& m_system;
};

class LiveWindow {
 public:
  // A screen with a window manager, and the application on it. False, with the reason printed, when
  // there is none. The screen ends with EndScreen, the application never.
  static bool StartScreen();
  static void EndScreen();

  LiveWindow();
  ~LiveWindow();

  // The window with its graph and its default layers, shown.
  void Open();
  void Close();

  WorkingDirectory directory;
  DeskAndFakes devices;
  MediaSamples samples;
  std::string picture;
  std::string clip;
  Operator answers;
  std::unique_ptr<OpenOrvane> window;

 private:
  static VirtualDesktop* s_desktop;
  TestWindow m_others[2];
};

// What a session must give back.
struct Held {
  std::vector<std::string> threads;  // names, sorted
  int files = 0;
  long bytes = 0;  // in use in the heap; 0 where a sanitizer keeps its own
};
Held LookAtProcess();

}  // namespace support

#endif
