#include "Studio.h"

#include <signal.h>

#include <fstream>

#include "support/DesktopWindows.h"
#include "support/GivenTime.h"

namespace e2e {

namespace {

constexpr int kWindowMs = 60000;
constexpr int kToolMs = 20000;
constexpr int kSampleMs = 120000;
// The encoder's Stop may sit out a wait of 3 s, and the others take half a second each.
constexpr int kEndMs = 8000;
constexpr char kServiceStarted[] = "\"event\":\"started\"";

}  // namespace

int CountOf(const std::string& text, const std::string& part) {
  int count = 0;
  for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size()) {
    ++count;
  }
  return count;
}

bool Studio::Start(bool compositor) {
  support::DesktopOptions options;
  options.windowManager = true;
  options.compositor = compositor;
  options.useInThisProcess = false;
  return m_desktop.Start(options) && m_sound.Start() && m_sound.KeepAwake() && m_rtmp.Start();
}

std::map<std::string, std::string> Studio::Environment() const {
  std::map<std::string, std::string> environment = m_sound.Environment();
  environment.merge(m_desktop.Environment());
  environment["QT_QPA_PLATFORM"] = "xcb";
  environment["QT_LOGGING_RULES"] = "*.debug=false";
  // What a broadcast asks of a desktop is not asked of the one that this test is started from.
  environment["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=/nowhere/session";
  environment["DBUS_SYSTEM_BUS_ADDRESS"] = "unix:path=/nowhere/system";
  environment["ORVANE_TEST_BACKEND"] = ServiceAddress();
  return environment;
}

support::Process* Studio::Film(const std::string& title,
                               const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {ORVANE_STAGE, "--title", title};
  command.insert(command.end(), arguments.begin(), arguments.end());
  m_stages.emplace_back();
  support::Process& stage = m_stages.back();
  const auto shown = [&] {
    const support::RunResult result =
        support::Run({"xprop", "-name", title, "WM_STATE"}, kToolMs, m_desktop.Environment());
    return result.output.find("Normal") != std::string::npos;
  };
  if (!stage.Start(command, Environment(), File("stage.out")) ||
      !support::WaitFor(shown, kWindowMs)) {
    return nullptr;
  }
  return &stage;
}

bool Studio::MakePicture(const std::string& name, const std::string& colour,
                         const std::string& size) {
  return support::Run({"convert", "-size", size, "xc:" + colour, "PNG24:" + File(name)}, kSampleMs)
             .status == 0;
}

bool Studio::MakeFilm(const std::string& name, const std::string& colour, const std::string& size,
                      int seconds, int hertz) {
  const std::string duration = ":duration=" + std::to_string(seconds);
  const std::string picture = "color=c=" + colour + ":size=" + size + ":rate=25" + duration;
  const std::string sound = "sine=sample_rate=48000:frequency=" + std::to_string(hertz) + duration;
  return support::Run(
             {"ffmpeg",   "-v",      "error", "-y",  "-f",   "lavfi",   "-i",      picture,
              "-f",       "lavfi",   "-i",    sound, "-c:v", "libx264", "-preset", "veryfast",
              "-pix_fmt", "yuv420p", "-c:a",  "aac", "-ac",  "2",       File(name)},
             kSampleMs)
             .status == 0;
}

bool Studio::StartLiveRoad(const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {ORVANE_LIVE_ROAD};
  command.insert(command.end(), arguments.begin(), arguments.end());
  m_machine.End();
  m_machine.Begin();
  return m_liveRoad.Start(command, Environment(), File("live_road.out"));
}

const std::vector<support::MachineSecond>& Studio::Machine() {
  m_machine.End();
  return m_machine.Seconds();
}

int Studio::EndLiveRoad(int timeoutMs) {
  int status = -1;
  const int ms = support::TimeGiven([&] {
    m_liveRoad.Signal(SIGTERM);
    status = m_liveRoad.Wait(timeoutMs);
  });
  return ms < kEndMs ? status : -1;
}

std::string Studio::ServiceAddress() const {
  return "http://127.0.0.1:" + std::to_string(m_servicePort);
}

bool Studio::ServeAndWait() {
  const std::string output = File("service.out");
  const auto starts = [&] { return CountOf(support::ReadFile(output), kServiceStarted); };
  const int before = starts();
  return m_service.Start({ORVANE_SERVICE, "serve", "--database", File("service.sqlite"), "--port",
                          std::to_string(m_servicePort)},
                         {}, output) &&
         support::WaitFor([&] { return starts() > before; }, kWindowMs);
}

void Studio::KillService() {
  m_service.Signal(SIGKILL);
  m_service.Wait(kWindowMs);
}

bool Studio::StartServiceAgain() {
  return ServeAndWait();
}

bool Studio::ServiceCommand(const std::vector<std::string>& words, std::string* output) const {
  std::vector<std::string> command = {ORVANE_SERVICE};
  command.insert(command.end(), words.begin(), words.end());
  command.insert(command.end(), {"--database", File("service.sqlite")});
  const support::RunResult result = support::Run(command);
  if (output != nullptr) {
    *output = result.output;
  }
  return result.status == 0;
}

bool Studio::StartService() {
  m_servicePort = support::FreePort();
  const std::string output = File("service.out");
  if (!ServeAndWait()) {
    return false;
  }
  const std::string mark = "with the password \"";
  const auto ready = [&] { return support::ReadFile(output).find(mark) != std::string::npos; };
  if (!support::WaitFor(ready, kWindowMs)) {
    return false;
  }
  const std::string text = support::ReadFile(output);
  const std::size_t begin = text.find(mark) + mark.size();
  m_password = text.substr(begin, text.find('"', begin) - begin);
  return true;
}

void Studio::SaveAccount(const std::string& login, const std::string& password) const {
  std::ofstream(File("login.ini")) << "[General]\nusr=" << login << "\npsw=" << password << "\n";
}

bool Studio::ShowsWindow(const std::string& title) const {
  return support::Run({"xdotool", "search", "--onlyvisible", "--name", title}, kToolMs,
                      m_desktop.Environment())
             .status == 0;
}

std::uint32_t Studio::ActiveWindow() const {
  return support::ActiveWindow(m_desktop.Display());
}

int Studio::VisibleWindows() const {
  return static_cast<int>(support::VisibleWindows(m_desktop.Display(), kProgram).size());
}

bool Studio::Activate(const std::string& title) {
  return support::WaitFor([&] { return ShowsWindow(title); }, kWindowMs) &&
         support::Run(
             {"xdotool", "search", "--onlyvisible", "--name", title, "windowactivate", "--sync"},
             kToolMs, m_desktop.Environment())
                 .status == 0;
}

bool Studio::PressKeys(const std::vector<std::string>& keys) {
  std::vector<std::string> command = {"xdotool", "key", "--delay", "100"};
  command.insert(command.end(), keys.begin(), keys.end());
  return support::Run(command, kToolMs, m_desktop.Environment()).status == 0;
}

std::string Studio::Recording(std::size_t number) {
  m_rtmp.WaitForClosedRecordings(kWindowMs);
  const std::vector<std::string> recordings = m_rtmp.Recordings();
  return number < recordings.size() ? recordings[number] : "";
}

std::string Studio::Report() const {
  return "live_road:\n" + support::ReadFile(File("live_road.out")) + "\nstages:\n" +
         support::ReadFile(File("stage.out")) + "\nscreen:\n" + m_desktop.Output() + "\nsound:\n" +
         m_sound.Output() + "\nserver:\n" + m_rtmp.Log() + "\nservice:\n" +
         support::ReadFile(File("service.out"));
}

}  // namespace e2e
