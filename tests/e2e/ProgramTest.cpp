// The program as its user starts it, on a screen of its own.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "LauncherRig.h"
#include "ProgramFixture.h"
#include "support/FakeCamera.h"

namespace {

TEST_F(Program, ShowsTheDesktopLiveAndEndsProperlyOnSigterm) {
  std::ofstream(m_studio.File("MyLog.txt")) << "what the last run left\n";
  ASSERT_TRUE(StartAndLogIn());
  // The desktop's corner, at half its size in the preview's corner.
  EXPECT_TRUE(support::WaitFor([this] { return ShowsInPreview(70, 50, 0xC03060); }, kPatienceMs))
      << Printed();
  EXPECT_EQ(m_studio.Log().find("what the last run left"), std::string::npos);
  struct stat status {};
  ASSERT_EQ(stat(m_studio.File("MyLog.txt").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
  if (const char* keep = std::getenv("ORVANE_KEEP_RECORDINGS")) {
    m_studio.Desktop().Screenshot(std::string(keep) + "/program.png");
  }
  m_program.Signal(SIGTERM);
  EXPECT_EQ(m_program.Wait(kPatienceMs), 0) << Printed();
}

TEST_F(Program, PutsTheFirstCameraIntoTheCorner) {
  support::FakeCamera camera;
  support::FakeCameraMode mode;
  mode.background = {32, 96, 160};
  ASSERT_TRUE(camera.Plug(mode)) << camera.Failure();
  ASSERT_TRUE(StartAndLogIn());
  // 640 x 480 at half the scene's height: 720 x 540 at the bottom right, 360 x 270 in the preview.
  // One picture may show it in its new place and still in its old size.
  const auto inCorner = [this] {
    return ShowsInPreview(640, 350, 0x2060A0) && !ShowsInPreview(560, 350, 0x2060A0);
  };
  EXPECT_TRUE(support::WaitFor(inCorner, kPatienceMs)) << Printed();
  if (const char* keep = std::getenv("ORVANE_KEEP_RECORDINGS")) {
    m_studio.Desktop().Screenshot(std::string(keep) + "/camera.png");
  }
  m_program.Signal(SIGINT);
  EXPECT_EQ(m_program.Wait(kPatienceMs), 0) << Printed();
}

TEST_F(Program, SaysThatSdlFailsAndShowsThePreviewAllTheSame) {
  ASSERT_TRUE(StartAndLogIn({{"SDL_AUDIODRIVER", "none-such"}}));
  EXPECT_TRUE(support::WaitFor([this] { return ShowsInPreview(70, 50, 0xC03060); }, kPatienceMs));
  EXPECT_TRUE(support::WaitFor(
      [this] { return Printed().find("SDL_Init error") != std::string::npos; }, kPatienceMs));
  EXPECT_NE(m_studio.Log().find("SDL_Init: "), std::string::npos) << "the cause";
  m_program.Signal(SIGTERM);
  EXPECT_EQ(m_program.Wait(kPatienceMs), 0) << Printed();
}

TEST_F(Program, RunsWithoutALogThatCannotBeOpened) {
  ASSERT_EQ(mkdir(m_studio.File("MyLog.txt").c_str(), 0700), 0);
  ASSERT_TRUE(StartAndLogIn());
  EXPECT_TRUE(support::WaitFor([this] { return ShowsInPreview(70, 50, 0xC03060); }, kPatienceMs));
  m_program.Signal(SIGTERM);
  EXPECT_EQ(m_program.Wait(kPatienceMs), 0) << Printed();
}

TEST_F(Program, RunsWithoutASoundServerAndWithoutTheFont) {
  m_studio.Sound().Kill();
  ASSERT_EQ(unlink(m_studio.File("wryh.ttf").c_str()), 0);
  ASSERT_TRUE(StartAndLogIn());
  EXPECT_TRUE(support::WaitFor([this] { return ShowsInPreview(70, 50, 0xC03060); }, kPatienceMs));
  m_program.Signal(SIGTERM);
  EXPECT_EQ(m_program.Wait(kPatienceMs), 0) << Printed();
}

TEST_F(Program, LeavesWithAWordWhereItCannotDrawIntoXWindows) {
  ASSERT_TRUE(Start({{"QT_QPA_PLATFORM", "offscreen"}}));
  EXPECT_EQ(m_program.Wait(kPatienceMs), 1);
  EXPECT_NE(Printed().find("QT_QPA_PLATFORM=xcb"), std::string::npos);
}

TEST_F(Program, EndsWithTheScreen) {
  ASSERT_TRUE(StartAndLogIn());
  EXPECT_TRUE(support::WaitFor([this] { return ShowsInPreview(70, 50, 0xC03060); }, kPatienceMs));
  m_studio.Desktop().KillServer();
  EXPECT_EQ(m_program.Wait(kPatienceMs), 1) << Printed();
}

TEST_F(Program, EndsWhenItsWindowIsClosed) {
  ASSERT_TRUE(StartAndLogIn());
  EXPECT_TRUE(support::WaitFor([this] { return ShowsInPreview(70, 50, 0xC03060); }, kPatienceMs));
  const support::RunResult closed =
      support::Run({"xdotool", "search", "--onlyvisible", "--name", "^orvane$", "windowactivate",
                    "--sync", "key", "alt+F4"},
                   5000, m_studio.Desktop().Environment());
  EXPECT_EQ(m_program.Wait(kPatienceMs), 0) << closed.output << Printed();
}

TEST_F(Program, LeavingTheLoginEndsItWithoutTouchingTheLog) {
  std::ofstream(m_studio.File("MyLog.txt")) << "what the last run left\n";
  ASSERT_TRUE(Start());
  ASSERT_TRUE(m_studio.Activate(kLoginTitle));
  EXPECT_FALSE(m_studio.ShowsWindow("^orvane$"));
  ASSERT_TRUE(m_studio.PressKeys({"Escape"}));
  EXPECT_EQ(m_program.Wait(kPatienceMs), 0) << Printed();
  EXPECT_NE(m_studio.Log().find("what the last run left"), std::string::npos);
  EXPECT_NE(access(m_studio.File("login.ini").c_str(), F_OK), 0);
}

TEST_F(Program, ARefusedLoginStaysAndTheRightOneIsRemembered) {
  m_studio.SaveAccount("demo", "not-it");
  ASSERT_TRUE(Start());
  ASSERT_TRUE(m_studio.Activate(kLoginTitle));
  const std::uint32_t login = m_studio.ActiveWindow();
  ASSERT_TRUE(m_studio.PressKeys({"Return"}));
  // The service's refusal; Enter answers it, and the dialog is still there.
  EXPECT_TRUE(support::WaitFor(
      [this] {
        return support::ReadFile(m_studio.File("service.out")).find("login-failed") !=
               std::string::npos;
      },
      kPatienceMs));
  ASSERT_TRUE(Shows(2)) << "the notice over the dialog";
  ASSERT_TRUE(TakesTheKeyboardFrom(login));
  ASSERT_TRUE(m_studio.PressKeys({"Return"}));
  ASSERT_TRUE(Shows(1));
  ASSERT_TRUE(m_studio.Activate(kLoginTitle));
  ASSERT_TRUE(m_studio.PressKeys({"Tab", "ctrl+a"}));
  ASSERT_EQ(support::Run({"xdotool", "type", "--delay", "60", m_studio.Password()}, 20000,
                         Screen().Environment())
                .status,
            0);
  ASSERT_TRUE(m_studio.PressKeys({"Return"}));
  EXPECT_TRUE(support::WaitFor([this] { return ShowsInPreview(70, 50, 0xC03060); }, kPatienceMs))
      << Printed() << m_studio.Report();
  const std::string saved = support::ReadFile(m_studio.File("login.ini"));
  EXPECT_NE(saved.find("psw=" + m_studio.Password()), std::string::npos) << saved;
  struct stat status {};
  ASSERT_EQ(stat(m_studio.File("login.ini").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 077, 0U);
}

TEST_F(Program, AChangeOfAccountForgetsItAndComesBackWithTheSceneRunning) {
  ASSERT_TRUE(StartAndLogIn());
  EXPECT_TRUE(support::WaitFor([this] { return ShowsInPreview(70, 50, 0xC03060); }, kPatienceMs));
  ASSERT_TRUE(m_studio.Activate("^orvane$"));
  ASSERT_TRUE(m_studio.PressKeys({"Tab", "space", "Down", "Return"}));
  ASSERT_TRUE(m_studio.Activate(kLoginTitle));
  EXPECT_FALSE(m_studio.ShowsWindow("^orvane$"));
  const std::string saved = support::ReadFile(m_studio.File("login.ini"));
  EXPECT_EQ(saved.find(m_studio.Password()), std::string::npos) << saved;
  // The dialog is the same one, with its earlier text.
  ASSERT_TRUE(m_studio.PressKeys({"Return"}));
  EXPECT_TRUE(support::WaitFor([this] { return ShowsInPreview(70, 50, 0xC03060); }, kPatienceMs))
      << Printed();
  m_program.Signal(SIGTERM);
  EXPECT_EQ(m_program.Wait(kPatienceMs), 0) << Printed();
}

TEST_F(Program, AChangeOfAccountThatIsGivenUpEndsIt) {
  ASSERT_TRUE(StartAndLogIn());
  EXPECT_TRUE(support::WaitFor([this] { return ShowsInPreview(70, 50, 0xC03060); }, kPatienceMs));
  ASSERT_TRUE(m_studio.Activate("^orvane$"));
  ASSERT_TRUE(m_studio.PressKeys({"Tab", "space", "Down", "Return"}));
  ASSERT_TRUE(m_studio.Activate(kLoginTitle));
  ASSERT_TRUE(m_studio.PressKeys({"Escape"}));
  EXPECT_EQ(m_program.Wait(kPatienceMs), 0) << Printed();
  // Every node has been stopped before: the guard of the display has nothing to tell.
  const std::string log = support::ReadFile(m_studio.File("MyLog.txt"));
  EXPECT_EQ(log.find("while nodes were running"), std::string::npos) << log;
}

TEST_F(Program, SigtermEndsItAtTheLoginToo) {
  ASSERT_TRUE(Start());
  ASSERT_TRUE(m_studio.Activate(kLoginTitle));
  m_program.Signal(SIGTERM);
  EXPECT_EQ(m_program.Wait(kPatienceMs), 0) << Printed();
}

// A menu, and a dialog that was opened from it, each wait in a loop of their own.
TEST_F(Program, SigtermEndsItUnderAMenuAndADialog) {
  ASSERT_TRUE(StartAndLogIn());
  EXPECT_TRUE(support::WaitFor([this] { return ShowsInPreview(70, 50, 0xC03060); }, kPatienceMs));
  ASSERT_TRUE(m_studio.Activate("^orvane$"));
  const int before = m_studio.VisibleWindows();
  // The ninth control adds layers (five are the sound meter's); the first entry of its menu is the
  // text.
  std::vector<std::string> keys(9, "Tab");
  keys.insert(keys.end(), {"space", "Down", "Return"});
  ASSERT_TRUE(m_studio.PressKeys(keys));
  ASSERT_TRUE(Shows(before + 1)) << "the dialog of the text";
  m_program.Signal(SIGTERM);
  EXPECT_EQ(m_program.Wait(kPatienceMs), 0) << Printed();
}

TEST_F(Program, WithoutAServiceItSaysSoAndOffersTheLogin) {
  m_studio.Service().Stop();
  const std::uint32_t before = m_studio.ActiveWindow();
  ASSERT_TRUE(Start());
  // The notice comes first, for the picture of the login; then the dialog.
  ASSERT_TRUE(Shows(1));
  ASSERT_TRUE(TakesTheKeyboardFrom(before));
  EXPECT_FALSE(m_studio.ShowsWindow(kLoginTitle));
  ASSERT_TRUE(m_studio.PressKeys({"Return"}));
  ASSERT_TRUE(m_studio.Activate(kLoginTitle)) << Printed();
  ASSERT_TRUE(m_studio.PressKeys({"Escape"}));
  EXPECT_EQ(m_program.Wait(kPatienceMs), 0) << Printed();
}

class ProgramLauncher : public LauncherRig {};

// Both leave at the service, whose port is in use.
TEST_F(ProgramLauncher, SaysByWhichRoadTheScreenComes) {
  const Occupant occupant(18080);
  ASSERT_TRUE(occupant.Listens());
  const support::TempDir home;
  support::VirtualDesktop screen;
  support::DesktopOptions options;
  options.useInThisProcess = false;
  ASSERT_TRUE(screen.Start(options)) << screen.Output();
  const std::string display = "DISPLAY=" + screen.Display();
  const support::RunResult x11 = Launch(home.Path(), {display});
  EXPECT_NE(x11.output.find("run: X11: "), std::string::npos) << x11.output;
  const support::RunResult wayland = Launch(home.Path(), {display, "WAYLAND_DISPLAY=wayland-0"});
  EXPECT_NE(wayland.output.find("run: Wayland"), std::string::npos) << wayland.output;
  EXPECT_NE(wayland.output.find("xdg-desktop-portal"), std::string::npos) << wayland.output;
  EXPECT_EQ(wayland.output.find("run: X11"), std::string::npos) << wayland.output;
}

// The portal itself, and the parts of desktops that share screens or do something else.
struct Installed {
  bool portal;
  std::string part;
};

// What the launcher says of a session of that desktop where only this is installed.
std::string RoadOf(const Installed& installed, const std::string& desktop) {
  const support::TempDir data;
  const std::filesystem::path root = data.Path();
  std::filesystem::create_directories(root / "dbus-1/services");
  std::filesystem::create_directories(root / "xdg-desktop-portal/portals");
  if (installed.portal) {
    std::ofstream(root / "dbus-1/services/org.freedesktop.portal.Desktop.service") << "[D-BUS]\n";
  }
  if (!installed.part.empty()) {
    std::ofstream(root / "xdg-desktop-portal/portals/some.portal")
        << "[portal]\nInterfaces=org.freedesktop.impl.portal.Screenshot;" << installed.part << "\n";
  }
  return support::Run({"env", "HOME=" + data.Path(), "XDG_DATA_HOME=" + data.Path(),
                       "XDG_DATA_DIRS=" + data.Path(), "WAYLAND_DISPLAY=wayland-0",
                       "XDG_CURRENT_DESKTOP=" + desktop, "bash", "-c",
                       "set -euo pipefail; . \"$0\"; say_road", ORVANE_SOURCE_DIR "/tools/road.sh"})
      .output;
}

TEST(ProgramLauncherRoad, NamesWhatIsMissingForTheDesktopInUse) {
  const Installed portal{true, ""};
  const Installed nothing{false, "org.freedesktop.impl.portal.ScreenCast;"};
  const Installed another{true, "org.freedesktop.impl.portal.ScreenCastings;"};
  const Installed all{true, "org.freedesktop.impl.portal.ScreenCast;"};
  const std::string without = "run: Wayland, without the desktop and windows: ";
  const std::string noPart =
      without + "nothing here shares the screen with xdg-desktop-portal; install ";
  EXPECT_EQ(RoadOf(portal, "GNOME"), noPart + "xdg-desktop-portal-gnome\n");
  EXPECT_EQ(RoadOf(portal, "ubuntu:GNOME"), noPart + "xdg-desktop-portal-gnome\n");
  EXPECT_EQ(RoadOf(portal, "KDE"), noPart + "xdg-desktop-portal-kde\n");
  EXPECT_EQ(RoadOf(another, "sway"), noPart + "xdg-desktop-portal-wlr\n");
  EXPECT_EQ(RoadOf(portal, "").find(noPart + "what it needs for your desktop"), 0U);
  EXPECT_EQ(RoadOf(nothing, "KDE"),
            without + "install xdg-desktop-portal and xdg-desktop-portal-kde\n");
  EXPECT_EQ(RoadOf(all, "KDE"),
            "run: Wayland: the desktop and windows are captured through xdg-desktop-portal, which "
            "asks you\n");
}

TEST_F(ProgramLauncher, AWaylandSessionThatLetsNoXProgramInIsNoMachineWithoutADisplay) {
  const support::TempDir home;
  const support::RunResult result = Launch(home.Path(), {"XDG_SESSION_TYPE=wayland"});
  EXPECT_EQ(result.status, 1) << result.output;
  EXPECT_NE(result.output.find("has no XWayland (DISPLAY)"), std::string::npos) << result.output;
}

TEST_F(ProgramLauncher, SaysThatTheServicesPortIsInUseAndLeaves) {
  const Occupant occupant(18080);
  ASSERT_TRUE(occupant.Listens());
  const support::TempDir home;
  const support::RunResult result = Launch(home.Path());
  EXPECT_EQ(result.status, 1) << result.output;
  EXPECT_NE(result.output.find("port 18080 is in use by another program"), std::string::npos)
      << result.output;
}

// On a machine without a display the launcher plays the operator's road on a screen of its own.
TEST_F(ProgramLauncher, PlaysTheRoadWhereThereIsNoDisplayAndTakesAnotherPortForTheIngest) {
  const Occupant occupant(1935);
  ASSERT_TRUE(occupant.Listens());
  const support::TempDir home;
  const support::RunResult result = Launch(home.Path());
  EXPECT_EQ(result.status, 0) << result.output;
  const auto says = [&](const std::string& text) {
    return result.output.find(text) != std::string::npos;
  };
  EXPECT_TRUE(says("port 1935 is in use, taking 1936 for RTMP")) << result.output;
  EXPECT_TRUE(says("it could be watched at rtmp://127.0.0.1:1936/watch/")) << result.output;
  EXPECT_TRUE(says("Video: h264 (Constrained Baseline), yuv420p(progressive), 960x540"))
      << result.output;
  EXPECT_TRUE(says("Audio: aac (LC), 48000 Hz, stereo")) << result.output;
  const std::string tour = home.File(".local/state/orvane/tour");
  for (const char* step : {"01-login", "02-window", "03-picture", "04-film", "05-menu", "06-text",
                           "07-composed", "08-activities", "09-live", "10-stopped"}) {
    const std::string screenshot = tour + "/" + step + ".png";
    EXPECT_TRUE(says("Screenshot: " + screenshot)) << result.output;
    const support::RunResult picture =
        support::Run({"identify", "-format", "%wx%h %k", screenshot}, 20000);
    EXPECT_EQ(picture.output.find("1920x1080 "), 0U) << picture.output;
  }
  struct stat status {};
  ASSERT_EQ(stat(tour.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0700U);
  // What it started has ended with it, and the user's own account and database are as they were.
  for (const int port : {18080, 1936, 18081}) {
    EXPECT_TRUE(Occupant(port).Listens()) << port;
  }
  EXPECT_NE(access(home.File(".local/share/orvane/service.sqlite").c_str(), F_OK), 0);
}

}  // namespace
