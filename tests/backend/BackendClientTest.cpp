#include "backend/BackendClient.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QApplication>
#include <QBuffer>
#include <QDialog>
#include <QImage>
#include <QLabel>
#include <QNetworkReply>
#include <QPixmap>
#include <QPushButton>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTimer>
#include <functional>
#include <memory>
#include <utility>

#include "backend/TestAddress.h"
#include "support/Notices.h"
#include "support/ScriptedHttp.h"
#include "widgets/theme/InformationDlg.h"

namespace {

using support::JsonReply;
using support::Notices;
using support::ScriptedHttp;
using support::ScriptedReply;

using backend::Until;

constexpr Until::Brief kBrief{2000, true};
const QString kNoNetwork = QStringLiteral("网络不通畅，请检查网络连接");

class BackendClientTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(server.Listening());
    SetTestAddress(server.Address());
  }
  QByteArray OnlyRequest() {
    return server.Requests().size() == 1 ? server.Requests().first() : QByteArray("<none or many>");
  }
  ScriptedHttp server;
  Notices notices;
  BackendClient* client = BackendClient::Instance();
};

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

QByteArray RequestLine(const QByteArray& request) {
  return request.left(request.indexOf("\r\n"));
}

QByteArray Header(const QByteArray& request, const QByteArray& name) {
  const QRegularExpression line(
      QStringLiteral("^%1: *(.*?)\r$").arg(QLatin1String(name)),
      QRegularExpression::CaseInsensitiveOption | QRegularExpression::MultilineOption);
  return line.match(QString::fromLatin1(request.left(request.indexOf("\r\n\r\n") + 2)))
      .captured(1)
      .toLatin1();
}

// The body that a form of these parts has, with the boundary that the request's header names.
QByteArray FormBody(const QByteArray& request, const QList<QPair<QByteArray, QByteArray>>& fields) {
  const QByteArray type = Header(request, "Content-Type");
  const QByteArray mark = "boundary=\"";
  const int at = type.indexOf(mark) + mark.size();
  const QByteArray boundary = type.mid(at, type.indexOf('"', at) - at);
  QByteArray body;
  for (const auto& field : fields) {
    body += "--" + boundary + "\r\nContent-Disposition: form-data; name=\"" + field.first +
            "\"\r\n\r\n" + field.second + "\r\n";
  }
  return body + "--" + boundary + "--\r\n";
}

QByteArray Body(const QByteArray& request) {
  return request.mid(request.indexOf("\r\n\r\n") + 4);
}

}  // namespace

TEST_F(BackendClientTest, LoginSendsItsFormByteForByte) {
  server.SetReplies({JsonReply(R"({"code":0,"token":"t"})")});
  LoginResult result;
  EXPECT_EQ(client->Login(QStringLiteral("user@example"), QStringLiteral("pä\"ss"), &result), 0);
  const QByteArray request = OnlyRequest();
  EXPECT_EQ(RequestLine(request), "POST /assistant/user/login HTTP/1.1");
  EXPECT_TRUE(Header(request, "Content-Type").startsWith("multipart/form-data; boundary=\""));
  EXPECT_EQ(Body(request),
            FormBody(request, {{"login", "user@example"}, {"password", "p\xe4\"ss"}}));
  EXPECT_EQ(result.token, QStringLiteral("t"));
}

TEST_F(BackendClientTest, APasswordBeyondLatin1LosesThoseCharacters) {
  server.SetReplies({JsonReply(R"({"code":-1})")});
  LoginResult result;
  client->Login(QStringLiteral("u"), QStringLiteral("a密b"), &result);
  const QByteArray request = OnlyRequest();
  EXPECT_EQ(Body(request), FormBody(request, {{"login", "u"}, {"password", "a?b"}}));
}

