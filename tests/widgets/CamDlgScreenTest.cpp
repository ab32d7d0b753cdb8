// The camera chooser as the operator sees it: real pictures on a real screen, from cameras in every
// state in which they may be.
#include <SDL.h>
#include <malloc.h>
#include <xcb/xcb.h>

#include <QComboBox>
#include <QLabel>
#include <QPixmapCache>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "sources/DeviceCatalogue.h"
#include "widgets/CCamDlg.h"
#include "widgets/CamDlgRig.h"
#include "widgets/CameraLabel.h"

namespace {

using support::CamDlgRig;
using support::CameraColour;
using support::FakeCamera;
using support::kPatienceMs;

constexpr CameraColour kBlue{20, 60, 180};
constexpr CameraColour kGreen{20, 160, 60};
constexpr char kFirst[] = "First Camera";
constexpr char kSecond[] = "Second Camera";

bool g_hasRenderer = true;
std::atomic<int> g_access{-1};  // of the texture that was made last
std::atomic<bool> g_takesPictures{true};
std::atomic<int> g_refused{0};

}  // namespace

// Linked in the place of SDL's.
extern "C" SDL_Renderer* __real_SDL_CreateRenderer(SDL_Window* window, int index, Uint32 flags);
extern "C" SDL_Renderer* __wrap_SDL_CreateRenderer(SDL_Window* window, int index, Uint32 flags);
extern "C" SDL_Renderer* __wrap_SDL_CreateRenderer(SDL_Window* window, int index, Uint32 flags) {
  return g_hasRenderer ? __real_SDL_CreateRenderer(window, index, flags) : nullptr;
}
extern "C" SDL_Texture* __real_SDL_CreateTexture(SDL_Renderer* renderer, Uint32 format, int access,
                                                 int width, int height);
extern "C" SDL_Texture* __wrap_SDL_CreateTexture(SDL_Renderer* renderer, Uint32 format, int access,
                                                 int width, int height);
extern "C" SDL_Texture* __wrap_SDL_CreateTexture(SDL_Renderer* renderer, Uint32 format, int access,
                                                 int width, int height) {
  g_access = access;
  return __real_SDL_CreateTexture(renderer, format, access, width, height);
}
extern "C" int __real_SDL_UpdateYUVTexture(SDL_Texture* texture, const SDL_Rect* area,
                                           const Uint8* y, int yPitch, const Uint8* u, int uPitch,
                                           const Uint8* v, int vPitch);
extern "C" int __wrap_SDL_UpdateYUVTexture(SDL_Texture* texture, const SDL_Rect* area,
                                           const Uint8* y, int yPitch, const Uint8* u, int uPitch,
                                           const Uint8* v, int vPitch);
extern "C" int __wrap_SDL_UpdateYUVTexture(SDL_Texture* texture, const SDL_Rect* area,
                                           const Uint8* y, int yPitch, const Uint8* u, int uPitch,
                                           const Uint8* v, int vPitch) {
  if (!g_takesPictures) {
    ++g_refused;
    return -1;
  }
  return __real_SDL_UpdateYUVTexture(texture, area, y, yPitch, u, uPitch, v, vPitch);
}

namespace {

class CamDlgScreen : public CamDlgRig {
 protected:
  void PlugFirst() { ASSERT_TRUE(first.Plug(ModeOf(kFirst, kBlue))) << first.Failure(); }
  void PlugSecond() { ASSERT_TRUE(second.Plug(ModeOf(kSecond, kGreen))) << second.Failure(); }
  static QComboBox* List(const CCamDlg& dialog) {
    return dialog.findChild<QComboBox*>(QStringLiteral("m_ComDev"));
  }
  static QPushButton* Button(const CCamDlg& dialog, const char* name) {
    return dialog.findChild<QPushButton*>(QLatin1String(name));
  }
  static std::vector<std::string> Used() {
    std::vector<std::string> names;
    for (const QString& name : DeviceCatalogue::Instance()->usedVideoDevices) {
      names.push_back(name.toStdString());
    }
    return names;
  }

  // Without the pictures of widgets that Qt keeps, up to a limit.
  static std::size_t BytesInUse() {
    QPixmapCache::clear();
    return mallinfo2().uordblks;
  }

