// The main window with its graph running: its form, its look, its shape, its place, its closing,
// and what a keyboard and a screen reader find.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QBuffer>
#include <QGuiApplication>
#include <QImage>
#include <QNetworkReply>
#include <QScreen>

#include "backend/BackendClient.h"
#include "output/CRender.h"
#include "shell/CEvent.h"
#include "shell/WindowFixture.h"
#include "shell/WindowStyle.h"
#include "sources/DeviceCatalogue.h"
#include "support/Accessibility.h"
#include "support/ProcessStats.h"

namespace {

const char kBlue[] =
    "QPushButton{color:#20A0FF;font-family:黑体;font-size:15px;font-type:bold;border-image:url(:/"
    "orvane/qietu/action-btn.png)}";
const char kLabelUnderButton[] = "QLabel{color:#B4BECC;font:12px bold 宋体}";

QString TitleButtonSheet(const QString& name, const QString& picture) {
  return QStringLiteral(
             "QPushButton#%1\n{\n\tborder: none;\n\tmin-height: 16px;\n\tmin-width:  16px;\n\t"
             "max-height: 16px;\n\tmax-width:  16px;\n\tmargin: 5px;\n\tbackground:url(:/orvane/"
             "qietu/%2);\n\tbackground-repeat: no-repeat;\n\tbackground-position: center;\n}")
      .arg(name, picture);
}

TEST_F(MainWindow, StartsWithItsMembersAtTheirStartingValues) {
  EXPECT_EQ(main->m_dragFrom, QPoint(0, 0));
  EXPECT_EQ(main->m_dragTo, QPoint(0, 0));
  EXPECT_EQ(main->m_pressPos, QPoint(0, 0));
  EXPECT_FALSE(main->m_wndDrag || main->m_leftDown || main->m_maximised || main->m_layerMoved);
  EXPECT_FALSE(main->m_isLiving || main->m_tipShown || main->m_tip.isVisible());
  EXPECT_FALSE(main->m_normalRect.isValid());
  EXPECT_EQ(main->m_dragMode, -1);
  EXPECT_EQ(main->m_liveTime, QTime(0, 0, 0, 0));
  EXPECT_FALSE(main->m_liveTimer.isActive());
  EXPECT_TRUE(main->m_adPixmap.isNull());
  EXPECT_TRUE(main->m_layers.empty());
  EXPECT_EQ(main->m_catalogue, DeviceCatalogue::Instance());
  EXPECT_EQ(main->m_backend, BackendClient::Instance());
  const void* const absent[] = {
      main->m_textDlg,  main->m_camDlg,  main->m_actDlg,  main->m_wndDlg,  main->m_loginDlg,
      main->m_mixFrame, main->m_silence, main->m_render,  main->m_encoder, main->m_loginShadow,
      main->m_mixOut,   main->m_mic,     main->m_loopback};
  for (const void* pointer : absent) {
    EXPECT_EQ(pointer, nullptr);
  }
  const shell::Rect& rect = main->m_pressRect;
  EXPECT_TRUE(rect.x == 0 && rect.y == 0 && rect.width == 0 && rect.height == 0);
}

// Whoever calls a slot by its number relies on the order.
TEST_F(MainWindow, HasItsSlotsInTheirOrder) {
  const QStringList wanted = {
      "SlotSetRenderSize", "SlotIndexChanged",  "SlotAddDesk",     "SlotAddCamera",
      "SlotAddWindow",     "SlotAddText",       "SlotAddPic",      "SlotAddFile",
      "OpenWndMenu",       "OpenTuCMenu",       "ChangeMaxNomal",  "SlotClose",
      "RecvChangeSignal",  "RecvDeleteSignal",  "SlotDeleteItem",  "SlotChangeItem",
      "SlotEditItem",      "SlotvisibleSignal", "replyFinished",   "SlotChooseBtn",
      "RecvStartLiving",   "updateTime",        "SlotLoginChange", "RecvStatusTip",
      "RecvHideStatusTip"};
  const QMetaObject& type = orvane::staticMetaObject;
  QStringList slotNames;
  for (int i = type.methodOffset(); i < type.methodCount(); ++i) {
    slotNames << QString::fromLatin1(type.method(i).name());
  }
  EXPECT_EQ(slotNames.join(' ').toStdString(), wanted.join(' ').toStdString());
}

struct WidgetRow {
  const char* name;
  const char* className;
  QSize least;
  QSize most;
  const char* text;  // null where it has none
};

constexpr int kAny = QWIDGETSIZE_MAX;
const WidgetRow kWidgets[] = {
    {"m_labLogo", "QLabel", {45, 30}, {45, 30}, ""},
    {"m_titleLogo", "QLabel", {200, 30}, {45, 30}, "柯维直播助手"},
    {"widget", "LoginInfoControl", {0, 0}, {kAny, kAny}, nullptr},
    {"m_BtnMin", "QPushButton", {26, 26}, {26, 26}, ""},
    {"m_BtnMax", "QPushButton", {26, 26}, {26, 26}, ""},
    {"m_BtnExit", "QPushButton", {26, 26}, {26, 26}, ""},
    {"m_renderWgt", "QLabel", {960, 540}, {960, 540}, ""},
    {"m_tabLayer", "MyListView", {290, 540}, {290, 540}, nullptr},
    {"m_chooseBtn", "QPushButton", {120, 40}, {120, 40}, "选择活动"},
    {"activitiesTitleLabel", "QLabel", {0, 28}, {kAny, 28}, ""},
    {"m_reselectBtn", "QPushButton", {64, 22}, {64, 22}, "重新选择"},
    {"startTime", "QLabel", {0, 0}, {kAny, kAny}, "00:00:00"},
    {"m_LiveBtn", "QPushButton", {120, 40}, {120, 40}, "开始直播"},
    {"m_AddWinBtn", "QPushButton", {40, 40}, {40, 40}, ""},
    {"m_AddWinLable", "QLabel", {0, 0}, {kAny, kAny}, "添加窗口"},
    {"m_AddTuC", "QPushButton", {40, 40}, {40, 40}, ""},
    {"m_AddTuCLabel", "QLabel", {0, 0}, {kAny, kAny}, "添加图层"},
};

TEST_F(MainWindow, HasEveryWidgetWithItsClassSizeAndText) {
  Run();
  for (const WidgetRow& row : kWidgets) {
    SCOPED_TRACE(row.name);
    const QWidget* widget = Find(row.name);
    ASSERT_NE(widget, nullptr);
    EXPECT_STREQ(widget->metaObject()->className(), row.className);
    EXPECT_EQ(widget->minimumSize(), row.least);
    EXPECT_EQ(widget->maximumSize(), row.most);
    if (row.text != nullptr) {
      EXPECT_EQ(widget->property("text").toString(), QString::fromUtf8(row.text));
    }
    // What is shown has the size that is asked for, and lies in the window.
    if (widget->isVisible()) {
      EXPECT_EQ(widget->size().expandedTo(row.least), widget->size());
      const QRect place(widget->mapTo(main, QPoint(0, 0)), widget->size());
      EXPECT_TRUE(main->rect().contains(place));
    }
  }
  EXPECT_TRUE(Get<QPushButton>("m_chooseBtn")->font().bold());
  const QLabel* logo = Get<QLabel>("m_labLogo");
  EXPECT_EQ(logo->pixmap(Qt::ReturnByValue).toImage(),
            QPixmap(QStringLiteral(":/orvane/qietu/topbar-logo.png")).toImage());
}

TEST_F(MainWindow, IsNamedAndSizedAndHasNoFlagsOfItsOwn) {
  Run();
  EXPECT_EQ(main->objectName(), QStringLiteral("orvaneClass"));
  EXPECT_EQ(main->minimumSize(), QSize(1280, 720));
  EXPECT_EQ(main->size(), QSize(1280, 720));
  EXPECT_EQ(main->windowTitle(), QStringLiteral("orvane"));
  EXPECT_EQ(main->windowIcon().pixmap(192).toImage(),
            QPixmap(QStringLiteral(":/orvane/qietu/tessaly-logo.png")).toImage());
  EXPECT_EQ(main->windowFlags(), QWidget().windowFlags());
  EXPECT_TRUE(main->testAttribute(Qt::WA_StyledBackground));
  EXPECT_TRUE(main->testAttribute(Qt::WA_MouseTracking));
}

struct LayoutRow {
  const char* name;
  int spacing;
  QMargins margins;
  const char* items;  // names in order; "-" for a spacer
};

const LayoutRow kLayouts[] = {
    {"verticalLayout_6", 6, {11, 11, 11, 11}, "mainLayout"},
    {"mainLayout", 0, {0, 0, 0, 0}, "headLayout middleLayout buttomLayout"},
    {"headLayout", 6, {0, 5, 0, 5}, "m_labLogo m_titleLogo widget - m_BtnMin m_BtnMax m_BtnExit"},
    {"middleLayout", 0, {0, 0, 0, 0}, "viewLayout - verticalLayout_2"},
    {"viewLayout", 0, {0, 0, 0, 0}, "- m_renderWgt -"},
    {"verticalLayout_2", 0, {0, 0, 0, 0}, "- m_tabLayer -"},
    {"addWindowLayout", 0, {0, 0, 0, 0}, "m_AddWinBtn m_AddWinLable"},
    {"addLayerLayout", 0, {0, 0, 0, 0}, "m_AddTuC m_AddTuCLabel"},
};

QString ItemsOf(const QLayout& layout) {
  QStringList items;
  for (int i = 0; i < layout.count(); ++i) {
    QLayoutItem* item = layout.itemAt(i);
    if (item->layout() != nullptr) {
      items << item->layout()->objectName();
    } else {
      items << (item->widget() != nullptr ? item->widget()->objectName() : QStringLiteral("-"));
    }
  }
  return items.join(QLatin1Char(' '));
}

TEST_F(MainWindow, IsLaidOutInItsNamedLayouts) {
  Run();
  for (const LayoutRow& row : kLayouts) {
    SCOPED_TRACE(row.name);
    const auto* layout = main->findChild<QBoxLayout*>(QLatin1String(row.name));
    ASSERT_NE(layout, nullptr);
    EXPECT_EQ(layout->spacing(), row.spacing);
    EXPECT_EQ(layout->contentsMargins(), row.margins);
    EXPECT_EQ(ItemsOf(*layout), QLatin1String(row.items));
  }
  const auto* bottom = main->findChild<QBoxLayout*>(QStringLiteral("buttomLayout"));
  EXPECT_EQ(bottom->spacing(), 0);
  EXPECT_EQ(bottom->contentsMargins(), QMargins(0, 10, 0, 10));
  // The activity on the left, behind the spacer that gives it its place.
  EXPECT_TRUE(ItemsOf(*bottom).startsWith("- m_chooseBtn activitiesTitleLabel m_reselectBtn "))
      << ItemsOf(*bottom).toStdString();
  EXPECT_EQ(bottom->itemAt(0)->spacerItem()->sizeHint(), QSize(80, 20));
}

TEST_F(MainWindow, PutsPreviewAndListBesideEachOther) {
  Run();
  const QRect preview = Find("m_renderWgt")->geometry();
  const QRect list = Find("m_tabLayer")->geometry();
  EXPECT_EQ(preview.size(), QSize(960, 540));
  EXPECT_EQ(list.size(), QSize(290, 540));
  EXPECT_EQ(preview.left(), 11);
  EXPECT_EQ(list.right(), 1280 - 11 - 1);
  EXPECT_EQ(preview.top(), list.top());
  EXPECT_GT(list.left(), preview.right());
  // The spacer above them keeps its height.
  EXPECT_EQ(preview.top(), main->ui.middleLayout->geometry().top() + 19);
}

struct SheetRow {
  const char* name;
  QString sheet;
};

TEST_F(MainWindow, WearsTheStyleSheetsOfTheTheme) {
  const SheetRow rows[] = {
      {"m_renderWgt", "QLabel{color:#B4BECC;background-color:#000000;}"},
      {"m_titleLogo", "QLabel{color:#B4BECC;border-width:0px;font-size:13px;font-family:宋体}"},
      {"m_BtnMin", TitleButtonSheet("m_BtnMin", "topbar-min.png")},
      {"m_BtnMax", TitleButtonSheet("m_BtnMax", "topbar-max.png")},
      {"m_BtnExit", TitleButtonSheet("m_BtnExit", "topbar-close.png")},
      {"m_AddWinBtn", "QPushButton{border-image:url(:/orvane/qietu/bottombar-addwindow.png)}"},
      {"m_AddTuC", "QPushButton{border-image:url(:/orvane/qietu/bottombar-addlayer.png)}"},
      {"m_AddWinLable", kLabelUnderButton},
      {"m_AddTuCLabel", kLabelUnderButton},
      {"m_chooseBtn", kBlue},
      {"m_LiveBtn", kBlue},
      {"activitiesTitleLabel", "color:#B4BECC;font:bold 15px 黑体;"},
      {"m_reselectBtn",
       "QPushButton{color:#5A5F66;font-family:黑体;font-size:13px;font-type:bold;border:0px;}"},
      {"startTime", "color:#5A5F66;"},
  };
  Run();
  EXPECT_EQ(main->styleSheet(), QStringLiteral("QWidget{background-color:#282A30;}"));
  for (const SheetRow& row : rows) {
    EXPECT_EQ(Find(row.name)->styleSheet(), row.sheet) << row.name;
  }
}

TEST_F(MainWindow, ShowsNoActivityAtTheStart) {
  Run();
  EXPECT_TRUE(Find("m_chooseBtn")->isVisible());
  for (const char* hidden : {"activitiesTitleLabel", "m_reselectBtn", "startTime", "m_LiveBtn"}) {
    EXPECT_FALSE(Find(hidden)->isVisible()) << hidden;
  }
}

TEST_F(MainWindow, HasTwoMenusWithASeparatorBehindEveryEntry) {
  struct Wanted {
    QMenu* menu;
    QStringList texts;
    int padding;
  };
  const Wanted menus[] = {{&main->m_WndMenu, {"全屏桌面", "摄像头", "窗口捕获"}, 20},
                          {&main->m_TuCMenu, {"文本", "图片", "视频"}, 30}};
  for (const Wanted& wanted : menus) {
    const QList<QAction*> actions = wanted.menu->actions();
    ASSERT_EQ(actions.size(), 6);
    for (int i = 0; i < actions.size(); ++i) {
      EXPECT_EQ(actions[i]->isSeparator(), i % 2 == 1);
      if (i % 2 == 0) {
        EXPECT_EQ(actions[i]->text(), wanted.texts[i / 2]);
      }
    }
    EXPECT_EQ(wanted.menu->parent(), nullptr);
    EXPECT_TRUE(wanted.menu->windowFlags().testFlag(Qt::FramelessWindowHint));
    EXPECT_TRUE(wanted.menu->testAttribute(Qt::WA_TranslucentBackground));
    EXPECT_EQ(
        wanted.menu->styleSheet(),
        QStringLiteral(
            "QMenu{padding:15px 20px 15px 20px;border-image:url(:/orvane/qietu/menu_add.png);}"
            "QMenu::item{margin:5px;padding:2px %1px 2px %1px;border:1px solid transparent;"
            "color:#B4BECC;}QMenu::separator{height:0px;}")
            .arg(wanted.padding));
  }
}

// Where a panel at the left or the top takes a part of the screen its size counts and its place
// does not; each half is cut by itself.
TEST_F(MainWindow, TheScreensOwnCornerIsNotCountedForItsPlace) {
  EXPECT_EQ(shell::CentrePlace({0, 0, 1920, 1080}, {1280, 720}), QPoint(320, 180));
  EXPECT_EQ(shell::CentrePlace({64, 27, 1856, 1053}, {1280, 720}), QPoint(288, 166));
  EXPECT_EQ(shell::CentrePlace({0, 0, 1367, 769}, {1281, 721}), QPoint(43, 24));
  EXPECT_EQ(shell::CentrePlace({0, 0, 800, 600}, {1280, 720}), QPoint(-240, -60));
}

TEST_F(MainWindow, StandsInTheMiddleOfTheAvailableScreen) {
  const QSize screen = QGuiApplication::primaryScreen()->availableGeometry().size();
  EXPECT_EQ(main->pos(), QPoint(screen.width() / 2 - 1280 / 2, screen.height() / 2 - 720 / 2));
}

void ExpectRoundMask(const QWidget& window) {
  const QRegion mask = window.mask();
  const int right = window.width() - 1;
  const int bottom = window.height() - 1;
  EXPECT_EQ(mask.boundingRect(), window.rect());
  for (const bool far : {false, true}) {
    for (const bool low : {false, true}) {
      const auto at = [&](int x, int y) {
        return mask.contains(QPoint(far ? right - x : x, low ? bottom - y : y));
      };
      // A circle of 10 pixels, and no more of the corner than that.
      EXPECT_FALSE(at(0, 0));
      EXPECT_FALSE(at(2, 2));
      EXPECT_TRUE(at(3, 3));
      EXPECT_TRUE(at(10, 0));
      EXPECT_TRUE(at(0, 10));
    }
  }
}

TEST_F(MainWindow, HasRoundCornersAtEverySize) {
  Run();
  main->grab();
  ExpectRoundMask(*main);
  main->resize(1600, 900);
  main->grab();
  ExpectRoundMask(*main);
}

// Also where the renderer never draws there.
TEST_F(MainWindow, ThePreviewIsBlackUntilThereIsAPicture) {
  QWidget* preview = Find("m_renderWgt");
  QImage canvas(preview->size(), QImage::Format_RGB32);
  canvas.fill(Qt::white);
  preview->render(&canvas);
  QImage black(canvas.size(), canvas.format());
  black.fill(Qt::black);
  EXPECT_EQ(canvas, black);
  EXPECT_TRUE(preview->testAttribute(Qt::WA_OpaquePaintEvent));
}

TEST_F(MainWindow, TakesTheSizeOfThePreviewFromTheBus) {
  Run();
  QSize size(1600, 900);
  emit CEvent::instance()->renderSize(size);
  EXPECT_EQ(Find("m_renderWgt")->size(), size);
  EXPECT_EQ(Find("m_renderWgt")->minimumSize(), size);
  EXPECT_EQ(Find("m_renderWgt")->maximumSize(), size);
  EXPECT_EQ(Find("m_tabLayer")->size(), QSize(290, 900));
  EXPECT_EQ(Find("m_tabLayer")->minimumSize(), QSize(290, 900));
  EXPECT_EQ(static_cast<QSize>(main->m_render->previewSize), size);
  EXPECT_EQ(main->m_render->windowHandle, Find("m_renderWgt")->winId());
}

TEST_F(MainWindow, StaysOpenWhileABroadcastRunsAndSaysWhy) {
  Run();
  main->m_isLiving = true;
  for (const bool cross : {false, true}) {
    answers.cross = cross;
    Get<QPushButton>("m_BtnExit")->click();
    EXPECT_EQ(answers.All().back().text, QStringLiteral("正在直播过程中，请先停止直播"));
    EXPECT_FALSE(answers.All().back().shadow);
    EXPECT_TRUE(main->isVisible());
  }
  main->m_isLiving = false;
  Get<QPushButton>("m_BtnExit")->click();
  EXPECT_EQ(answers.All().size(), 2U);
  EXPECT_FALSE(main->isVisible());
}

TEST_F(MainWindow, IsMinimisedByItsButton) {
  Run();
  Get<QPushButton>("m_BtnMin")->click();
  EXPECT_TRUE(main->isMinimized());
}

TEST_F(MainWindow, LeavesNoWorkerBehindWhenTheGraphIsClosed) {
  Run();
  for (const char* worker : {"mix", "silence", "capture", "scale", "compose", "present"}) {
    EXPECT_TRUE(support::HasThread(worker)) << worker;
  }
  main->CloseGraph();
  for (const char* worker : {"mix", "silence", "capture", "scale", "compose", "present"}) {
    EXPECT_FALSE(support::HasThread(worker)) << worker;
  }
  EXPECT_TRUE(main->m_layers.empty());
  EXPECT_EQ(main->m_render, nullptr);
  main->CloseGraph();
}

// A reply that has come, or failed.
class Reply : public QNetworkReply {
 public:
  Reply(const QByteArray& bytes, NetworkError error) {
    m_bytes.setData(bytes);
    m_bytes.open(QIODevice::ReadOnly);
    open(QIODevice::ReadOnly);
    setError(error, QString());
  }
  void abort() override {}
  qint64 bytesAvailable() const override { return m_bytes.bytesAvailable(); }

