#include "widgets/CamDlgRig.h"

#include <SDL.h>
#include <xcb/xcb.h>

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QTest>
#include <algorithm>
#include <cstdlib>
#include <vector>

#include "sources/CInputDev.h"
#include "sources/DeviceCatalogue.h"
#include "support/Process.h"
#include "widgets/CCamDlg.h"
#include "widgets/theme/CustomShadowEffect.h"
#include "widgets/theme/Theme.h"

namespace support {

namespace {

bool IsNear(Colour colour, const CameraColour& wanted) {
  const auto near = [](Colour got, int want) {
    return std::abs(static_cast<int>(got & 0xff) - want) <= 8;
  };
  return colour <= 0xffffff && near(colour >> 16, wanted.red) && near(colour >> 8, wanted.green) &&
         near(colour, wanted.blue);
}

int Workers() {
  int workers = 0;
  const QDir tasks(QStringLiteral("/proc/self/task"));
  for (const QString& id : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
    QFile name(tasks.filePath(id + QStringLiteral("/comm")));
    if (name.open(QIODevice::ReadOnly)) {
      const QByteArray text = name.readAll().trimmed();
      workers += text == "preview" || text == "capture" ? 1 : 0;
    }
  }
  return workers;
}

}  // namespace

VirtualDesktop* CamDlgRig::s_desktop = nullptr;
xcb_connection_t* CamDlgRig::s_link = nullptr;

void CamDlgRig::StartScreen(int width, int height, int scale) {
  s_desktop = new VirtualDesktop;
  DesktopOptions options;
  options.width = width;
  options.height = height;
  options.windowManager = true;
  options.compositor = true;
  ASSERT_TRUE(s_desktop->Start(options)) << s_desktop->Output();
  s_link = xcb_connect(s_desktop->Display().c_str(), nullptr);
  for (const char* name : {"QT_QPA_PLATFORMTHEME", "QT_STYLE_OVERRIDE", "XDG_CURRENT_DESKTOP"}) {
    qunsetenv(name);
  }
  qputenv("QT_QPA_PLATFORM", "xcb");
  qputenv("QT_XCB_GL_INTEGRATION", "none");
  qputenv("QT_FONT_DPI", "96");
  qputenv("QT_SCALE_FACTOR", QByteArray::number(scale));
  QCoreApplication::setAttribute(Qt::AA_DontCreateNativeWidgetSiblings);
  static int argc = 1;
  static char name[] = "CamDlgTest";
  static char* argv[] = {name, nullptr};
  // It stays, as in every test with a screen: with it Qt would unload its platform plugin.
  static QApplication* const application = new QApplication(argc, argv);
  static_cast<void>(application);
  QApplication::setCursorFlashTime(0);
  PrepareTheme();
  SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
  ASSERT_EQ(0, SDL_InitSubSystem(SDL_INIT_VIDEO)) << SDL_GetError();
}

void CamDlgRig::TearDownTestSuite() {
  SDL_QuitSubSystem(SDL_INIT_VIDEO);
  xcb_disconnect(s_link);
  delete s_desktop;
}

void CamDlgRig::SetUp() {
  DeviceCatalogue::Instance()->usedVideoDevices.clear();
}

FakeCameraMode CamDlgRig::ModeOf(const std::string& card, const CameraColour& background) {
  FakeCameraMode mode;
  mode.card = card;
  mode.width = 320;
  mode.height = 240;
  mode.background = background;
  return mode;
}

void CamDlgRig::Show(CCamDlg* dialog, bool shadow) {
  if (shadow) {
    ApplyDialogShadow(dialog, new CustomShadowEffect);
  }
  dialog->move(60, 60);
  dialog->show();
  dialog->activateWindow();
  ASSERT_TRUE(QTest::qWaitForWindowActive(dialog, kPatienceMs));
}

// As the server has it: what Qt believes of a window's place may come from before the window
// manager has put it there.
QRect CamDlgRig::PreviewArea(const CCamDlg& dialog) {
  const auto* label = dialog.findChild<QLabel*>(QStringLiteral("m_labRender"));
  const auto window = static_cast<xcb_window_t>(label->effectiveWinId());
  xcb_connection_t* link = s_link;
  const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(link)).data->root;
  auto* geometry = xcb_get_geometry_reply(link, xcb_get_geometry(link, window), nullptr);
  auto* place = xcb_translate_coordinates_reply(
      link, xcb_translate_coordinates(link, window, root, 0, 0), nullptr);
  QRect area;
  if (geometry != nullptr && place != nullptr) {
    area = QRect(place->dst_x, place->dst_y, geometry->width, geometry->height);
  }
  std::free(geometry);
  std::free(place);
  return area;
}

int CamDlgRig::Counter(const CCamDlg& dialog) {
  const ScreenPicture screen = s_desktop->ReadScreen();
  const QRect area = PreviewArea(dialog);
  const auto stride = static_cast<std::size_t>(screen.width) * 3;
  const std::uint8_t* first = screen.rgb.data() + static_cast<std::size_t>(area.y()) * stride +
                              static_cast<std::size_t>(area.x()) * 3;
  return screen.rgb.empty() ? -1 : ReadCameraCounter(first, stride, area.width(), area.height());
}

bool CamDlgRig::Shows(const CCamDlg& dialog, const CameraColour& background) {
  return QTest::qWaitFor(
      [&] {
        const ScreenPicture screen = s_desktop->ReadScreen();
        const QRect area = PreviewArea(dialog);
        const int top = area.y() + area.height() / 5;
        const int bottom = area.y() + area.height() * 2 / 5;
        return IsNear(screen.At(area.x() + 1, top), background) &&
               IsNear(screen.At(area.right() - 1, top), background) &&
               IsNear(screen.At(area.x() + 1, bottom), background) &&
               IsNear(screen.At(area.right() - 1, bottom), background) && Counter(dialog) >= 0;
      },
      kPatienceMs);
}

bool CamDlgRig::ShowsBlack(const CCamDlg& dialog) {
  return QTest::qWaitFor(
      [&] {
        const ScreenPicture screen = s_desktop->ReadScreen();
        const QRect area = PreviewArea(dialog).adjusted(1, 1, -1, -1);
        const CameraColour black{0, 0, 0};
        return IsNear(screen.At(area.left(), area.top()), black) &&
               IsNear(screen.At(area.right(), area.bottom()), black) &&
               IsNear(screen.At(area.center().x(), area.top()), black) &&
               IsNear(screen.At(area.center().x(), area.center().y()), black) &&
               // And black is the preview's, not the whole screen's.
               !IsNear(screen.At(area.center().x(), area.bottom() + 10), black);
      },
      kPatienceMs);
}

bool CamDlgRig::GoesOn(const CCamDlg& dialog) {
  const int first = Counter(dialog);
  return QTest::qWaitFor([&] { return Counter(dialog) > first + 1; }, kPatienceMs);
}

bool CamDlgRig::StandsStill(const CCamDlg& dialog) {
  return QTest::qWaitFor(
      [&] {
        const int counter = Counter(dialog);
        QTest::qWait(500);
        return counter >= 0 && Counter(dialog) == counter;
      },
      kPatienceMs);
}

bool CamDlgRig::HasWorkers(int count) {
  return WaitFor([count] { return Workers() == count; }, kPatienceMs);
}

int CamDlgRig::Descriptors() {
  return static_cast<int>(
      QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System).size());
}

bool CamDlgRig::IsFree(const std::string& card) {
  CInputDev node(false, card, 0, 0, AV_PIX_FMT_RGB24);
  const bool opened = node.Start() == 0;
  node.Stop();
  return opened;
}

}  // namespace support
