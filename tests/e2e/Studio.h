// Everything that a broadcast needs around the program: a screen with a window manager, a sound
// server, an RTMP server that records, stage windows to be filmed, a working directory with the
// font. All of it goes with the object.
//
// The programs under test are the built ones, driven from outside: bench/live_road, which is the
// media graph without the interface, and the program itself.
#ifndef ORVANE_TESTS_E2E_STUDIO_H
#define ORVANE_TESTS_E2E_STUDIO_H

#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <vector>

#include "support/MachineWatch.h"
#include "support/Process.h"
#include "support/RtmpServer.h"
#include "support/SoundServer.h"
#include "support/VirtualDesktop.h"
#include "support/WorkingDirectory.h"

namespace e2e {

// How often part stands in text.
int CountOf(const std::string& text, const std::string& part);

class Studio {
 public:
  // What the windows of the program are known by.
  static constexpr char kProgram[] = "orvane";

  // False when a part could not be brought up; Report tells more. With a compositor translucent
  // margins look as on an operator's screen; it takes its share of the machine.
  bool Start(bool compositor = false);

  support::VirtualDesktop& Desktop() { return m_desktop; }
  support::SoundServer& Sound() { return m_sound; }
  support::RtmpServer& Rtmp() { return m_rtmp; }
  std::string File(const std::string& name) const { return m_directory.File(name); }
  std::map<std::string, std::string> Environment() const;

  // A stage window, there when this returns; null when it did not come.
  support::Process* Film(const std::string& title, const std::vector<std::string>& arguments);

  // A picture of one colour, and a film of one colour with a tone, 25 pictures a second.
  bool MakePicture(const std::string& name, const std::string& colour, const std::string& size);
  bool MakeFilm(const std::string& name, const std::string& colour, const std::string& size,
                int seconds, int hertz);

  // Starts live_road with these arguments.
  bool StartLiveRoad(const std::vector<std::string>& arguments);
  support::Process& LiveRoad() { return m_liveRoad; }
  // What room the machine had since live_road's start: a slow machine fails nothing for being slow.
  const std::vector<support::MachineSecond>& Machine();
  // SIGTERM, and its exit status; -1 when it was not gone after that time.
  int EndLiveRoad(int timeoutMs = 60000);

  // A backend service of this test's own, with the account that it makes at its first start.
  bool StartService();
  // SIGKILL; StartServiceAgain brings it back on the same port, with what it had written.
  void KillService();
  bool StartServiceAgain();
  // Runs one of its commands on its database; true when it went well, *output is what it printed.
  bool ServiceCommand(const std::vector<std::string>& words, std::string* output = nullptr) const;
  support::Process& Service() { return m_service; }
  std::string ServiceAddress() const;
  const std::string& Password() const { return m_password; }
  // Writes "./login.ini" as a login with that account does.
  void SaveAccount(const std::string& login, const std::string& password) const;
  // The first visible window of that title, raised and with the keyboard; false when none came.
  bool Activate(const std::string& title);
  bool PressKeys(const std::vector<std::string>& keys);
  bool ShowsWindow(const std::string& title) const;
  // The window that has the keyboard, by the window manager's word; 0 when none has.
  std::uint32_t ActiveWindow() const;
  // How many windows the program shows; a notice has no title to be found by.
  int VisibleWindows() const;

  // The recording with that number, once the server has closed it; empty when there is none.
  std::string Recording(std::size_t number = 0);
  std::string Log() const { return support::ReadFile(File("MyLog.txt")); }
  // What everything printed, for the message of a failing test.
  std::string Report() const;

 private:
  bool ServeAndWait();

  support::WorkingDirectory m_directory;
  support::VirtualDesktop m_desktop;
  support::SoundServer m_sound;
  support::RtmpServer m_rtmp;
  std::list<support::Process> m_stages;
  support::Process m_liveRoad;
  support::MachineWatch m_machine;
  support::Process m_service;
  int m_servicePort = 0;
  std::string m_password;
};

}  // namespace e2e

#endif