TEST_F(BackendClientTest, TheOtherFormsHaveTheirPathsAndPartsInOrder) {
  server.SetReplies({JsonReply(R"({"code":0})")});
  int code = 5;
  EXPECT_EQ(client->Logout(QStringLiteral("tok"), &code), 0);
  EXPECT_EQ(RequestLine(OnlyRequest()), "POST /assistant/user/logout HTTP/1.1");
  EXPECT_EQ(Body(OnlyRequest()), FormBody(OnlyRequest(), {{"token", "tok"}}));
  EXPECT_EQ(code, 0);

  server.SetReplies({JsonReply(R"({"code":-2})")});
  EXPECT_EQ(client->HostStart(QStringLiteral("a1"), QStringLiteral("tok"), &code), 0);
  EXPECT_EQ(RequestLine(OnlyRequest()), "POST /assistant/livestream/host-start HTTP/1.1");
  EXPECT_EQ(Body(OnlyRequest()), FormBody(OnlyRequest(), {{"id", "a1"}, {"token", "tok"}}));
  EXPECT_EQ(code, -2);

  server.SetReplies({JsonReply(R"({"code":0})")});
  EXPECT_EQ(client->HostEnd(QStringLiteral("a1"), QStringLiteral("tok"), &code), 0);
  EXPECT_EQ(RequestLine(OnlyRequest()), "POST /assistant/livestream/host-end HTTP/1.1");
  EXPECT_EQ(Body(OnlyRequest()), FormBody(OnlyRequest(), {{"id", "a1"}, {"token", "tok"}}));
  EXPECT_TRUE(notices.texts.isEmpty());
}