  FakeCamera first;
  FakeCamera second;
};

TEST_F(CamDlgScreen, ListsTheCamerasAndShowsTheFirstOverTheWholeLabel) {
  PlugFirst();
  PlugSecond();
  CCamDlg dialog;
  Show(&dialog);
  ASSERT_EQ(2, List(dialog)->count());
  EXPECT_EQ(kFirst, List(dialog)->itemText(0).toStdString());
  EXPECT_EQ(kSecond, List(dialog)->itemText(1).toStdString());
  EXPECT_EQ(kFirst, dialog.DeviceName());
  EXPECT_TRUE(Shows(dialog, kBlue));
  EXPECT_TRUE(GoesOn(dialog));
}

TEST_F(CamDlgScreen, ADownKeySwitchesToTheOtherCamera) {
  PlugFirst();
  PlugSecond();
  CCamDlg dialog;
  Show(&dialog);
  ASSERT_TRUE(Shows(dialog, kBlue));
  QTest::keyClick(List(dialog), Qt::Key_Down);
  EXPECT_TRUE(Shows(dialog, kGreen));
  EXPECT_TRUE(GoesOn(dialog));
  EXPECT_EQ(std::vector<std::string>{kSecond}, Used());
  EXPECT_TRUE(IsFree(kFirst));
  EXPECT_TRUE(HasWorkers(2));
}

TEST_F(CamDlgScreen, ACameraInUseIsAbsentUntilItIsFree) {
  PlugFirst();
  PlugSecond();
  DeviceCatalogue::Instance()->usedVideoDevices = {QString::fromLatin1(kFirst)};
  {
    CCamDlg dialog;
    ASSERT_EQ(1, List(dialog)->count());
    EXPECT_EQ(kSecond, dialog.DeviceName());
  }
  DeviceCatalogue::Instance()->usedVideoDevices.clear();
  CCamDlg dialog;
  EXPECT_EQ(2, List(dialog)->count());
}

TEST_F(CamDlgScreen, WithoutACameraThePreviewIsBlack) {
  CCamDlg dialog;
  Show(&dialog);
  EXPECT_EQ(0, List(dialog)->count());
  EXPECT_TRUE(ShowsBlack(dialog));
  EXPECT_TRUE(HasWorkers(0));
}

// Nobody else would paint the label then: it would show what its window was made with.
TEST_F(CamDlgScreen, ThePreviewIsBlackWhereSdlCannotDraw) {
  PlugFirst();
  g_hasRenderer = false;
  CCamDlg dialog;
  const auto* label = dialog.findChild<QLabel*>(QStringLiteral("m_labRender"));
  const std::uint32_t red = 0xffff0000;
  xcb_change_window_attributes(s_link, static_cast<xcb_window_t>(label->effectiveWinId()),
                               XCB_CW_BACK_PIXEL, &red);
  xcb_flush(s_link);
  Show(&dialog);
  EXPECT_TRUE(ShowsBlack(dialog));
  g_hasRenderer = true;
}

// A camera that has gone gives no other picture with which it would be made good.
TEST_F(CamDlgScreen, APictureThatSdlDoesNotTakeIsGivenToItAgain) {
  PlugFirst();
  g_refused = 0;
  g_takesPictures = false;
  CCamDlg dialog;
  Show(&dialog);
  EXPECT_TRUE(QTest::qWaitFor([] { return g_refused > 0; }, kPatienceMs));
  first.Unplug();
  EXPECT_TRUE(HasWorkers(1));
  const int before = g_refused;
  EXPECT_TRUE(QTest::qWaitFor([before] { return g_refused > before + 10; }, kPatienceMs));
  g_takesPictures = true;
  EXPECT_TRUE(Shows(dialog, kBlue));
  EXPECT_EQ(SDL_TEXTUREACCESS_STREAMING, g_access) << "SDL's own drawing would copy it once more";
}

TEST_F(CamDlgScreen, ABusyCameraLeavesThePreviewBlackAndCanBeConfirmed) {
  PlugFirst();
  PlugSecond();
  ASSERT_TRUE(second.SetBusy(true));
  CCamDlg dialog;
  Show(&dialog);
  ASSERT_TRUE(Shows(dialog, kBlue));
  List(dialog)->setCurrentIndex(1);
  EXPECT_TRUE(ShowsBlack(dialog));
  EXPECT_TRUE(Used().empty());
  QTest::mouseClick(Button(dialog, "m_btnOk"), Qt::LeftButton);
  EXPECT_EQ(QDialog::Accepted, dialog.result());
  EXPECT_EQ(kSecond, dialog.DeviceName());
}

TEST_F(CamDlgScreen, ACameraThatIsUnpluggedLeavesItsLastPicture) {
  PlugFirst();
  CCamDlg dialog;
  Show(&dialog);
  ASSERT_TRUE(Shows(dialog, kBlue));
  first.Unplug();
  EXPECT_TRUE(StandsStill(dialog));
  EXPECT_TRUE(Shows(dialog, kBlue));
  QTest::keyClick(&dialog, Qt::Key_Escape);
  EXPECT_FALSE(dialog.isVisible());
  EXPECT_TRUE(HasWorkers(0));
}

TEST_F(CamDlgScreen, AFrozenCameraLeavesItsLastPictureAndGoesOnWhenItThaws) {
  PlugFirst();
  CCamDlg dialog;
  Show(&dialog);
  ASSERT_TRUE(Shows(dialog, kBlue));
  ASSERT_TRUE(first.Freeze());
  EXPECT_TRUE(StandsStill(dialog));
  ASSERT_TRUE(first.Thaw());
  EXPECT_TRUE(GoesOn(dialog));
  ASSERT_TRUE(first.Freeze());
  EXPECT_TRUE(StandsStill(dialog));
  QTest::keyClick(&dialog, Qt::Key_Escape);
  EXPECT_FALSE(dialog.isVisible());
  EXPECT_TRUE(HasWorkers(0));
}

TEST_F(CamDlgScreen, AFrozenCameraCanBeSwitchedAwayFrom) {
  PlugFirst();
  PlugSecond();
  ASSERT_TRUE(first.Freeze());
  CCamDlg dialog;
  Show(&dialog);
  EXPECT_TRUE(ShowsBlack(dialog));
  List(dialog)->setCurrentIndex(1);
  EXPECT_TRUE(Shows(dialog, kGreen));
}

// The layer that is made next opens the same device.
TEST_F(CamDlgScreen, EveryWayOfClosingLeavesTheCameraFree) {
  PlugFirst();
  const std::vector<std::pair<std::function<void(CCamDlg&)>, int>> ways = {
      {[](CCamDlg& d) { QTest::mouseClick(Button(d, "m_btnOk"), Qt::LeftButton); }, 1},
      {[](CCamDlg& d) { QTest::mouseClick(Button(d, "m_btnCancel"), Qt::LeftButton); }, 0},
      {[](CCamDlg& d) { QTest::mouseClick(Button(d, "m_BtnExit"), Qt::LeftButton); }, 0},
      {[](CCamDlg& d) { QTest::keyClick(&d, Qt::Key_Escape); }, 0},
      {[](CCamDlg& d) { QTest::keyClick(&d, Qt::Key_Return); }, 1},
      {[](CCamDlg& d) { d.close(); }, 0}};
  for (const auto& [close, result] : ways) {
    CCamDlg dialog;
    QTimer::singleShot(0, &dialog, [&dialog, closing = close] {
      EXPECT_TRUE(Shows(dialog, kBlue));
      EXPECT_TRUE(HasWorkers(2));
      closing(dialog);
    });
    EXPECT_EQ(result, dialog.exec());
    EXPECT_TRUE(HasWorkers(0));
    EXPECT_TRUE(Used().empty());
    EXPECT_TRUE(IsFree(kFirst));
    EXPECT_EQ(kFirst, dialog.DeviceName());
  }
}

// Deleted while it is open, as by a main window that ends.
TEST_F(CamDlgScreen, DeletionEndsThePreviewToo) {
  PlugFirst();
  auto dialog = std::make_unique<CCamDlg>();
  Show(dialog.get());
  ASSERT_TRUE(Shows(*dialog, kBlue));
  dialog.reset();
  EXPECT_TRUE(HasWorkers(0));
  EXPECT_TRUE(IsFree(kFirst));
}

TEST_F(CamDlgScreen, FiftyOpeningsLeaveNothingBehind) {
  PlugFirst();
  int descriptors = 0;
  std::size_t bytes = 0;
  for (int i = 0; i < 60; ++i) {
    if (i == 10) {
      // Behind what is taken once: fonts, the compositor's views, the shared memory of SDL.
      descriptors = Descriptors();
      bytes = BytesInUse();
    }
    CCamDlg dialog;
    dialog.show();
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
          const QPoint middle = PreviewArea(dialog).center();
          const support::Colour blue = s_desktop->ReadPixel(middle.x(), middle.y() - 60) & 0xff;
          return blue > 150 && blue < 200;
        },
        kPatienceMs));
    dialog.SlotCancel();
    ASSERT_TRUE(HasWorkers(0));
  }
  EXPECT_EQ(descriptors, Descriptors());
  for (std::uint32_t id = 0; id < 500; ++id) {
    EXPECT_EQ(nullptr, SDL_GetWindowFromID(id));
  }
  // Qt itself keeps 2 KB of each combo box with a style sheet that was shown; one picture would be
  // 100 times that. The sanitizers' allocators tell nothing here and have a leak check of their
  // own.
  EXPECT_LT(BytesInUse(), bytes + 192 * 1024);
}

