// The window with its whole graph on devices in memory, off screen, against a scripted service:
// what the bottom bar does, pressed as an operator presses it.
#ifndef ORVANE_TESTS_SHELL_LIVECONTROLRIG_H
#define ORVANE_TESTS_SHELL_LIVECONTROLRIG_H

#include <gtest/gtest.h>

#include <QByteArray>
#include <QLabel>
#include <QList>
#include <QPushButton>
#include <QString>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "shell/OrvaneMembers.h"
#include "support/FakeCaptureLayer.h"
#include "support/Notices.h"
#include "support/ScriptedHttp.h"
#include "support/WorkingDirectory.h"

namespace support {

// One activity of the service's list, as JSON.
struct ListedActivity {
  QString id = QStringLiteral("7");
  QString title = QStringLiteral("周年庆");
  QString publishUrl;
  QString watchUrl = QStringLiteral("rtmp://127.0.0.1/live/watch");
};

class LiveControlRig : public testing::Test {
 protected:
  LiveControlRig();
  ~LiveControlRig() override;
  void SetUp() override;
  void TearDown() override;

  static ScriptedReply ListReply(const ListedActivity& activity);
  // The replies to the list, and then to every later request in turn; the last one again and again.
  void Serve(const ListedActivity& activity, const QList<ScriptedReply>& later);
  // Presses the button, waits for the first card and presses it (unless card is false), sets the
  // quality, and ends the dialog. False when there was no dialog.
  bool Choose(bool accept = true, bool card = true, int quality = 0,
              const char* button = "m_chooseBtn");
  void Press(const char* button) { Button(button)->click(); }
  // Lets the event loop run until the condition holds; false after a long time.
  static bool Await(const std::function<bool()>& condition);

  QPushButton* Button(const char* name) const;
  QLabel* Label(const char* name) const;
  bool Shows(const char* name) const;
  // How many requests have come for that end of a path.
  int Requests(const char* path) const;
  // The last of them.
  QByteArray Request(const char* path) const;
  bool IsLive() const;

  // Published to an address at which nobody listens.
  ListedActivity Activity() const;
  // An activity is chosen, and the service answers like that from then on.
  void ChooseWith(const QList<ScriptedReply>& later = {JsonReply(R"({"code":0})")});
  int SpacerWidth() const;
  void ExpectUnchosen() const;
  void ExpectChosen() const;
  void ExpectLive() const;
  void ExpectNoBroadcastNodes() const;
  // What "./rtmp.txt" holds.
  std::string AddressFile() const;
  static bool Holds(const std::vector<std::string>& lines, const std::string& line);

  WorkingDirectory m_directory;
  ScriptedHttp m_service;
  Notices m_notices;
  FakeCaptureLayer m_capture;
  FakeDevice* m_desktop = nullptr;
  FakeDevice* m_systemSound = nullptr;
  FakeDevice* m_microphone = nullptr;
  std::string m_nobody;  // a publish address at which nobody listens
  std::unique_ptr<OrvaneMembers> m_window;
};

}  // namespace support

#endif