TEST_F(BackendClientTest, TheAdvertisementCallSendsAnEmptyMixedMultipart) {
  server.SetReplies({JsonReply(R"({"code":0,"link":"http://x/y.png"})")});
  AdResult ad;
  EXPECT_EQ(client->GetHomepageAds(&ad), 0);
  const QByteArray request = OnlyRequest();
  EXPECT_EQ(RequestLine(request), "POST /assistant/user/homepage-ads HTTP/1.1");
  EXPECT_TRUE(Header(request, "Content-Type").startsWith("multipart/mixed; boundary=\""));
  EXPECT_EQ(Body(request), FormBody(request, {}));
  EXPECT_EQ(ad.link, QStringLiteral("http://x/y.png"));
}

TEST_F(BackendClientTest, TheListIsAskedForWithPageThenToken) {
  server.SetReplies({JsonReply(R"({"code":0,"activities":[{"title":"one"}]})")});
  ActivityList list;
  EXPECT_EQ(client->GetHostList(QStringLiteral("tok"), 3, &list), 0);
  EXPECT_EQ(RequestLine(OnlyRequest()),
            "GET /assistant/activity/host-list?page=3&token=tok HTTP/1.1");
  ASSERT_EQ(list.activities.size(), 1);
  EXPECT_EQ(list.activities.first()->title, QStringLiteral("one"));
  qDeleteAll(list.activities);
}

TEST_F(BackendClientTest, AFailedPostShowsTheNoticeOnceAndAFailedGetIsSilent) {
  server.SetReplies({JsonReply("{}", 500)});
  LoginResult login;
  login.code = 3;
  EXPECT_EQ(client->Login(QString(), QString(), &login), -1);
  EXPECT_EQ(login.code, -1);
  EXPECT_EQ(notices.texts, QStringList{kNoNetwork});
  EXPECT_EQ(notices.shadows, QList<bool>{true});
  ActivityList list;
  list.code = 7;
  EXPECT_EQ(client->GetHostList(QString(), 1, &list), -1);
  EXPECT_EQ(list.code, 7);
  EXPECT_EQ(notices.texts.size(), 1);
}

TEST_F(BackendClientTest, AFailedCallLeavesTheCallersCodeUntouched) {
  server.SetReplies({JsonReply("{}", 404)});
  int code = 11;
  EXPECT_EQ(client->Logout(QString(), &code), -1);
  EXPECT_EQ(client->HostStart(QString(), QString(), &code), -1);
  EXPECT_EQ(client->HostEnd(QString(), QString(), &code), -1);
  EXPECT_EQ(code, 11);
  EXPECT_EQ(notices.texts.size(), 3);
}

TEST_F(BackendClientTest, ADeadServiceIsAFailedRequest) {
  SetTestAddress(QStringLiteral("http://127.0.0.1:1"));
  AdResult ad;
  EXPECT_EQ(client->GetHomepageAds(&ad), -1);
  EXPECT_EQ(notices.texts, QStringList{kNoNetwork});
}

TEST_F(BackendClientTest, AReplyThatIsNoObjectIsASuccessWithNothingSet) {
  for (const char* body : {"", "[1]", "null", "<html>", "{\"code\":"}) {
    server.SetReplies({JsonReply(body)});
    LoginResult login;
    EXPECT_EQ(client->Login(QString(), QString(), &login), 0);
    EXPECT_LT(login.code, 0);  // the record's start: unknown counts as refused
    int code = 0;
    EXPECT_EQ(client->HostStart(QString(), QString(), &code), 0);
    EXPECT_EQ(code, 0);
  }
  EXPECT_TRUE(notices.texts.isEmpty());
}

TEST_F(BackendClientTest, ASlowReplyIsWaitedForWhileTheInterfaceLives) {
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

TEST_F(BackendClientTest, AReplyThatIsCutOffFails) {
  ScriptedReply cut = JsonReply(R"({"code":0,"token":"never whole"})");
  cut.bytes.chop(10);
  cut.cutOff = true;
  server.SetReplies({cut});
  LoginResult login;
  EXPECT_EQ(client->Login(QString(), QString(), &login), -1);
  EXPECT_EQ(notices.texts.size(), 1);
}

TEST_F(BackendClientTest, RedirectsAreNotFollowed) {
  ScriptedReply moved;
  moved.bytes = "HTTP/1.1 302 Found\r\nLocation: " + server.Address().toLatin1() +
                "/elsewhere\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
  server.SetReplies({moved});
  LoginResult login;
  EXPECT_EQ(client->Login(QString(), QString(), &login), 0);
  EXPECT_LT(login.code, 0);
  EXPECT_EQ(server.Requests().size(), 1);
}

TEST_F(BackendClientTest, AnEndlessReplyIsGivenUpAndFails) {
  ScriptedReply huge;
  huge.bytes = "HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n" + QByteArray(80 << 20, ' ');
  server.SetReplies({huge});
  ActivityList list;
  EXPECT_EQ(client->GetHostList(QString(), 1, &list), -1);
  QPixmap picture;
  EXPECT_EQ(client->FetchPixmap(server.Address(), &picture), 0);
  EXPECT_TRUE(picture.isNull());
}

// A list is parsed on the user interface thread: pictures may be larger.
TEST_F(BackendClientTest, AnAnswerBeyondFourMegabytesFails) {
  const QByteArray head = R"({"code":0,"activities":[{"title":")";
  const QByteArray tail = "\"}]}";
  for (const int size : {4 << 20, (4 << 20) + 1}) {
    server.SetReplies({JsonReply(head + QByteArray(size - head.size() - tail.size(), 'x') + tail)});
    ActivityList list;
    const bool fits = size <= 4 << 20;
    EXPECT_EQ(client->GetHostList(QString(), 1, &list), fits ? 0 : -1);
    EXPECT_EQ(list.activities.size(), fits ? 1 : 0);
    qDeleteAll(list.activities);
  }
}

TEST_F(BackendClientTest, ATokenOfAnyTextComesWhole) {
  server.SetReplies({JsonReply(R"({"code":0})")});
  ActivityList list;
  client->GetHostList(QStringLiteral("a+b&c=%41d e"), 1, &list);
  EXPECT_EQ(RequestLine(OnlyRequest()),
            "GET /assistant/activity/host-list?page=1&token=a%2Bb%26c%3D%2541d%20e HTTP/1.1");
}

TEST_F(BackendClientTest, ARefusedStartGivesTheServicesWords) {
  server.SetReplies({JsonReply(R"({"code":-3,"message":"too late"})"),
                     JsonReply(R"({"code":0,"message":"welcome"})")});
  int code = 0;
  QString message;
  EXPECT_EQ(client->HostStart("7", "token", &code, Until(), &message), 0);
  EXPECT_EQ(code, -3);
  EXPECT_EQ(message, "too late");
  message.clear();
  EXPECT_EQ(client->HostStart("7", "token", &code, Until(), &message), 0);
  EXPECT_EQ(message, QString());
}

// Each of the seven, while the service says nothing.
TEST_F(BackendClientTest, EveryCallEndsWithItsUntilAndShowsNothing) {
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
  for (const auto& call : calls) {
    server.SetReplies({never});
    auto dialog = std::make_unique<QDialog>();
    const Until until(dialog.get());
    QTimer hand;
    QObject::connect(&hand, &QTimer::timeout, [&] {
      if (server.Requests().size() == 1) {
        dialog->reject();
      }
    });
    hand.start(1);
    EXPECT_EQ(call(until), -1);
    // From now on every call is over before it begins.
    EXPECT_EQ(call(until), -1);
    EXPECT_EQ(server.Requests().size(), 1);
  }
  EXPECT_EQ(code, 11);
  EXPECT_TRUE(notices.texts.isEmpty());
}

// Its own wait can't return before the one on top of it; its connection may not stay as long, since
// one that dies without a byte has its request sent again.
TEST_F(BackendClientTest, ARequestThatIsGivenUpBelowAnotherIsClosedAtOnce) {
  ScriptedReply never;
  never.never = true;
  ScriptedReply slow = JsonReply(R"({"code":0})");
  slow.delayMs = 100;
  server.SetReplies({never, slow});
  Until start;
  int code = 0;
  bool looked = false;
  QTimer hand;
  QObject::connect(&hand, &QTimer::timeout, [&] {
    if (server.Requests().size() < 1) {
      return;
    }
    hand.stop();
    start.End();
    QTimer::singleShot(50, &hand, [&] {
      looked = true;
      EXPECT_EQ(server.Connections(), 1);
    });
    EXPECT_EQ(client->HostEnd("7", "t", &code), 0);
  });
  hand.start(1);
  EXPECT_EQ(client->HostStart("7", "t", &code, start), -1);
  EXPECT_TRUE(looked);
  EXPECT_TRUE(notices.texts.isEmpty());
}

TEST_F(BackendClientTest, ADeepDocumentIsNoObject) {
  server.SetReplies({JsonReply("{\"code\":" + QByteArray(100000, '[') + "}")});
  LoginResult login;
  EXPECT_EQ(client->Login(QString(), QString(), &login), 0);
  EXPECT_LT(login.code, 0);
}

TEST_F(BackendClientTest, APendingCallEndsWhenTheApplicationQuits) {
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
TEST_F(BackendClientTest, AReplyThatFailsAsTheApplicationQuitsShowsNoNotice) {
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

TEST_F(BackendClientTest, ABriefCallIsAnsweredAfterTheApplicationWasToldToQuit) {
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

TEST_F(BackendClientTest, ABriefCallThatFailsSaysNothing) {
  SetTestAddress(QStringLiteral("http://127.0.0.1:1"));
  int code = 0;
  EXPECT_EQ(client->HostEnd("7", "token", &code, Until(kBrief)), -1);
  EXPECT_EQ(code, 0);
  EXPECT_TRUE(notices.texts.isEmpty());
}

TEST_F(BackendClientTest, APictureIsFetchedAndAnythingElseLeavesItNull) {
  QImage image(3, 2, QImage::Format_RGB32);
  image.fill(Qt::red);
  QByteArray png;
  QBuffer buffer(&png);
  buffer.open(QIODevice::WriteOnly);
  image.save(&buffer, "PNG");
  server.SetReplies({JsonReply(png), JsonReply("no picture")});
  QPixmap picture;
  EXPECT_EQ(client->FetchPixmap(server.Address() + QStringLiteral("/a"), &picture), 0);
  EXPECT_EQ(picture.size(), QSize(3, 2));
  EXPECT_EQ(client->FetchPixmap(server.Address() + QStringLiteral("/b"), &picture), 0);
  EXPECT_TRUE(picture.isNull());
  EXPECT_EQ(client->FetchPixmap(QStringLiteral("http://127.0.0.1:1/x"), &picture), 0);
  EXPECT_TRUE(picture.isNull());
  EXPECT_EQ(client->FetchPixmap(QStringLiteral("no address at all"), &picture), 0);
  EXPECT_TRUE(picture.isNull());
  EXPECT_TRUE(notices.texts.isEmpty());
}

TEST_F(BackendClientTest, APictureThatClaimsAGigapixelIsNotDecoded) {
  QByteArray png =
      QByteArray::fromHex("89504e470d0a1a0a0000000d49484452000075300000753008020000005bd8a9ea");
  server.SetReplies({JsonReply(png)});
  QPixmap picture;
  client->FetchPixmap(server.Address(), &picture);
  EXPECT_TRUE(picture.isNull());
}

// Opening the pipe would wait for somebody to write to it.
TEST_F(BackendClientTest, APictureInAFileOfThisMachineIsNotRead) {
  const QTemporaryDir directory;
  const QString pipe = directory.filePath(QStringLiteral("pipe"));
  ASSERT_EQ(mkfifo(pipe.toLocal8Bit().constData(), 0600), 0);
  const QString file = directory.filePath(QStringLiteral("a.png"));
  QImage image(3, 2, QImage::Format_RGB32);
  image.fill(Qt::red);
  ASSERT_TRUE(image.save(file));
  for (const QString& address :
       {QStringLiteral("file://") + pipe, QStringLiteral("FILE:") + file, file}) {
    QPixmap picture;
    EXPECT_EQ(client->FetchPixmap(address, &picture), 0);
    EXPECT_TRUE(picture.isNull()) << address.toStdString();
  }
}

// Between the last byte and the reading of the picture.
TEST_F(BackendClientTest, ADialogThatEndsAsItsPictureArrivesGetsNone) {
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