 protected:
  qint64 readData(char* data, qint64 most) override { return m_bytes.read(data, most); }

 private:
  QBuffer m_bytes;
};

TEST_F(MainWindow, KeepsAFetchedPictureAndNothingOfAFailedReply) {
  QByteArray png;
  QBuffer buffer(&png);
  buffer.open(QIODevice::WriteOnly);
  QImage picture(7, 5, QImage::Format_RGB32);
  picture.fill(Qt::red);
  picture.save(&buffer, "PNG");
  Reply failed(png, QNetworkReply::HostNotFoundError);
  main->replyFinished(&failed);
  EXPECT_TRUE(main->m_adPixmap.isNull());
  Reply fetched(png, QNetworkReply::NoError);
  main->replyFinished(&fetched);
  EXPECT_EQ(main->m_adPixmap.size(), QSize(7, 5));
}

TEST_F(MainWindow, HasANameForEveryControl) {
  Run();
  for (const char* shown : {"m_reselectBtn", "m_LiveBtn"}) {
    Find(shown)->show();
  }
  EXPECT_EQ(support::NamelessControls(*main), QStringList());
  // It takes no focus, and a screen reader comes to it all the same.
  EXPECT_FALSE(Find("m_tabLayer")->accessibleName().isEmpty());
}

TEST_F(MainWindow, LetsTabReachEveryControlAndNoList) {
  Run();
  EXPECT_EQ(support::TabRound(main).join(' '),
            QStringLiteral(
                "menuButton m_chooseBtn muteSystemSound gainSystemSound muteMicrophone microphones "
                "gainMicrophone m_AddWinBtn m_AddTuC layerKeys m_renderWgt m_BtnMin m_BtnMax "
                "m_BtnExit"));
  EXPECT_EQ(Find("m_tabLayer")->focusPolicy(), Qt::NoFocus);
  for (const char* shown : {"m_reselectBtn", "m_LiveBtn"}) {
    Find(shown)->show();
  }
  EXPECT_EQ(support::TabRound(main).size(), 16);
}

TEST_F(MainWindow, CtrlMMutesTheMicrophoneWhereverTheKeyboardIs) {
  Run();
  const auto* mute = Get<QAbstractButton>("muteMicrophone");
  for (const char* place : {"m_chooseBtn", "gainSystemSound", "layerKeys", "m_renderWgt"}) {
    Find(place)->setFocus();
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_M, Qt::ControlModifier);
    EXPECT_TRUE(mute->isChecked()) << place;
    QTest::keyClick(main, Qt::Key_M, Qt::ControlModifier);
    EXPECT_FALSE(mute->isChecked()) << place;
  }
  EXPECT_FALSE(Get<QAbstractButton>("muteSystemSound")->isChecked());
}

}  // namespace
