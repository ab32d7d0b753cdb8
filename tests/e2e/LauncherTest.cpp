// The launcher as its user starts it in a session with a display.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "LauncherRig.h"
#include "support/DesktopWindows.h"
#include "support/VirtualDesktop.h"

namespace {

constexpr int kPatienceMs = 60000;
constexpr int kBuildMs = 400000;

class Launcher : public LauncherRig {};

// A launcher that goes on, with a screen of its own and no sound server.
class RunningLauncher {
 public:
  bool Start() {
    support::DesktopOptions options;
    options.useInThisProcess = false;
    return m_screen.Start(options) &&
           m_launcher.Start(
               LaunchCommand(m_home.Path(), {"DISPLAY=" + m_screen.Display(),
                                             "PULSE_SERVER=unix:" + m_home.File("no-server")}),
               {}, m_home.File("run.out"));
  }
  std::string Printed() const { return support::ReadFile(m_home.File("run.out")); }
  // False too when it ends without a word of it.
  bool Prints(const std::string& text, int waitMs = kPatienceMs) {
    const auto printed = [&] { return Printed().find(text) != std::string::npos; };
    support::WaitFor([&] { return printed() || !m_launcher.Running(); }, waitMs);
    return printed();
  }
  bool ShowsWindow() const {
    return support::WaitFor(
        [this] { return !support::VisibleWindows(m_screen.Display(), "orvane").empty(); },
        kPatienceMs);
  }
  // As the program does when a broadcast starts, so many seconds later than the last time.
  void WriteAddress(const std::string& address, int seconds) const {
    const std::string file = m_home.File(".local/share/orvane/rtmp.txt");
    const std::string other = m_home.File("rtmp.new");
    std::ofstream(other) << address;
    timespec times[2] = {};
    clock_gettime(CLOCK_REALTIME, &times[0]);
    times[0].tv_sec += seconds;
    times[1] = times[0];
    ASSERT_EQ(utimensat(AT_FDCWD, other.c_str(), times, 0), 0);
    ASSERT_EQ(rename(other.c_str(), file.c_str()), 0);
  }
  // Its exit status: what a shell gives for that signal.
  int End() {
    m_launcher.Signal(SIGTERM);
    return m_launcher.Wait(kPatienceMs);
  }

 private:
  support::TempDir m_home;
  support::VirtualDesktop m_screen;
  support::Process m_launcher;
};

// Answers as the service does, as a user of the machine who is neither root nor this one.
class Impostor {
 public:
  Impostor(int port, uid_t user) {
    int pipe[2] = {-1, -1};
    EXPECT_EQ(pipe2(pipe, O_CLOEXEC), 0);
    m_id = fork();
    if (m_id == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      _exit(setuid(user) == 0 ? Answer(port, pipe[1]) : 1);
    }
    close(pipe[1]);
    char ready = 0;
    m_answers = read(pipe[0], &ready, 1) == 1;
    close(pipe[0]);
  }
  ~Impostor() {
    kill(m_id, SIGKILL);
    waitpid(m_id, nullptr, 0);
  }
  Impostor(const Impostor&) = delete;
  Impostor& operator=(const Impostor&) = delete;
  bool Answers() const { return m_answers; }

 private:
  static int Answer(int port, int ready) {
    const Occupant occupant(port);
    if (!occupant.Listens() || write(ready, "", 1) != 1) {
      return 1;
    }
    for (;;) {
      const int caller = accept(occupant.Socket(), nullptr, nullptr);
      char request[256];
      recv(caller, request, sizeof request, 0);  // or the answer would be lost with it
      constexpr char kAnswer[] = "HTTP/1.0 200 OK\r\n\r\n{\"schema\":1}\n";
      send(caller, kAnswer, sizeof kAnswer - 1, MSG_NOSIGNAL);
      close(caller);
    }
  }

  pid_t m_id = -1;
  bool m_answers = false;
};

TEST_F(Launcher, RunsTheProgramOnTheDisplayAndSaysWhereToWatch) {
  RunningLauncher launcher;
  ASSERT_TRUE(launcher.Start());
  ASSERT_TRUE(launcher.Prints("First start: log in as", kBuildMs)) << launcher.Printed();
  EXPECT_TRUE(launcher.ShowsWindow()) << launcher.Printed();
  // The service wrote it: nothing of it may command the terminal.
  launcher.WriteAddress("rtmp://a\033[31m\n", 0);
  EXPECT_TRUE(launcher.Prints("such as: ffplay rtmp://a[31m\n")) << launcher.Printed();
  launcher.WriteAddress("\n", 10);
  EXPECT_TRUE(launcher.Prints("The service names no address")) << launcher.Printed();
  EXPECT_EQ(launcher.End(), 143) << launcher.Printed();
  for (const int port : {18080, 1935, 18081}) {
    EXPECT_TRUE(Occupant(port).Listens()) << port;
  }
}

// The program would send it the operator's password.
TEST_F(Launcher, TrustsNoServiceOfAnotherUser) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can be somebody else";
  }
  constexpr uid_t kNobody = 65534;
  for (const uid_t user : {geteuid(), kNobody}) {
    const Impostor impostor(18080, user);
    ASSERT_TRUE(impostor.Answers());
    RunningLauncher launcher;
    ASSERT_TRUE(launcher.Start());
    ASSERT_TRUE(launcher.Prints("port 18080", kBuildMs)) << launcher.Printed();
    const std::string expected = user == kNobody ? "port 18080 is in use by another program"
                                                 : "using the service that runs on port 18080";
    EXPECT_NE(launcher.Printed().find(expected), std::string::npos) << launcher.Printed();
    launcher.End();
  }
}

}  // namespace
