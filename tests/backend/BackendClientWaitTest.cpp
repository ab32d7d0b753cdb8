// How long an answer is waited for: slow services, dialogs that end, the end of the program.
#include <gtest/gtest.h>

#include <QApplication>
#include <QBuffer>
#include <QDialog>
#include <QImage>
#include <QNetworkReply>
#include <QPixmap>
#include <QTimer>
#include <functional>
#include <memory>
#include <utility>

#include "backend/BackendClientFixture.h"
#include "widgets/theme/InformationDlg.h"

namespace {

class BackendClientWait : public BackendClientTest {};

// Acts right behind the client's own handling of the end of a reply, before it goes on.
class AtTheEndOfAReply : public QObject {
 public:
  explicit AtTheEndOfAReply(std::function<void()> action) : m_action(std::move(action)) {
    qApp->installEventFilter(this);
  }
  bool Came() const { return m_came; }
  bool eventFilter(QObject* watched, QEvent* event) override {
    const auto* reply = qobject_cast<QNetworkReply*>(watched);
    if (reply != nullptr && event->type() == QEvent::MetaCall && !m_waits) {
      m_waits = true;
      connect(reply, &QNetworkReply::finished, this, [this] {
        m_came = true;
        m_action();
      });
    }
    return false;
  }

 private:
  std::function<void()> m_action;
  bool m_waits = false;
  bool m_came = false;
};

TEST_F(BackendClientWait, ASlowReplyIsWaitedForWhileTheInterfaceLives) {
  ScriptedReply slow = JsonReply(R"({"code":0,"token":"late"})");
  slow.delayMs = 50;
  slow.byteByByte = true;
  server.SetReplies({slow});
  int ticks = 0;
  QTimer timer;
  QObject::connect(&timer, &QTimer::timeout, [&ticks] { ++ticks; });
  timer.start(1);
  LoginResult login;
  EXPECT_EQ(client->Login(QString(), QString(), &login), 0);
  EXPECT_EQ(login.token, QStringLiteral("late"));
  EXPECT_GT(ticks, 5);
}

// Each of the seven, while the service says nothing.
TEST_F(BackendClientWait, EveryCallEndsWithItsUntilAndShowsNothing) {
  LoginResult login;
  AdResult ad;
  ActivityList list;
  QPixmap picture;
  int code = 11;
  const std::function<int(const Until&)> calls[] = {
      [&](const Until& until) { return client->Login("a", "b", &login, until); },
      [&](const Until& until) { return client->Logout("t", &code, until); },
      [&](const Until& until) { return client->GetHomepageAds(&ad, until); },
      [&](const Until& until) { return client->GetHostList("t", 1, &list, until); },
      [&](const Until& until) { return client->HostStart("7", "t", &code, until); },
      [&](const Until& until) { return client->HostEnd("7", "t", &code, until); },
      [&](const Until& until) {
        return client->FetchPixmap(server.Address(), &picture, QSize(), until) - 1;
      },
  };
  ScriptedReply never;
  never.never = true;
  server.SetReplies({never});
  int sent = 0;
  for (const auto& call : calls) {
    ++sent;
    auto dialog = std::make_unique<QDialog>();
    const Until until(dialog.get());
    QTimer hand;
    QObject::connect(&hand, &QTimer::timeout, [&] {
      if (server.Requests().size() >= sent) {
        dialog->reject();
      }
    });
    hand.start(1);
    EXPECT_EQ(call(until), -1);
    // From now on every call is over before it begins: one that was sent would arrive while the
    // next is out.
    EXPECT_EQ(call(until), -1);
    EXPECT_EQ(server.Requests().size(), sent);
  }
  EXPECT_EQ(code, 11);
  EXPECT_TRUE(notices.texts.isEmpty());
}

// Its own wait can't return before the one on top of it; its connection may not stay as long, since
// one that dies without a byte has its request sent again.
TEST_F(BackendClientWait, ARequestThatIsGivenUpBelowAnotherIsClosedAtOnce) {
  ScriptedReply never;
  never.never = true;
  server.SetReplies({never});
  Until start;
  int code = 0;
  bool closed = false;
  QTimer hand;
  QObject::connect(&hand, &QTimer::timeout, [&] {
    if (server.Requests().size() < 1) {
      return;
    }
    hand.stop();
    start.End();
    // The one on top waits until the connection below it has been seen to go, or for a minute.
    Until end(Until::Brief{60000});
    QTimer eye;
    QObject::connect(&eye, &QTimer::timeout, [&] {
      if (server.Requests().size() == 2 && server.Connections() == 1) {
        closed = true;
        end.End();
      }
    });
    eye.start(1);
    EXPECT_EQ(client->HostEnd("7", "t", &code, end), -1);
  });
  hand.start(1);
  EXPECT_EQ(client->HostStart("7", "t", &code, start), -1);
  EXPECT_TRUE(closed);
  EXPECT_TRUE(notices.texts.isEmpty());
}

TEST_F(BackendClientWait, APendingCallEndsWhenTheApplicationQuits) {
  ScriptedReply never;
  never.never = true;
  server.SetReplies({never});
  LoginResult login;
  int returned = 1;
  QTimer::singleShot(0, [&] {
    QTimer::singleShot(50, qApp, &QCoreApplication::quit);
    returned = client->Login(QString(), QString(), &login);
  });
  QApplication::exec();
  EXPECT_EQ(returned, -1);
  EXPECT_TRUE(notices.texts.isEmpty());
}

// Nobody would read it, and it would come up for a moment.
TEST_F(BackendClientWait, AReplyThatFailsAsTheApplicationQuitsShowsNoNotice) {
  class Shown : public QObject {
   public:
    bool eventFilter(QObject* watched, QEvent* event) override {
      notice = notice || (event->type() == QEvent::Show && watched->inherits("InformationDlg"));
      return false;
    }
    bool notice = false;
  } shown;
  qApp->installEventFilter(&shown);
  server.SetReplies({JsonReply("{}", 500)});
  QTimer::singleShot(0, [&] {
    const AtTheEndOfAReply atTheEnd([] { QCoreApplication::quit(); });
    LoginResult login;
    EXPECT_EQ(client->Login(QString(), QString(), &login), -1);
    EXPECT_TRUE(atTheEnd.Came());
  });
  QApplication::exec();
  EXPECT_FALSE(shown.notice);
}

TEST_F(BackendClientWait, ABriefCallIsAnsweredAfterTheApplicationWasToldToQuit) {
  server.SetReplies({JsonReply(R"({"code":-7})")});
  int code = 0;
  int returned = 1;
  QTimer::singleShot(0, [&] {
    QCoreApplication::quit();
    returned = client->HostEnd("7", "token", &code, Until(kBrief));
  });
  QApplication::exec();
  EXPECT_EQ(returned, 0);
  EXPECT_EQ(code, -7);
}

TEST_F(BackendClientWait, ABriefCallThatFailsSaysNothing) {
  SetTestAddress(QStringLiteral("http://127.0.0.1:1"));
  int code = 0;
  EXPECT_EQ(client->HostEnd("7", "token", &code, Until(kBrief)), -1);
  EXPECT_EQ(code, 0);
  EXPECT_TRUE(notices.texts.isEmpty());
}

// Between the last byte and the reading of the picture.
TEST_F(BackendClientWait, ADialogThatEndsAsItsPictureArrivesGetsNone) {
  QImage image(3, 2, QImage::Format_RGB32);
  image.fill(Qt::red);
  QBuffer png;
  image.save(&png, "PNG");
  server.SetReplies({JsonReply(png.data())});
  for (const bool destroyed : {false, true}) {
    auto asker = std::make_unique<QDialog>();
    const AtTheEndOfAReply atTheEnd([&] {
      if (destroyed) {
        asker.reset();
      } else {
        asker->reject();
      }
    });
    QPixmap picture;
    const Until until(asker.get());
    EXPECT_EQ(client->FetchPixmap(server.Address(), &picture, QSize(), until), 0);
    EXPECT_TRUE(atTheEnd.Came());
    EXPECT_TRUE(picture.isNull()) << destroyed;
  }
}

}  // namespace
