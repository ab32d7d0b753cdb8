// A broadcast whose account changes, or whose program is left.
#include <gtest/gtest.h>

#include <QApplication>
#include <QLineEdit>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <functional>

#include "shell/CEvent.h"
#include "shell/LiveControlRig.h"
#include "widgets/CLoginDlg.h"

namespace {

using support::HalfAReply;
using support::JsonReply;
using support::LiveControlRig;
using support::ScriptedReply;

const ScriptedReply kFine = JsonReply(R"({"code":0})");
const ScriptedReply kRefused = JsonReply(R"({"code":-1})");
const QString kNoNetwork = QStringLiteral("网络不通畅，请检查网络连接");

class LiveLeaving : public LiveControlRig {
 protected:
  // The process ends in it. leave: what ends the login that is asked for.
  void LeaveInsideAChangeOfAccount(const std::function<void(QDialog*)>& leave) {
    static LiveLeaving* self = this;
    std::atexit([] {
      std::fprintf(stderr, "host-end %d, with the-token %d, sound closed %d\n",
                   self->Requests("host-end"),
                   self->Request("host-end").contains("\r\n\r\nthe-token\r\n") ? 1 : 0,
                   self->m_systemSound->IsOpen() ? 0 : 1);
    });
    ChooseWith();
    Press("m_LiveBtn");
    QTimer hand;
    QObject::connect(&hand, &QTimer::timeout, [this, &leave] {
      auto* login = qobject_cast<CLoginDlg*>(QApplication::activeModalWidget());
      if (Requests("logout") == 1 && login != nullptr) {
        leave(login);
      }
    });
    hand.start(5);
    QTimer::singleShot(0, CEvent::instance(), [] { emit CEvent::instance()->loginChange(); });
    QApplication::exec();
    std::exit(3);
  }
};

TEST_F(LiveLeaving, ABroadcastOutlivesAChangeOfAccountAndEndsWithTheNewToken) {
  ChooseWith({kFine, kFine, kRefused,
              JsonReply(R"({"code":0,"token":"another-token","user":{"username":"b"}})"), kFine});
  Press("m_LiveBtn");
  QTimer hand;
  bool wasLive = false;
  QObject::connect(&hand, &QTimer::timeout, [&] {
    auto* login = qobject_cast<CLoginDlg*>(QApplication::activeModalWidget());
    if (login == nullptr || Requests("homepage-ads") == 0) {
      return;
    }
    hand.stop();
    wasLive = m_systemSound->IsOpen();
    login->findChild<QLineEdit*>("m_EditUser")->setText("b");
    login->findChild<QLineEdit*>("m_EditPsw")->setText("c");
    login->findChild<QPushButton*>("m_BtnLogin")->click();
  });
  hand.start(5);
  emit CEvent::instance()->loginChange();
  EXPECT_TRUE(wasLive);
  EXPECT_EQ(m_notices.texts, QStringList{QStringLiteral("正在直播过程中，请先停止直播")});
  EXPECT_EQ(Requests("logout"), 1);
  ExpectLive();
  Press("m_LiveBtn");
  EXPECT_TRUE(Request("host-end").contains("\r\n\r\nanother-token\r\n"));
}

// The process ends inside the change, so it happens in one of its own, and that tells on standard
// error what the service was sent.
TEST_F(LiveLeaving, LeavingInsideAChangeOfAccountEndsTheBroadcastWithTheTokenThatBeganIt) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto terminate = [](QDialog* /*login*/) { QCoreApplication::quit(); };
  EXPECT_EXIT(LeaveInsideAChangeOfAccount(terminate), testing::ExitedWithCode(0),
              "host-end 1, with the-token 1, sound closed 1");
}

TEST_F(LiveLeaving, ALoginThatIsLeftInAChangeOfAccountEndsTheBroadcastToo) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(LeaveInsideAChangeOfAccount(&QDialog::reject), testing::ExitedWithCode(0),
              "host-end 1, with the-token 1, sound closed 1");
}

TEST_F(LiveLeaving, LeavingWhileLiveEndsTheBroadcastAndTellsTheService) {
  ChooseWith();
  Press("m_LiveBtn");
  m_window->CloseGraph();
  ExpectNoBroadcastNodes();
  EXPECT_EQ(Requests("host-end"), 1);
  m_window->CloseGraph();
  EXPECT_EQ(Requests("host-end"), 1);
}

TEST_F(LiveLeaving, LeavingDoesNotWaitForAServiceThatIsSilent) {
  ScriptedReply silent;
  silent.never = true;
  ChooseWith({kFine, silent});
  Press("m_LiveBtn");
  m_window->CloseGraph();
  EXPECT_EQ(Requests("host-end"), 1);
  EXPECT_TRUE(m_notices.texts.isEmpty());
  ExpectNoBroadcastNodes();
}

TEST_F(LiveLeaving, LeavingAsTheServiceGoesDownSaysNothing) {
  ScriptedReply cut;
  cut.cutOff = true;
  ChooseWith({kFine, cut});
  Press("m_LiveBtn");
  m_window->CloseGraph();
  EXPECT_GE(Requests("host-end"), 1);
  EXPECT_TRUE(m_notices.texts.isEmpty());
  ExpectNoBroadcastNodes();
}

TEST_F(LiveLeaving, AnEndThatTheServiceHasNotHeardOfIsToldOnceMoreOnTheWayOut) {
  ChooseWith({kFine, HalfAReply(), kFine});
  Press("m_LiveBtn");
  Press("m_LiveBtn");
  EXPECT_EQ(m_notices.texts, QStringList{kNoNetwork});
  EXPECT_EQ(Requests("host-end"), 1);
  m_window->CloseGraph();
  EXPECT_EQ(Requests("host-end"), 2);
  EXPECT_TRUE(Request("host-end").contains("name=\"id\"\r\n\r\n7\r\n"));
  m_window->CloseGraph();
  EXPECT_EQ(Requests("host-end"), 2);
  EXPECT_EQ(m_notices.texts, QStringList{kNoNetwork});
}

TEST_F(LiveLeaving, APressWhileLeavingStartsNothing) {
  ScriptedReply silent;
  silent.never = true;
  ChooseWith({kFine, silent});
  m_window->show();
  Press("m_LiveBtn");
  bool pressed = false;
  QTimer::singleShot(100, m_window.get(), [&] {
    pressed = true;
    EXPECT_FALSE(m_window->isVisible());
    Press("m_LiveBtn");
  });
  m_window->CloseGraph();
  EXPECT_TRUE(pressed);
  EXPECT_EQ(Requests("host-start"), 1);
  ExpectNoBroadcastNodes();
}

}  // namespace
