// What goes over the wire, and what a reply of any shape makes of a call.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QBuffer>
#include <QImage>
#include <QPixmap>
#include <QRegularExpression>
#include <QTemporaryDir>

#include "backend/BackendClientFixture.h"

namespace {

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

TEST_F(BackendClientTest, ADeepDocumentIsNoObject) {
  server.SetReplies({JsonReply("{\"code\":" + QByteArray(100000, '[') + "}")});
  LoginResult login;
  EXPECT_EQ(client->Login(QString(), QString(), &login), 0);
  EXPECT_LT(login.code, 0);
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

}  // namespace
