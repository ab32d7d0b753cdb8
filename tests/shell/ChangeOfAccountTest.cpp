// The change of account in the main window with its graph running.
#include <gtest/gtest.h>

#include <QSettings>
#include <QTimer>

#include "backend/TestAddress.h"
#include "shell/CEvent.h"
#include "shell/WindowFixture.h"
#include "sources/DeviceCatalogue.h"
#include "support/ScriptedHttp.h"
#include "widgets/CLoginDlg.h"
#include "widgets/theme/CustomShadowEffect.h"

namespace {

using support::JsonReply;
using support::ScriptedHttp;
using support::ScriptedReply;

// Logs in at the dialog when it opens; without a name it is left by Escape.
class AtTheLogin : public QObject {
 public:
  AtTheLogin(const QWidget* window, QString name) {
    connect(&m_timer, &QTimer::timeout, this, [this, window, name] {
      auto* dialog = qobject_cast<CLoginDlg*>(QApplication::activeModalWidget());
      if (dialog == nullptr || !dialog->isVisible()) {
        return;
      }
      opened = true;
      windowWasHidden = !window->isVisible();
      loggedIn = DeviceCatalogue::Instance()->loggedIn;
      token = DeviceCatalogue::Instance()->userToken;
      saved = QSettings(QStringLiteral("./login.ini"), QSettings::IniFormat)
                  .value(QStringLiteral("psw"))
                  .toString();
      dialog->findChild<QLineEdit*>(QStringLiteral("m_EditUser"))->setText(name);
      dialog->findChild<QPushButton*>(QStringLiteral("m_BtnLogin"))->click();
    });
    m_timer.start(5);
  }

  bool opened = false;
  // While the dialog stood open.
  bool windowWasHidden = false;
  int loggedIn = -1;
  QString token = QStringLiteral("none was read");
  QString saved;  // the password in "./login.ini"

 private:
  QTimer m_timer;
};

class ChangeOfAccount : public MainWindow {
 protected:
  ChangeOfAccount() {
    SetTestAddress(server.Address());
    Serve(JsonReply(R"({"code":0})"));
    QSettings settings(QStringLiteral("./login.ini"), QSettings::IniFormat);
    settings.setValue(QStringLiteral("usr"), QStringLiteral("first"));
    settings.setValue(QStringLiteral("psw"), QStringLiteral("secret"));
    DeviceCatalogue::Instance()->loggedIn = 1;
    DeviceCatalogue::Instance()->userToken = QStringLiteral("t1");
    DeviceCatalogue::Instance()->userName = QStringLiteral("first");
  }
  ~ChangeOfAccount() override { DeviceCatalogue::Instance()->loggedIn = 0; }
  // The replies to the next change of account, in which the second account logs in.
  void Serve(const ScriptedReply& logout) {
    QList<ScriptedReply> replies = {logout};
    if (main->m_loginDlg == nullptr) {
      replies += JsonReply(R"({"code":-1})");  // no picture for the login
    }
    server.SetReplies(replies + QList<ScriptedReply>{JsonReply(R"({"code":0,"token":"t2"})")});
  }
  QString ShownName() const { return Get<QLabel>("nameLabel")->text(); }

