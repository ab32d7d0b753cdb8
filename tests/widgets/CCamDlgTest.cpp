// The camera chooser with cameras in memory, off screen.
#include "widgets/CCamDlg.h"

#include <gtest/gtest.h>

#include <QAbstractItemView>
#include <QAccessible>
#include <QComboBox>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QSignalSpy>
#include <QStyleOptionComboBox>
#include <QTest>
#include <QTextDocument>
#include <QTimer>
#include <algorithm>
#include <optional>
#include <tuple>

#include "sources/DeviceCatalogue.h"
#include "support/FakeCaptureLayer.h"
#include "support/LogRecord.h"
#include "support/RefusedThreads.h"

namespace {

using support::FakeDevice;

// What platform::CanDrawInNativeWindows is made to say; it says no without a display.
bool g_claimsToDraw = false;

}  // namespace

// Linked in its place.
extern "C" bool __wrap__ZN8platform22CanDrawInNativeWindowsEv();
extern "C" bool __wrap__ZN8platform22CanDrawInNativeWindowsEv() {
  return g_claimsToDraw;
}

namespace {

using support::LogRecord;

constexpr int kPatienceMs = 15000;

// Notes which cameras are open while another is being opened.
class WatchedLayer : public support::FakeCaptureLayer {
 public:
  FakeDevice* Add(const std::string& name) {
    cameras.push_back(AddCamera(name));
    cameras.back()->RunFree();
    return cameras.back();
  }
  platform::OpenResult Open(platform::CaptureKind kind, const std::string& name) override {
    for (const FakeDevice* camera : cameras) {
      if (camera->IsOpen()) {
        stillOpen.push_back(camera->Name());
      }
    }
    return FakeCaptureLayer::Open(kind, name);
  }

  std::vector<FakeDevice*> cameras;
  std::vector<std::string> stillOpen;
};

class CCamDlgTest : public testing::Test {
 protected:
  CCamDlgTest() { catalogue->usedVideoDevices.clear(); }
  ~CCamDlgTest() override { catalogue->usedVideoDevices.clear(); }

  template <typename T = QWidget>
  static T* Find(const CCamDlg& dialog, const char* name) {
    return dialog.findChild<T*>(QLatin1String(name));
  }
  static QComboBox* List(const CCamDlg& dialog) { return Find<QComboBox>(dialog, "m_ComDev"); }
  static void Click(const CCamDlg& dialog, const char* name) {
    QTest::mouseClick(Find(dialog, name), Qt::LeftButton);
  }
  static QStringList Entries(const CCamDlg& dialog) {
    QStringList entries;
    for (int i = 0; i < List(dialog)->count(); ++i) {
      entries << List(dialog)->itemText(i);
    }
    return entries;
  }

