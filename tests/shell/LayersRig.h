// The main window with its graph running, on devices and windows that exist in memory only, and
// somebody who answers its dialogs.
#ifndef ORVANE_TESTS_SHELL_LAYERSRIG_H
#define ORVANE_TESTS_SHELL_LAYERSRIG_H

#include <gtest/gtest.h>

#include <QMenu>
#include <QStringList>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "shell/OrvaneMembers.h"
#include "support/FakeCaptureLayer.h"
#include "support/FakeWindowSystem.h"
#include "support/Operator.h"
#include "support/WorkingDirectory.h"

namespace support {

inline constexpr char kDesk[] = "screen-capture-recorder";

// The window, asked as the tests of its layers ask.
class OpenOrvane : public OrvaneMembers {
 public:
  ~OpenOrvane() override { CloseGraph(); }

  std::vector<int> Order() const;
  // Texts from the top.
  QStringList Rows() const;
  int Kind(int row) const;
  bool Visible(int row) const;
  CSrcInterface* NodeAt(int slot) const;
  // Why the row is grey; empty for one that is not.
  QString Failure(int row) const;
};

// The index that the node uses on its sound's consumers.
int AudioIndexOf(CSrcInterface* node);
int AudioOutputsOf(CSrcInterface* node);

// Runs the event loop until condition holds; false after a long time.
bool SpinUntil(const std::function<bool()>& condition);

class LayersRig : public testing::Test {
 protected:
  LayersRig();
  ~LayersRig() override;

  // The graph and its default layers.
  void Open();
  // Without the default layers, which are deleted.
  void OpenEmpty();
  std::string Log() const { return ReadFile(directory.File("MyLog.txt")); }

  WorkingDirectory directory;
  FakeCaptureLayer devices;
  InstalledCaptureLayer installedDevices{&devices};
  FakeWindowSystem windows;
  FakeDevice* desk;
  Operator answers;
  std::unique_ptr<OpenOrvane> window;
};

}  // namespace support

#endif
