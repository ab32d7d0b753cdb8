#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QApplication>
#include <QBuffer>
#include <QFile>
#include <QHBoxLayout>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMouseEvent>
#include <QPushButton>
#include <QSettings>
#include <QTest>
#include <QTimer>
#include <functional>
#include <random>

#include "backend/TestAddress.h"
#include "shell/CEvent.h"
#include "sources/DeviceCatalogue.h"
#include "support/Notices.h"
#include "support/ScriptedHttp.h"
#include "support/WorkingDirectory.h"
#include "widgets/CLoginDlg.h"
#include "widgets/LoginInfoControl.h"
#include "widgets/LoginSettings.h"
#include "widgets/theme/InformationDlg.h"

namespace {

using support::JsonReply;
using support::Notices;
using support::ScriptedHttp;
using support::ScriptedReply;

const ScriptedReply kNoAd = JsonReply(R"({"code":-1})");

class LoginTest : public ::testing::Test {
 protected:
  void SetUp() override {
    SetTestAddress(server.Address());
    server.SetReplies({kNoAd});
    catalogue->loggedIn = 0;
    catalogue->userToken.clear();
    catalogue->userName.clear();
  }

  static QLineEdit* User(CLoginDlg& dialog) {
    return dialog.findChild<QLineEdit*>(QStringLiteral("m_EditUser"));
  }
  static QLineEdit* Password(CLoginDlg& dialog) {
    return dialog.findChild<QLineEdit*>(QStringLiteral("m_EditPsw"));
  }
  static void ClickLogin(CLoginDlg& dialog) {
    dialog.findChild<QPushButton*>(QStringLiteral("m_BtnLogin"))->click();
  }
  static QString Saved(const char* key) {
    return QSettings(QStringLiteral("./login.ini"), QSettings::IniFormat)
        .value(QLatin1String(key))
        .toString();
  }

  support::WorkingDirectory directory;
  ScriptedHttp server;
  Notices notices;
  DeviceCatalogue* catalogue = DeviceCatalogue::Instance();
};

QPixmap PictureOf(const QLabel* label) {
  return label->pixmap(Qt::ReturnByValue);
}

void Send(QWidget* widget, QEvent::Type type, QPoint global) {
  QMouseEvent event(type, widget->mapFromGlobal(global), global, Qt::LeftButton, Qt::LeftButton,
                    Qt::NoModifier);
  QApplication::sendEvent(widget, &event);
}

}  // namespace

TEST_F(LoginTest, AFirstStartShowsTwoEmptyFieldsWithTheirPlaceholders) {
  CLoginDlg dialog;
  EXPECT_TRUE(User(dialog)->text().isEmpty());
  EXPECT_TRUE(Password(dialog)->text().isEmpty());
  EXPECT_EQ(User(dialog)->placeholderText(), QStringLiteral("企业邮箱/手机号"));
  EXPECT_EQ(Password(dialog)->placeholderText(), QStringLiteral("密码"));
  EXPECT_EQ(Password(dialog)->echoMode(), QLineEdit::Password);
  EXPECT_FALSE(QFile::exists(QStringLiteral("./login.ini")));
}

TEST_F(LoginTest, StandsAtItsSizesInItsStyle) {
  CLoginDlg dialog;
  EXPECT_EQ(dialog.objectName(), QStringLiteral("LoginDlg"));
  EXPECT_EQ(dialog.windowTitle(), QStringLiteral("登录"));
  EXPECT_EQ(dialog.size(), QSize(806, 529));
  EXPECT_TRUE(dialog.windowFlags().testFlag(Qt::FramelessWindowHint));
  EXPECT_TRUE(dialog.testAttribute(Qt::WA_TranslucentBackground));
  dialog.show();
  EXPECT_EQ(dialog.size(), QSize(806, 529));
  const struct {
    const char* name;
    QSize size;
  } rows[] = {{"m_labLogo", {45, 30}},   {"m_BtnMin", {16, 16}},      {"m_BtnMax", {16, 16}},
              {"m_BtnExit", {16, 16}},   {"m_titleLogin", {200, 30}}, {"m_EditUser", {200, 0}},
              {"m_BtnLogin", {200, 30}}, {"m_titleLogo", {200, 30}}};
  for (const auto& row : rows) {
    const auto* widget = dialog.findChild<QWidget*>(QLatin1String(row.name));
    ASSERT_NE(widget, nullptr) << row.name;
    EXPECT_EQ(widget->width(), row.size.width()) << row.name;
    if (row.size.height() > 0) {
      EXPECT_EQ(widget->height(), row.size.height()) << row.name;
    }
  }
  EXPECT_TRUE(dialog.findChild<QLabel*>(QStringLiteral("m_labTips"))->isHidden());
  EXPECT_EQ(dialog.findChild<QLabel*>(QStringLiteral("m_labTips"))->text(),
            QStringLiteral("账号或密码错误"));
  EXPECT_EQ(dialog.findChild<QLabel*>(QStringLiteral("m_titleLogo"))->text(),
            QStringLiteral("柯维直播助手"));
}