TEST_F(CamDlgScreen, TheDialogCanBeMovedAndItsPictureMovesAlong) {
  PlugFirst();
  CCamDlg dialog;
  Show(&dialog);
  ASSERT_TRUE(Shows(dialog, kBlue));
  dialog.move(300, 150);
  EXPECT_TRUE(Shows(dialog, kBlue));
  EXPECT_TRUE(GoesOn(dialog));
}

// A drag moves it from where Qt believes it to be.
TEST_F(CamDlgScreen, QtKnowsWhereTheDialogStands) {
  QWidget window;
  window.setGeometry(100, 80, 900, 600);
  window.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&window, kPatienceMs));
  for (int i = 0; i < 10; ++i) {
    CCamDlg dialog(&window);
    QTimer::singleShot(0, &dialog, [&dialog] {
      const QPoint place(10, 110);  // of the preview in the dialog
      EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog, kPatienceMs));
      EXPECT_TRUE(QTest::qWaitFor(
          [&] {
            return dialog.pos() != QPoint() &&
                   dialog.pos() + place == PreviewArea(dialog).topLeft();
          },
          kPatienceMs))
          << dialog.x() << "," << dialog.y();
      dialog.SlotCancel();
    });
    dialog.exec();
  }
}

TEST_F(CamDlgScreen, WhatSdlHearsOfItsWindowIsThrownAway) {
  PlugFirst();
  CCamDlg dialog;
  Show(&dialog);
  ASSERT_TRUE(Shows(dialog, kBlue));
  for (int i = 0; i < 50; ++i) {
    SDL_Event event{};
    event.type = SDL_MOUSEMOTION;
    SDL_PushEvent(&event);
  }
  EXPECT_TRUE(QTest::qWaitFor(
      [] { return SDL_HasEvents(SDL_FIRSTEVENT, SDL_LASTEVENT) == SDL_FALSE; }, kPatienceMs));
}