  LogRecord log;
  DeviceCatalogue* catalogue = DeviceCatalogue::Instance();
  WatchedLayer layer;
  support::InstalledCaptureLayer installed{&layer};
};

TEST_F(CCamDlgTest, WithoutAFreeCameraTheListIsEmptyAndOkGivesAnEmptyName) {
  CCamDlg dialog;
  EXPECT_EQ(0, List(dialog)->count());
  EXPECT_TRUE(layer.Opened().empty());
  dialog.SlotOK();
  EXPECT_EQ(1, dialog.result());
  EXPECT_TRUE(dialog.DeviceName().empty());
  // No preview has started, so none has told the log that it has no screen.
  EXPECT_EQ("", log.Errors());
}

TEST_F(CCamDlgTest, TheListHoldsTheFreeCamerasInOrderAndTheFirstIsChosen) {
  FakeDevice* first = layer.Add("Überwachung 摄像头");
  layer.Add("Used");
  layer.Add("my screen-capture-recorder");
  layer.Add("Last");
  catalogue->usedVideoDevices = {"Used"};
  CCamDlg dialog;
  EXPECT_EQ((QStringList{"Überwachung 摄像头", "Last"}), Entries(dialog));
  EXPECT_EQ(0, List(dialog)->currentIndex());
  EXPECT_EQ("Überwachung 摄像头", dialog.DeviceName());
  EXPECT_TRUE(first->IsOpen());
  EXPECT_EQ(1, first->OpenCount());
}

TEST_F(CCamDlgTest, SwitchingStopsTheFormerCameraBeforeTheNextOpens) {
  FakeDevice* first = layer.Add("First");
  FakeDevice* second = layer.Add("Second");
  CCamDlg dialog;
  List(dialog)->setCurrentIndex(1);
  EXPECT_FALSE(first->IsOpen());
  EXPECT_TRUE(second->IsOpen());
  List(dialog)->setCurrentIndex(0);
  EXPECT_TRUE(first->IsOpen());
  EXPECT_TRUE(layer.stillOpen.empty());
  EXPECT_EQ((std::vector<std::string>{"First", "Second", "First"}), layer.Opened());
  EXPECT_EQ("First", dialog.DeviceName());
}

TEST_F(CCamDlgTest, ChoosingTheCameraThatIsShownChangesNothing) {
  FakeDevice* camera = layer.Add("Only");
  CCamDlg dialog;
  dialog.SlotComboDevChanged();
  emit List(dialog)->currentIndexChanged(0);
  EXPECT_EQ(1, camera->OpenCount());
}

TEST_F(CCamDlgTest, ThePicturesAreTakenAndNotHeaped) {
  // Only looks: a dialog of a class of its own would still be made while the camera delivers.
  struct Look : CCamDlg {
    static int Waiting(CCamDlg* dialog) { return (dialog->*(&Look::m_firstVideoQueue))->Size(); }
  };
  FakeDevice* camera = layer.Add("Only");
  CCamDlg dialog;
  ASSERT_TRUE(QTest::qWaitFor([&] { return camera->NextNumber() > 20; }, kPatienceMs));
  EXPECT_TRUE(QTest::qWaitFor([&] { return Look::Waiting(&dialog) <= 6; }, kPatienceMs));
  dialog.SlotOK();
  EXPECT_FALSE(camera->IsOpen());
}

TEST_F(CCamDlgTest, ACameraThatCannotBeOpenedCanBeConfirmed) {
  layer.Add("Busy")->SetBusy(true);
  CCamDlg dialog;
  EXPECT_TRUE(catalogue->usedVideoDevices.empty());
  dialog.SlotOK();
  EXPECT_EQ(1, dialog.result());
  EXPECT_EQ("Busy", dialog.DeviceName());
  EXPECT_TRUE(log.HasError("Busy"));
}

TEST_F(CCamDlgTest, ACameraThatCannotBeOpenedLeavesRoomForTheNext) {
  layer.Add("Busy")->SetBusy(true);
  FakeDevice* good = layer.Add("Good");
  CCamDlg dialog;
  List(dialog)->setCurrentIndex(1);
  EXPECT_TRUE(good->IsOpen());
  EXPECT_EQ("Good", dialog.DeviceName());
}

TEST_F(CCamDlgTest, TheNameSurvivesEitherWayAndTheDeviceIsFree) {
  FakeDevice* camera = layer.Add("Only");
  for (const bool ok : {true, false}) {
    CCamDlg dialog;
    ASSERT_TRUE(camera->IsOpen());
    ok ? dialog.SlotOK() : dialog.SlotCancel();
    EXPECT_EQ(ok ? 1 : 0, dialog.result());
    EXPECT_EQ("Only", dialog.DeviceName());
    EXPECT_FALSE(camera->IsOpen());
    EXPECT_TRUE(catalogue->usedVideoDevices.empty());
  }
}

TEST_F(CCamDlgTest, TheDeviceIsFreeBeforeTheDialogTellsThatItHasClosed) {
  FakeDevice* camera = layer.Add("Only");
  CCamDlg dialog;
  bool open = true;
  QObject::connect(&dialog, &QDialog::finished, [&] { open = camera->IsOpen(); });
  dialog.SlotCancel();
  EXPECT_FALSE(open);
}

TEST_F(CCamDlgTest, EscapeAndTheWindowManagerGoTheSameRoad) {
  FakeDevice* camera = layer.Add("Only");
  {
    CCamDlg dialog;
    dialog.show();
    QTest::keyClick(&dialog, Qt::Key_Escape);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_FALSE(camera->IsOpen());
  }
  CCamDlg dialog;
  dialog.show();
  dialog.close();
  EXPECT_FALSE(camera->IsOpen());
}

TEST_F(CCamDlgTest, ADoubleClickOnAButtonEndsTheDialogOnce) {
  FakeDevice* camera = layer.Add("Only");
  for (const auto& [name, result] : {std::tuple("m_btnOk", 1), std::tuple("m_btnCancel", 0)}) {
    CCamDlg dialog;
    QSignalSpy finished(&dialog, &QDialog::finished);
    QWidget* button = Find(dialog, name);
    QTimer::singleShot(0, button, [button] {
      // Two clicks as the mouse sends them: the second press is the double click.
      QTest::mouseClick(button, Qt::LeftButton);
      const QPoint middle = button->rect().center();
      for (const QEvent::Type type : {QEvent::MouseButtonDblClick, QEvent::MouseButtonRelease}) {
        QMouseEvent event(type, middle, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QApplication::postEvent(button, new QMouseEvent(event));
      }
    });
    EXPECT_EQ(result, dialog.exec());
    QApplication::processEvents();
    EXPECT_EQ(result, dialog.result()) << name;
    EXPECT_FALSE(camera->IsOpen());
    EXPECT_EQ("Only", dialog.DeviceName());
  }
}

TEST_F(CCamDlgTest, OkAfterItHasClosedTouchesNoCamera) {
  FakeDevice* camera = layer.Add("Only");
  CCamDlg dialog;
  dialog.SlotCancel();
  dialog.SlotOK();
  EXPECT_FALSE(camera->IsOpen());
  EXPECT_EQ(1, camera->OpenCount());
}

TEST_F(CCamDlgTest, LooksAsPrescribed) {
  layer.Add("Only");
  CCamDlg dialog;
  dialog.ensurePolished();
  EXPECT_EQ("CamDlg", dialog.objectName());
  EXPECT_EQ("Dialog", dialog.windowTitle());
  EXPECT_EQ(QSize(680, 550), dialog.size());
  EXPECT_EQ(dialog.minimumSize(), dialog.size());
  EXPECT_EQ(dialog.maximumSize(), dialog.size());
  EXPECT_TRUE(dialog.windowFlags().testFlag(Qt::FramelessWindowHint));
  EXPECT_TRUE(dialog.testAttribute(Qt::WA_TranslucentBackground));
  const QString action = "border-image:url(:/orvane/qietu/action-btn.png);font:";
  for (const auto& [name, place, text, style] :
       {std::tuple("titleLabel", QRect(20, 18, 90, 25), "添加摄像头",
                   QString("color: #B4BECC;font: bold 14px 黑体;")),
        std::tuple("selecEquLabel", QRect(20, 65, 70, 20), "选择设备：",
                   QString("color: #B4BECC;font: normal 12px 黑体;")),
        std::tuple("m_ComDev", QRect(100, 65, 150, 20), "", QString("color: blue; ")),
        std::tuple("m_btnCancel", QRect(210, 490, 120, 40), "取消",
                   action + "500 12px 黑体;color:#878e99"),
        std::tuple("m_btnOk", QRect(350, 490, 120, 40), "确定",
                   action + "bold 12px 黑体;color:#20a0ff"),
        std::tuple("m_labRender", QRect(10, 110, 640, 360), "", QString())}) {
    QWidget* widget = Find(dialog, name);
    ASSERT_NE(nullptr, widget) << name;
    EXPECT_EQ(place, widget->geometry()) << name;
    EXPECT_EQ(style, widget->styleSheet()) << name;
    if (*text != '\0') {
      EXPECT_EQ(QString::fromUtf8(text), widget->property("text").toString());
    }
  }
  const QWidget* picture = Find<QLabel>(dialog, "m_labRender");
  EXPECT_EQ(QSize(640, 360), picture->minimumSize());
  EXPECT_EQ(QSize(640, 360), picture->maximumSize());
  const auto* exit = Find<QPushButton>(dialog, "m_BtnExit");
  EXPECT_EQ(QRect(645, 23, 16, 16), exit->geometry());
  EXPECT_EQ(QSize(16, 16), exit->minimumSize());
  EXPECT_EQ(QSize(16, 16), exit->maximumSize());
  EXPECT_TRUE(exit->text().isEmpty());
  EXPECT_TRUE(exit->styleSheet().contains("topbar-close.png"));
}

TEST_F(CCamDlgTest, TheBodyIsRoundAndTheMarginTransparent) {
  CCamDlg dialog;
  QImage picture(dialog.size(), QImage::Format_ARGB32_Premultiplied);
  picture.fill(Qt::transparent);
  dialog.render(&picture, QPoint(), QRegion(), QWidget::DrawChildren);
  EXPECT_EQ(qRgba(0x28, 0x2a, 0x30, 0xff), picture.pixel(400, 80));
  EXPECT_EQ(0, qAlpha(picture.pixel(3, 300)));
  EXPECT_EQ(0, qAlpha(picture.pixel(6, 6)));
  EXPECT_EQ(qRgba(0x28, 0x2a, 0x30, 0xff), picture.pixel(340, 6));
  // Where no camera is shown there is black.
  EXPECT_EQ(qRgba(0, 0, 0, 0xff), picture.pixel(300, 300));
}

void Send(CCamDlg& dialog, QEvent::Type type, QPoint local, QPoint global, bool* accepted) {
  QMouseEvent event(type, local, global, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
  event.setAccepted(true);
  QApplication::sendEvent(&dialog, &event);
  *accepted = event.isAccepted();
}

TEST_F(CCamDlgTest, IsMovedByItsTitleAreaOnly) {
  for (const auto& [press, moves, taken] :
       {std::tuple(QPoint(300, 39), true, true), std::tuple(QPoint(300, 40), false, true),
        std::tuple(QPoint(5, 5), true, true), std::tuple(QPoint(4, 20), false, false),
        std::tuple(QPoint(300, 4), false, false), std::tuple(QPoint(675, 20), true, true),
        std::tuple(QPoint(676, 20), false, false)}) {
    CCamDlg dialog;
    dialog.move(100, 100);
    bool accepted = false;
    Send(dialog, QEvent::MouseButtonPress, press, QPoint(500, 500), &accepted);
    EXPECT_EQ(taken, accepted) << press.x() << "," << press.y();
    Send(dialog, QEvent::MouseMove, press, QPoint(510, 530), &accepted);
    EXPECT_FALSE(accepted);
    const QPoint wanted = moves ? QPoint(110, 130) : QPoint(100, 100);
    EXPECT_EQ(wanted, dialog.pos()) << press.x() << "," << press.y();
    Send(dialog, QEvent::MouseButtonRelease, press, QPoint(510, 530), &accepted);
    EXPECT_FALSE(accepted);
    Send(dialog, QEvent::MouseMove, press, QPoint(600, 600), &accepted);
    EXPECT_EQ(wanted, dialog.pos());
  }
}

TEST_F(CCamDlgTest, IsWorkedByTheKeyboard) {
  layer.Add("First");
  layer.Add("Second");
  CCamDlg dialog;
  dialog.show();
  QApplication::setActiveWindow(&dialog);
  EXPECT_EQ(List(dialog), dialog.focusWidget());
  for (const char* next : {"m_btnOk", "m_btnCancel", "m_BtnExit", "m_ComDev"}) {
    QTest::keyClick(dialog.focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(Find(dialog, next), dialog.focusWidget()) << next;
  }
  QTest::keyClick(List(dialog), Qt::Key_Down);
  EXPECT_EQ("Second", dialog.DeviceName());
  EXPECT_TRUE(Find<QPushButton>(dialog, "m_btnOk")->isDefault());
  QTest::keyClick(List(dialog), Qt::Key_Return);
  EXPECT_EQ(1, dialog.result());
  EXPECT_FALSE(dialog.isVisible());
}

TEST_F(CCamDlgTest, ReturnOnCancelCancels) {
  CCamDlg dialog;
  dialog.show();
  QApplication::setActiveWindow(&dialog);
  dialog.setResult(7);
  Find(dialog, "m_btnCancel")->setFocus();
  QTest::keyClick(Find(dialog, "m_btnCancel"), Qt::Key_Return);
  EXPECT_EQ(0, dialog.result());
  EXPECT_FALSE(dialog.isVisible());
}

// Nobody would take its pictures.
TEST_F(CCamDlgTest, WithoutAThreadForThePreviewTheCameraIsClosedAgain) {
  const FakeDevice* camera = layer.Add("Only");
  std::optional<support::RefusedThreads> refused(2);  // but the camera's own, to open and to read
  CCamDlg dialog;
  refused.reset();
  EXPECT_NE(log.Errors().find("no thread for \"preview\""), std::string::npos) << log.Errors();
  EXPECT_EQ(camera->OpenCount(), 1);
  EXPECT_FALSE(camera->IsOpen());
  dialog.SlotOK();
  EXPECT_EQ(dialog.DeviceName(), "Only");
}

// The label is left to the one that draws, and it turns out that nobody does.
TEST_F(CCamDlgTest, ThePreviewIsBlackWhereNothingCanBeDrawnAfterAll) {
  layer.Add("Only");
  g_claimsToDraw = true;
  CCamDlg dialog;
  g_claimsToDraw = false;
  const auto isLeft = [&] {
    return Find(dialog, "m_labRender")->testAttribute(Qt::WA_PaintOnScreen);
  };
  EXPECT_TRUE(isLeft());
  EXPECT_TRUE(QTest::qWaitFor([&] { return !isLeft(); }, kPatienceMs));
  QImage picture(dialog.size(), QImage::Format_ARGB32_Premultiplied);
  picture.fill(Qt::white);
  dialog.render(&picture, QPoint(), QRegion(), QWidget::DrawChildren);
  EXPECT_EQ(qRgba(0, 0, 0, 0xff), picture.pixel(300, 300));
}

int Brightness(const QColor& colour) {
  return colour.red() + colour.green() + colour.blue();
}

// The letters are blue; an arrow of their colour could not be seen on the dark box.
TEST_F(CCamDlgTest, TheArrowOfTheListStandsOutFromItsBox) {
  layer.Add("Only");
  QWidget window;  // as the main window hands its ground down
  window.setStyleSheet(QStringLiteral("QWidget{background-color:#282A30;}"));
  CCamDlg dialog(&window);
  const QComboBox* list = List(dialog);
  QStyleOptionComboBox option;
  option.initFrom(list);
  const QRect arrow =
      list->style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxArrow, list);
  const QImage image =
      dialog.grab(QRect(list->pos() + arrow.topLeft(), arrow.size()).adjusted(2, 4, -4, -4))
          .toImage();
  int brightest = 0;
  for (int i = 0; i < image.width() * image.height(); ++i) {
    brightest =
        std::max(brightest, Brightness(image.pixelColor(i % image.width(), i / image.width())));
  }
  EXPECT_GT(brightest, Brightness(QColor(0x28, 0x2A, 0x30)) + 200);
}

TEST_F(CCamDlgTest, TellsAScreenReaderWhatEverythingIs) {
  CCamDlg dialog;
  for (const auto& [name, text] :
       {std::tuple("m_ComDev", "选择设备"), std::tuple("m_btnOk", "确定"),
        std::tuple("m_btnCancel", "取消"), std::tuple("m_BtnExit", "关闭"),
        std::tuple("m_labRender", "摄像头预览")}) {
    QAccessibleInterface* interface = QAccessible::queryAccessibleInterface(Find(dialog, name));
    ASSERT_NE(nullptr, interface) << name;
    EXPECT_EQ(QString::fromUtf8(text), interface->text(QAccessible::Name)) << name;
  }
}

TEST_F(CCamDlgTest, ALongNameCanBeReadWhole) {
  const QString name = QString(60, 'W') + " 2";
  layer.Add(name.toStdString());
  CCamDlg dialog;
  // As plain text: a camera says itself what it is called.
  EXPECT_EQ(Qt::convertFromPlainText(name), List(dialog)->toolTip());
  EXPECT_EQ(Qt::convertFromPlainText(name), List(dialog)->itemData(0, Qt::ToolTipRole).toString());
  // And in the list both its ends.
  EXPECT_EQ(Qt::ElideMiddle, List(dialog)->view()->textElideMode());
}

}  // namespace