TEST_F(LoginTest, WearsItsStyleSheets) {
  CLoginDlg dialog;
  EXPECT_EQ(dialog.styleSheet(), QStringLiteral("QWidget{background-color:#282A30;}"));
  const QString edit = QStringLiteral(
      "QLineEdit{background-color: #3D3F45;border-width:1px;border-color:#24262A;border-style: "
      "solid;border-radius: 5px;padding: 5px;color:#B4BECC;font-size:11px;font-family:黑体}");
  const QString title =
      QStringLiteral("QLabel{color:#B4BECC;border-width:0px;font-size:13px;font-family:%1}");
  const QPair<const char*, QString> rows[] = {
      {"m_EditUser", edit},
      {"m_EditPsw", edit},
      {"m_titleLogo", title.arg(QStringLiteral("宋体"))},
      {"m_titleLogin", title.arg(QStringLiteral("黑体"))},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(dialog.findChild<QWidget*>(row.first)->styleSheet(), row.second) << row.first;
  }
  const QString button = dialog.findChild<QWidget*>("m_BtnLogin")->styleSheet();
  for (const char* part :
       {"color:#20A0FF;", "font-size:11px;", "font-family:黑体;", "border-width:1px 1px 2px 2px;",
        "QPushButton{", "border-image:url(:/orvane/qietu/layer-normal.png)",
        "QPushButton:hover{border-image:url(:/orvane/qietu/layer-hover.png);}",
        "QPushButton:pressed{border-image:url(:/orvane/qietu/layer-normal.png);}"}) {
    EXPECT_TRUE(button.contains(QString::fromUtf8(part))) << part;
  }
  const QString tip = dialog.findChild<QWidget*>("m_labTips")->styleSheet();
  for (const char* part :
       {"background:#32353C", "border:2px solid #24262A", "border-radius:15px", "padding:5px",
        "margin:10px", "color:#B4BECC", "font-size:13px", "font-family:黑体"}) {
    EXPECT_TRUE(tip.contains(QString::fromUtf8(part))) << part;
  }
  for (const char* name : {"verticalLayout", "verticalLayout_2", "horizontalLayout",
                           "horizontalLayout_2", "horizontalLayout_3"}) {
    EXPECT_NE(dialog.findChild<QLayout*>(name), nullptr) << name;
  }
}

TEST_F(LoginTest, IsMinimisedByItsButton) {
  CLoginDlg dialog;
  dialog.show();
  dialog.findChild<QPushButton*>(QStringLiteral("m_BtnMin"))->click();
  EXPECT_TRUE(dialog.isMinimized());
}

TEST_F(LoginTest, AnEmptyAccountAndPasswordAreSentAsTheyAre) {
  CLoginDlg dialog;
  server.SetReplies({JsonReply(R"({"code":-1,"message":"no"})")});
  ClickLogin(dialog);
  ASSERT_EQ(server.Requests().size(), 1);
  EXPECT_TRUE(server.Requests().first().contains("name=\"login\"\r\n\r\n\r\n"));
  EXPECT_TRUE(server.Requests().first().contains("name=\"password\"\r\n\r\n\r\n"));
  EXPECT_EQ(notices.texts, QStringList{QStringLiteral("no")});
}

