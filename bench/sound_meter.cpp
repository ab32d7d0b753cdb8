// sound_meter [SECONDS]: what the sound meter costs while nothing is broadcast.
//
// On a screen and a sound server of its own, with sound that comes and goes as speech does in both
// rows: the part of the bar that the window has, alone in a window of the same size and look, once
// with its devices listened to and the meter moving, and once closed. What one costs beyond the
// other, in CPU seconds a second, is the meter's.
#include <QApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QTest>
#include <QWidget>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "ThreadMeter.h"
#include "shell/SoundDesk.h"
#include "sources/DeviceCatalogue.h"
#include "support/Process.h"
#include "support/SoundServer.h"
#include "support/VirtualDesktop.h"
#include "support/WorkingDirectory.h"
#include "widgets/theme/Theme.h"

namespace {

using support::SoundServer;

constexpr int kWarmUpMs = 3000;
constexpr double kSyllablesPerSecond = 3;

// A tone whose loudness goes up and down between 0 and -40 dB.
std::vector<std::int16_t> Speech(double hertz, int seconds) {
  std::vector<std::int16_t> samples = support::ToneSamples(hertz, seconds, 1);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double turn =
        std::sin(2 * 3.14159265 * kSyllablesPerSecond * static_cast<double>(i / 2) / 48000);
    samples[i] = static_cast<std::int16_t>(samples[i] * std::pow(10.0, turn - 1));
  }
  return samples;
}

// What plays into a sink until it goes.
bool Talk(support::Process* player, const SoundServer& server, const std::string& sink,
          const std::string& file) {
  return player->Start({"pacat", "--playback", "--raw", "--format=s16le", "--rate=48000",
                        "--channels=2", "--device=" + sink, file},
                       server.Environment(), file + ".out");
}

double Measure(const char* what, int seconds) {
  QTest::qWait(kWarmUpMs);
  bench::ThreadMeter meter;
  meter.Begin();
  for (int second = 0; second < seconds; ++second) {
    QTest::qWait(1000);
    meter.Sample();
  }
  const double cost = meter.Total() / seconds;
  std::printf("%s: %.4f CPU seconds a second\n", what, cost);
  for (const bench::ThreadShare& share : meter.Shares()) {
    std::printf("  %-12s %2d threads %8.4f\n", share.name.c_str(), share.threads,
                share.seconds / seconds);
  }
  return cost;
}

// As wide and as dark as the program's, with the meter in its bar.
double MeasureDesk(int seconds) {
  CInputDev* noDevice = nullptr;
  CMixOut* noMixer = nullptr;
  CEncoder* noEncoder = nullptr;
  QWidget window;
  window.setStyleSheet(QStringLiteral("QWidget{background-color:#282A30;}"));
  window.resize(1280, 720);
  QHBoxLayout bar(&window);
  auto* clock = new QLabel(&window);
  bar.addWidget(clock);
  shell::SoundDesk desk({noDevice, noDevice, noMixer, noEncoder});
  desk.AddTo(&bar, clock);
  desk.Open();
  window.show();
  const double open = Measure("meter", seconds);
  desk.Close();
  return open - Measure("no meter", seconds);
}

}  // namespace

int main(int argc, char** argv) {
  const int seconds = argc > 1 ? std::atoi(argv[1]) : 20;
  const support::WorkingDirectory directory;
  SoundServer server;
  support::VirtualDesktop desktop;
  support::DesktopOptions options;
  options.windowManager = true;
  if (!server.Start() || !desktop.Start(options)) {
    std::printf("no sound or no screen: %s%s\n", server.Output().c_str(), desktop.Output().c_str());
    return 1;
  }
  const support::SoundServerEnvironment environment(server);
  // Past the end of both measurements.
  const int length = 2 * seconds + 30;
  support::Process players[2];
  const struct {
    const char* sink;
    double hertz;
  } voices[] = {{SoundServer::kSpeakers, 440}, {SoundServer::kMicrophoneFeed, 1000}};
  for (int i = 0; i < 2; ++i) {
    const std::string file = directory.File(voices[i].sink);
    if (!support::WriteRaw(file, Speech(voices[i].hertz, length)) ||
        !Talk(&players[i], server, voices[i].sink, file)) {
      std::printf("nothing to hear\n");
      return 1;
    }
  }
  qputenv("QT_QPA_PLATFORM", "xcb");
  qputenv("QT_XCB_GL_INTEGRATION", "none");
  const QApplication application(argc, argv);
  PrepareTheme();
  DeviceCatalogue::Instance()->RefreshDevices();
  std::printf("the meter: %.4f CPU seconds a second\n", MeasureDesk(seconds));
  return 0;
}