// What another library has drawn must outlast the repaints of the dialog. Only the first one of the
// program has an effect; without it Qt brings each widget to the screen by itself.
TEST_F(CamDlgScreen, QtPaintsNothingWhereAnotherLibraryDraws) {
  for (const bool shadow : {true, false}) {
    CCamDlg dialog;
    auto* label =
        static_cast<CameraLabel*>(dialog.findChild<QLabel*>(QStringLiteral("m_labRender")));
    label->LeaveToOthers();
    Show(&dialog, shadow);
    const auto window = static_cast<xcb_window_t>(label->winId());
    const std::uint32_t red = 0xffff0000;
    xcb_change_window_attributes(s_link, window, XCB_CW_BACK_PIXEL, &red);
    xcb_clear_area(s_link, 0, window, 0, 0, 0, 0);
    xcb_flush(s_link);
    const auto showsRed = [&] {
      const QPoint middle = PreviewArea(dialog).center();
      return s_desktop->ReadPixel(middle.x(), middle.y()) == 0xff0000;
    };
    EXPECT_TRUE(QTest::qWaitFor(showsRed, kPatienceMs));
    for (int i = 0; i < 10; ++i) {
      dialog.repaint();
      label->repaint();
      label->update();
      QTest::qWait(10);
    }
    EXPECT_TRUE(showsRed()) << shadow;
  }
}

}  // namespace