TEST_F(LoginTest, ASuccessStoresTheAccountAndAccepts) {
  CLoginDlg dialog;
  server.SetReplies({JsonReply(R"({"code":0,"token":"tok"})")});
  User(dialog)->setText(QStringLiteral("me@example"));
  Password(dialog)->setText(QStringLiteral("s3cret;=#\"密"));
  QTimer::singleShot(0, &dialog, [&dialog] { ClickLogin(dialog); });
  EXPECT_EQ(dialog.exec(), QDialog::Accepted);
  EXPECT_TRUE(catalogue->loggedIn);
  EXPECT_EQ(catalogue->userToken, QStringLiteral("tok"));
  EXPECT_EQ(catalogue->userName, QStringLiteral("me@example"));
  EXPECT_EQ(Saved("usr"), QStringLiteral("me@example"));
  EXPECT_EQ(Saved("psw"), QStringLiteral("s3cret;=#\"密"));
  CLoginDlg next;
  EXPECT_EQ(User(next)->text(), QStringLiteral("me@example"));
  EXPECT_EQ(Password(next)->text(), QStringLiteral("s3cret;=#\"密"));
}

TEST_F(LoginTest, ARefusalShowsTheServicesMessageAndKeepsTheDialogOpen) {
  CLoginDlg dialog;
  dialog.show();
  server.SetReplies({JsonReply(R"({"code":-5,"message":"<b>no such account</b>"})")});
  User(dialog)->setText(QStringLiteral("someone"));
  ClickLogin(dialog);
  EXPECT_EQ(notices.texts, QStringList{QStringLiteral("<b>no such account</b>")});
  EXPECT_EQ(notices.shadows, QList<bool>{true});
  EXPECT_TRUE(dialog.isVisible());
  EXPECT_FALSE(catalogue->loggedIn);
  EXPECT_FALSE(QFile::exists(QStringLiteral("./login.ini")));
  EXPECT_EQ(User(dialog)->selectedText(), QStringLiteral("someone"));
}

TEST_F(LoginTest, ARefusalWithoutAMessageShowsAnEmptyNotice) {
  CLoginDlg dialog;
  server.SetReplies({JsonReply(R"({"code":-5})")});
  ClickLogin(dialog);
  EXPECT_EQ(notices.texts, QStringList{QString()});
}

TEST_F(LoginTest, AReplyThatIsNoObjectCountsAsRefused) {
  CLoginDlg dialog;
  server.SetReplies({JsonReply("[]")});
  ClickLogin(dialog);
  EXPECT_FALSE(catalogue->loggedIn);
  EXPECT_EQ(notices.texts, QStringList{QStringLiteral("服务器的回复无法识别")});
}

TEST_F(LoginTest, AReplyWithoutATokenStillLogsIn) {
  for (const char* reply : {R"({"code":0})", "{}"}) {
    CLoginDlg dialog;
    catalogue->loggedIn = 0;
    catalogue->userToken = QStringLiteral("of another");
    server.SetReplies({JsonReply(reply)});
    ClickLogin(dialog);
    EXPECT_TRUE(catalogue->loggedIn) << reply;
    EXPECT_EQ(catalogue->userToken, QString()) << reply;
    EXPECT_EQ(dialog.result(), QDialog::Accepted) << reply;
  }
}

// A service that hangs must not hold anybody: without this the window would go and the process
// stay.
TEST_F(LoginTest, LeavingItWhileALoginIsOutEndsTheLogin) {
  ScriptedReply hung;
  hung.never = true;
  const std::function<void(CLoginDlg&)> ways[] = {
      [](CLoginDlg& dialog) { dialog.findChild<QPushButton*>("m_BtnExit")->click(); },
      [](CLoginDlg& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); },
      [](CLoginDlg& dialog) { dialog.close(); },
  };
  CLoginDlg dialog;
  for (const auto& leave : ways) {
    server.SetReplies({hung});
    QTimer hand;
    QObject::connect(&hand, &QTimer::timeout, [&] {
      if (server.Requests().size() == 1) {
        hand.stop();
        leave(dialog);
      }
    });
    hand.start(1);
    QTimer::singleShot(0, &dialog, [&dialog] { ClickLogin(dialog); });
    EXPECT_EQ(dialog.exec(), QDialog::Rejected);
    EXPECT_FALSE(catalogue->loggedIn);
    EXPECT_TRUE(notices.texts.isEmpty());
  }
  // The same dialog serves the next time.
  server.SetReplies({JsonReply(R"({"code":0,"token":"tok"})")});
  QTimer::singleShot(0, &dialog, [&dialog] { ClickLogin(dialog); });
  EXPECT_EQ(dialog.exec(), QDialog::Accepted);
  EXPECT_EQ(catalogue->userToken, QStringLiteral("tok"));
}

