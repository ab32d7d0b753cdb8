// camera_chooser [SECONDS]: how long the camera chooser holds up the window.
//
// On a screen and with two cameras of its own: what opening it, changing the camera and closing it
// take (each opens or stops a device on the user interface thread), and the longest that the event
// loop went without a turn while the preview ran and its dialog was repainted.
#include <SDL.h>

#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QTest>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "support/FakeCamera.h"
#include "support/PrivateDevices.h"
#include "support/VirtualDesktop.h"
#include "widgets/CCamDlg.h"
#include "widgets/theme/CustomShadowEffect.h"
#include "widgets/theme/Theme.h"

namespace {

constexpr int kRuns = 10;

class Figures {
 public:
  void Add(const QElapsedTimer& since) { m_ms.push_back(double(since.nsecsElapsed()) / 1e6); }
  void Print(const char* what) {
    std::sort(m_ms.begin(), m_ms.end());
    std::printf("%-44s median %6.1f ms, longest %6.1f ms\n", what, m_ms[m_ms.size() / 2],
                m_ms.back());
  }

 private:
  std::vector<double> m_ms;
};

support::FakeCameraMode ModeOf(const char* card) {
  support::FakeCameraMode mode;
  mode.card = card;
  mode.width = 1280;
  mode.height = 720;
  return mode;
}

void Measure(int seconds) {
  Figures opening;
  Figures changing;
  Figures turns;
  Figures closing;
  for (int i = 0; i < kRuns; ++i) {
    QElapsedTimer timer;
    timer.start();
    CCamDlg dialog;
    opening.Add(timer);
    ApplyDialogShadow(&dialog, new CustomShadowEffect);
    dialog.show();
    QTest::qWait(500);
    QElapsedTimer sinceTurn;
    sinceTurn.start();
    QTimer turn;
    QObject::connect(&turn, &QTimer::timeout, [&] {
      turns.Add(sinceTurn);
      sinceTurn.restart();
      dialog.update();
    });
    turn.start(1);
    QTest::qWait(seconds * 1000 / kRuns);
    turn.stop();
    timer.restart();
    dialog.findChild<QComboBox*>(QStringLiteral("m_ComDev"))->setCurrentIndex(1);
    changing.Add(timer);
    QTest::qWait(200);
    timer.restart();
    dialog.SlotCancel();
    closing.Add(timer);
  }
  opening.Print("opening, a camera with it");
  changing.Print("changing the camera");
  turns.Print("one turn of the event loop, preview running");
  closing.Print("closing");
}

}  // namespace

int main(int argc, char** argv) {
  support::PrepareProcess(argv);
  const int seconds = argc > 1 ? std::atoi(argv[1]) : 10;
  support::VirtualDesktop desktop;
  support::DesktopOptions options;
  options.windowManager = true;
  if (!desktop.Start(options)) {
    std::printf("no screen: %s\n", desktop.Output().c_str());
    return 1;
  }
  qputenv("QT_QPA_PLATFORM", "xcb");
  qputenv("QT_XCB_GL_INTEGRATION", "none");
  QCoreApplication::setAttribute(Qt::AA_DontCreateNativeWidgetSiblings);
  const QApplication application(argc, argv);
  PrepareTheme();
  SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
  support::FakeCamera first;
  support::FakeCamera second;
  if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0 || !first.Plug(ModeOf("First")) ||
      !second.Plug(ModeOf("Second"))) {
    std::printf("%s%s%s\n", SDL_GetError(), first.Failure().c_str(), second.Failure().c_str());
    return 1;
  }
  Measure(seconds);
  SDL_QuitSubSystem(SDL_INIT_VIDEO);
  return 0;
}