  ScriptedHttp server;
};

TEST_F(ChangeOfAccount, LogsOutForgetsHidesAsksAndComesBack) {
  Run();
  EXPECT_EQ(ShownName(), QStringLiteral("first"));
  AtTheLogin operatorAtLogin(main, QStringLiteral("second"));
  emit CEvent::instance()->loginChange();
  ASSERT_EQ(server.Requests().size(), 3);
  EXPECT_TRUE(server.Requests()[0].contains("logout")) << server.Requests()[0].toStdString();
  EXPECT_TRUE(server.Requests()[0].contains("t1"));
  EXPECT_TRUE(operatorAtLogin.opened);
  EXPECT_TRUE(operatorAtLogin.windowWasHidden);
  EXPECT_EQ(operatorAtLogin.loggedIn, 0);
  EXPECT_EQ(operatorAtLogin.token, QString());
  EXPECT_EQ(operatorAtLogin.saved, QString());
  EXPECT_EQ(answers.TakeKinds(), QStringList("CLoginDlg"));
  EXPECT_TRUE(main->isVisible());
  EXPECT_EQ(ShownName(), QStringLiteral("second"));
  EXPECT_EQ(DeviceCatalogue::Instance()->userToken, QStringLiteral("t2"));
}

// However the notice is left: it informs and does not ask.
TEST_F(ChangeOfAccount, WhileABroadcastRunsShowsTheNoticeAndGoesOn) {
  Run();
  for (const bool cross : {false, true}) {
    Serve(JsonReply(R"({"code":0})"));
    main->m_isLiving = true;
    answers.cross = cross;
    const std::size_t before = answers.All().size();
    AtTheLogin operatorAtLogin(main, QStringLiteral("second"));
    emit CEvent::instance()->loginChange();
    ASSERT_GT(answers.All().size(), before);
    EXPECT_EQ(answers.All()[before].text, QStringLiteral("正在直播过程中，请先停止直播"));
    EXPECT_FALSE(answers.All()[before].shadow);
    EXPECT_EQ(answers.TakeKinds(), QStringList({"InformationDlg", "CLoginDlg"}));
    EXPECT_TRUE(operatorAtLogin.opened);
    EXPECT_TRUE(main->m_isLiving);
    EXPECT_EQ(ShownName(), QStringLiteral("second"));
    main->m_isLiving = false;
  }
}

TEST_F(ChangeOfAccount, ALogoutThatFailsIsToldAndTheChangeGoesOn) {
  Serve(JsonReply("{}", 500));
  Run();
  AtTheLogin operatorAtLogin(main, QStringLiteral("second"));
  emit CEvent::instance()->loginChange();
  ASSERT_FALSE(answers.All().empty());
  EXPECT_EQ(answers.All()[0].text, QStringLiteral("网络不通畅，请检查网络连接"));
  EXPECT_TRUE(answers.All()[0].shadow);
  EXPECT_EQ(answers.TakeKinds(), QStringList({"InformationDlg", "CLoginDlg"}));
  EXPECT_EQ(DeviceCatalogue::Instance()->userToken, QStringLiteral("t2"));
}

TEST_F(ChangeOfAccount, WhatTheServiceSaysOfTheLogoutChangesNothing) {
  Run();
  for (const char* answer : {R"({"code":-1,"message":"no"})", "[]", ""}) {
    Serve(JsonReply(answer));
    DeviceCatalogue::Instance()->userToken = QStringLiteral("t1");
    AtTheLogin operatorAtLogin(main, QStringLiteral("second"));
    emit CEvent::instance()->loginChange();
    EXPECT_FALSE(answers.TakeKinds().contains("InformationDlg")) << answer;
    EXPECT_EQ(DeviceCatalogue::Instance()->userToken, QStringLiteral("t2")) << answer;
  }
}

// A service that hangs must not keep the operator from another account.
TEST_F(ChangeOfAccount, AskedForOnceMoreItWaitsNoLongerForALogoutThatHangs) {
  ScriptedReply hung;
  hung.never = true;
  hung.dropMs = 10000;
  Serve(hung);
  Run();
  AtTheLogin operatorAtLogin(main, QStringLiteral("second"));
  QTimer hand;
  QObject::connect(&hand, &QTimer::timeout, main, [&] {
    if (server.Requests().size() == 1) {
      hand.stop();
      EXPECT_TRUE(main->isVisible());
      emit CEvent::instance()->loginChange();
    }
  });
  hand.start(5);
  emit CEvent::instance()->loginChange();
  EXPECT_EQ(answers.TakeKinds(), QStringList("CLoginDlg")) << "and no notice";
  ASSERT_EQ(server.Requests().size(), 3);
  EXPECT_TRUE(server.Requests()[0].contains("logout"));
  EXPECT_TRUE(server.Requests()[1].contains("homepage-ads"));
  EXPECT_EQ(DeviceCatalogue::Instance()->userToken, QStringLiteral("t2"));
  EXPECT_EQ(ShownName(), QStringLiteral("second"));
}

// An operator whose service is slow asks once more.
TEST_F(ChangeOfAccount, AskedForTwiceWhileTheServiceIsSlowAsksForOneLogin) {
  ScriptedReply slow = JsonReply(R"({"code":0})");
  slow.delayMs = 300;
  Serve(slow);
  Run();
  AtTheLogin operatorAtLogin(main, QStringLiteral("second"));
  // Not before the service has the logout, which would be given up unsent.
  QTimer hand;
  QObject::connect(&hand, &QTimer::timeout, main, [&] {
    if (server.Requests().size() == 1) {
      hand.stop();
      emit CEvent::instance()->loginChange();
    }
  });
  hand.start(5);
  emit CEvent::instance()->loginChange();
  EXPECT_EQ(answers.TakeKinds(), QStringList("CLoginDlg"));
  EXPECT_EQ(server.Requests().size(), 3);
  EXPECT_EQ(DeviceCatalogue::Instance()->userToken, QStringLiteral("t2"));
  EXPECT_TRUE(main->isVisible());
}

// One dialog serves all logins, and the layers stay through them.
TEST_F(ChangeOfAccount, KeepsTheDialogAndTheLayers) {
  server.SetReplies({JsonReply(R"({"code":0})"), JsonReply(R"({"code":-1})"),
                     JsonReply(R"({"code":0,"token":"t2"})"), JsonReply(R"({"code":0})"),
                     JsonReply(R"({"code":0,"token":"t3"})")});
  Run();
  const QStringList rows = main->Rows();
  AtTheLogin operatorAtLogin(main, QStringLiteral("second"));
  emit CEvent::instance()->loginChange();
  const CLoginDlg* dialog = main->m_loginDlg;
  const CustomShadowEffect* shadow = main->m_loginShadow;
  emit CEvent::instance()->loginChange();
  EXPECT_EQ(main->m_loginDlg, dialog);
  ASSERT_NE(shadow, nullptr);
  EXPECT_EQ(main->m_loginShadow, shadow);
  EXPECT_EQ(dialog->graphicsEffect(), static_cast<const QGraphicsEffect*>(shadow));
  EXPECT_TRUE(dialog->autoFillBackground());
  EXPECT_EQ(DeviceCatalogue::Instance()->userToken, QStringLiteral("t3"));
  EXPECT_EQ(main->Rows(), rows);
}

}  // namespace