TEST_F(LoginTest, AReplyThatComesAsItIsLeftLogsNobodyIn) {
  CLoginDlg dialog;
  ScriptedReply late = JsonReply(R"({"code":0,"token":"tok"})");
  late.delayMs = 50;
  server.SetReplies({late});
  User(dialog)->setText(QStringLiteral("me"));
  QTimer hand;
  QObject::connect(&hand, &QTimer::timeout, [&] {
    if (server.Requests().size() == 1) {
      hand.stop();
      dialog.SlotExitSize();
      QTest::qWait(100);  // the reply comes, and the login has not returned yet
    }
  });
  hand.start(1);
  QTimer::singleShot(0, &dialog, [&dialog] { ClickLogin(dialog); });
  EXPECT_EQ(dialog.exec(), QDialog::Rejected);
  EXPECT_FALSE(catalogue->loggedIn);
  EXPECT_TRUE(catalogue->userToken.isEmpty());
  EXPECT_FALSE(QFile::exists(QStringLiteral("./login.ini")));
}

TEST_F(LoginTest, NoReplyShowsTheNetworkNoticeOnce) {
  CLoginDlg dialog;
  dialog.show();
  server.SetReplies({JsonReply("{}", 503)});
  ClickLogin(dialog);
  EXPECT_EQ(notices.texts, QStringList{QStringLiteral("网络不通畅，请检查网络连接")});
  EXPECT_TRUE(dialog.isVisible());
  EXPECT_FALSE(catalogue->loggedIn);
}

TEST_F(LoginTest, AFailedAdvertisementCallShowsTheNoticeAndThenAnEmptyPicture) {
  server.SetReplies({JsonReply("{}", 500)});
  CLoginDlg dialog;
  EXPECT_EQ(notices.texts, QStringList{QStringLiteral("网络不通畅，请检查网络连接")});
  EXPECT_TRUE(PictureOf(dialog.findChild<QLabel*>(QStringLiteral("m_labShowPic"))).isNull());
}

TEST_F(LoginTest, APictureThatCanNotBeFetchedLeavesTheAreaEmptyWithoutAWord) {
  server.SetReplies({JsonReply(("{\"code\":0,\"link\":\"" + server.Address() + "/x\"}").toUtf8()),
                     JsonReply("no picture")});
  CLoginDlg dialog;
  EXPECT_TRUE(notices.texts.isEmpty());
  EXPECT_TRUE(PictureOf(dialog.findChild<QLabel*>(QStringLiteral("m_labShowPic"))).isNull());
}

TEST_F(LoginTest, ThePictureFillsItsAreaWhateverItsAspect) {
  QImage image(10, 40, QImage::Format_RGB32);
  image.fill(Qt::red);
  QByteArray png;
  QBuffer buffer(&png);
  buffer.open(QIODevice::WriteOnly);
  image.save(&buffer, "PNG");
  server.SetReplies({JsonReply(("{\"code\":0,\"link\":\"" + server.Address() + "/x\"}").toUtf8()),
                     JsonReply(png)});
  CLoginDlg dialog;
  const auto* label = dialog.findChild<QLabel*>(QStringLiteral("m_labShowPic"));
  ASSERT_FALSE(PictureOf(label).isNull());
  EXPECT_EQ(PictureOf(label).size(), QSize(480, 350));
  dialog.SlotMaxSize();
  EXPECT_EQ(PictureOf(label).size(), QSize(1440, 1050));
  dialog.SlotMaxSize();
  EXPECT_EQ(PictureOf(label).size(), QSize(10, 40));
}

TEST_F(LoginTest, ARefusedOrUnreadableAdvertisementLeavesTheAreaEmptyWithoutAWord) {
  for (const char* reply : {R"({"code":-1,"link":"http://127.0.0.1:1/x"})", "<html>", "", "[]"}) {
    server.SetReplies({JsonReply(reply)});
    const CLoginDlg dialog;
    EXPECT_EQ(server.Requests().size(), 1) << reply;
    EXPECT_TRUE(PictureOf(dialog.findChild<QLabel*>("m_labShowPic")).isNull()) << reply;
  }
  EXPECT_TRUE(notices.texts.isEmpty());
}

// What it has no room for would be kept, and scaled on each change of its size.
TEST_F(LoginTest, AnEnormousPictureIsReducedToWhatItsAreaCanShow) {
  QImage image(2500, 1500, QImage::Format_RGB32);
  image.fill(Qt::red);
  QBuffer png;
  image.save(&png, "PNG");
  server.SetReplies({JsonReply(("{\"code\":0,\"link\":\"" + server.Address() + "/x\"}").toUtf8()),
                     JsonReply(png.data())});
  CLoginDlg dialog;
  dialog.SlotMaxSize();
  dialog.SlotMaxSize();
  EXPECT_EQ(PictureOf(dialog.findChild<QLabel*>("m_labShowPic")).size(), QSize(1920, 1080));
}

TEST_F(LoginTest, ASavedEmptyAccountShowsEmptyFields) {
  widgets::WriteLoginSettings({QString(), QString()});
  const CLoginDlg dialog;
  EXPECT_TRUE(dialog.findChild<QLineEdit*>(QStringLiteral("m_EditUser"))->text().isEmpty());
  EXPECT_TRUE(dialog.findChild<QLineEdit*>(QStringLiteral("m_EditPsw"))->text().isEmpty());
}

TEST_F(LoginTest, ADirectoryInThePlaceOfTheFileReadsAsEmptyAndALoginStillSucceeds) {
  ASSERT_EQ(mkdir("./login.ini", 0700), 0);
  CLoginDlg dialog;
  EXPECT_TRUE(User(dialog)->text().isEmpty());
  server.SetReplies({JsonReply(R"({"code":0,"token":"tok"})")});
  User(dialog)->setText(QStringLiteral("me"));
  ClickLogin(dialog);
  EXPECT_TRUE(catalogue->loggedIn);
  EXPECT_EQ(dialog.result(), QDialog::Accepted);
}

TEST_F(LoginTest, AFileFullOfGarbageReadsWithoutHarm) {
  std::mt19937 random(7);
  const QByteArray seed =
      "[General]\nusr=abc\npsw=\"d\\x5bef\"\n[x]\nusr=@Variant(\\0\\0\\0\\x11)\n";
  for (int round = 0; round < 300; ++round) {
    support::WorkingDirectory fresh;
    QByteArray bytes = round % 3 == 0 ? QByteArray(2000, '\0') : seed;
    for (int edit = 0; edit < 20; ++edit) {
      bytes[static_cast<int>(random() % static_cast<unsigned>(bytes.size()))] =
          static_cast<char>(random());
    }
    QFile file(QStringLiteral("./login.ini"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    file.close();
    const widgets::SavedAccount account = widgets::ReadLoginSettings();
    EXPECT_LE(account.usr.size(), 2 * bytes.size());
  }
}

TEST_F(LoginTest, TheCrossRejects) {
  CLoginDlg dialog;
  QTimer::singleShot(0, &dialog, [&dialog] {
    dialog.findChild<QPushButton*>(QStringLiteral("m_BtnExit"))->click();
  });
  EXPECT_EQ(dialog.exec(), QDialog::Rejected);
}

TEST_F(LoginTest, FocusInEitherFieldSelectsItsWholeText) {
  CLoginDlg dialog;
  User(dialog)->setText(QStringLiteral("account"));
  Password(dialog)->setText(QStringLiteral("password"));
  dialog.show();
  for (QLineEdit* edit : {Password(dialog), User(dialog)}) {
    edit->deselect();
    QFocusEvent focus(QEvent::FocusIn, Qt::MouseFocusReason);
    QApplication::sendEvent(edit, &focus);
    QTest::mouseClick(edit, Qt::LeftButton);
    QCoreApplication::processEvents();
    EXPECT_EQ(edit->selectedText(), edit->text());
  }
}

TEST_F(LoginTest, APressInTheTitleStripMovesTheDialogAndOneBelowDoesNot) {
  CLoginDlg dialog;
  dialog.move(100, 100);
  dialog.show();
  const auto* logo = dialog.findChild<QLabel*>(QStringLiteral("m_labLogo"));
  const int edge = logo->mapToGlobal(logo->pos()).y() + logo->height();
  const QPoint inside(dialog.x() + 300, edge);
  Send(&dialog, QEvent::MouseButtonPress, inside);
  Send(&dialog, QEvent::MouseMove, inside + QPoint(7, 9));
  EXPECT_EQ(dialog.pos(), QPoint(107, 109));
  Send(&dialog, QEvent::MouseButtonRelease, inside + QPoint(10, 10));
  EXPECT_EQ(dialog.pos(), QPoint(110, 110));
  const QPoint below(dialog.x() + 300, edge + 11);
  Send(&dialog, QEvent::MouseButtonPress, below);
  Send(&dialog, QEvent::MouseMove, below + QPoint(50, 50));
  EXPECT_EQ(dialog.pos(), QPoint(110, 110));
}

TEST_F(LoginTest, ASecondClickDuringARequestSendsNothing) {
  CLoginDlg dialog;
  ScriptedReply slow = JsonReply(R"({"code":-1,"message":"x"})");
  slow.delayMs = 60;
  server.SetReplies({slow});
  QTimer::singleShot(20, &dialog, [&dialog] { ClickLogin(dialog); });
  ClickLogin(dialog);
  EXPECT_EQ(server.Requests().size(), 1);
}

TEST(LoginInfoControl, ShowsTheNameAndKeepsThePictureWhenGivenNone) {
  LoginInfoControl control;
  QPixmap avatar(24, 24);
  avatar.fill(Qt::blue);
  control.SetLoginInfo(QStringLiteral("<i>me</i>"), avatar);
  control.SetLoginInfo(QStringLiteral("you"), QPixmap());
  const auto* name = control.findChild<QLabel*>(QStringLiteral("nameLabel"));
  EXPECT_EQ(name->text(), QStringLiteral("you"));
  EXPECT_EQ(name->textFormat(), Qt::PlainText);
  EXPECT_FALSE(PictureOf(control.findChild<QLabel*>(QStringLiteral("avatarLabel"))).isNull());
}

TEST(LoginInfoControl, StandsAtItsSizesInItsStyle) {
  LoginInfoControl control;
  control.SetLoginInfo(QString(), QPixmap());
  control.show();
  const auto* avatar = control.findChild<QLabel*>("avatarLabel");
  const auto* name = control.findChild<QLabel*>("nameLabel");
  const auto* button = control.findChild<QPushButton*>("menuButton");
  EXPECT_EQ(avatar->size(), QSize(24, 24));
  EXPECT_EQ(name->height(), 30);
  EXPECT_EQ(name->minimumWidth(), 42);
  EXPECT_EQ(button->size(), QSize(20, 20));
  EXPECT_EQ(name->styleSheet(), QStringLiteral("font:bold 12px 黑体;color:#878E99"));
  EXPECT_EQ(button->styleSheet(), "border:0px");
  EXPECT_FALSE(button->icon().isNull());
  const auto* row = control.findChild<QHBoxLayout*>();
  EXPECT_EQ(row->spacing(), 10);
  const QWidget* order[] = {avatar, name, button};
  for (int place = 0; place < 3; ++place) {
    EXPECT_EQ(row->itemAt(place)->widget(), order[place]);
  }
  EXPECT_TRUE(control.testAttribute(Qt::WA_TranslucentBackground));
  EXPECT_TRUE(control.windowFlags().testFlag(Qt::FramelessWindowHint));
}

// The title row's buttons would be pushed out of the window.
TEST(LoginInfoControl, ANameOfAnyLengthLeavesRoomForTheButtons) {
  LoginInfoControl control;
  const QString name = QStringLiteral("<b>") + QString(5000, QLatin1Char('W'));
  control.SetLoginInfo(name, QPixmap());
  EXPECT_LT(control.sizeHint().width(), 420);
  const auto* label = control.findChild<QLabel*>("nameLabel");
  EXPECT_TRUE(label->text().endsWith(QChar(0x2026)));
  EXPECT_TRUE(label->toolTip().startsWith(QStringLiteral("<p>&lt;b&gt;")));
}

TEST(LoginInfoControl, ItsMenuEntryAsksForAnotherAccount) {
  LoginInfoControl control;
  control.move(300, 100);
  control.show();
  const QPoint place = control.findChild<QPushButton*>("menuButton")->mapToGlobal(QPoint(0, 0));
  int asked = 0;
  const auto connection =
      QObject::connect(CEvent::instance(), &CEvent::loginChange, [&asked] { ++asked; });
  QTimer::singleShot(0, [place] {
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    ASSERT_EQ(menu->actions().size(), 1);
    EXPECT_EQ(menu->actions().first()->text(), QStringLiteral("切换账号"));
    EXPECT_EQ(menu->pos(), place + QPoint(-90, 25));
    menu->setActiveAction(menu->actions().first());
    QTest::keyClick(menu, Qt::Key_Return);
  });
  control.slotChangeLogin();
  QObject::disconnect(connection);
  EXPECT_EQ(asked, 1);
}
