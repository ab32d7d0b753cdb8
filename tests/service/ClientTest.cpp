// The program's own client against the service: what one sends the other reads.
#include <gtest/gtest.h>

#include <QBuffer>
#include <QImage>
#include <QPixmap>

#include "backend/BackendClient.h"
#include "backend/TestAddress.h"
#include "service/ServiceRig.h"

namespace {

class ClientTest : public ::testing::Test {
 protected:
  void SetUp() override {
    account = rig.AddAccount("us\xe9r", "p\xe4ss '\"\xff");
    ASSERT_TRUE(rig.Serve());
    SetTestAddress(QStringLiteral("http://127.0.0.1:%1").arg(rig.port));
  }
  QString Token() {
    LoginResult result;
    EXPECT_EQ(client->Login(QStringLiteral("usér"), QStringLiteral("päss '\"ÿ"), &result), 0);
    EXPECT_EQ(result.code, 0) << result.message.toStdString();
    return result.token;
  }
  QByteArray Png() {
    QImage image(40, 30, QImage::Format_RGB32);
    image.fill(Qt::red);
    QBuffer buffer;
    image.save(&buffer, "PNG");
    return buffer.data();
  }
  support::ServiceRig rig;
  service::Account account;
  BackendClient* client = BackendClient::Instance();
};

}  // namespace

TEST_F(ClientTest, LogsInAndOut) {
  const QString token = Token();
  int code = 9;
  EXPECT_EQ(client->Logout(token, &code), 0);
  EXPECT_EQ(code, 0);
  client->Logout(token, &code);
  EXPECT_LT(code, 0);
}

TEST_F(ClientTest, ARefusalIsNoFailedRequestAndSaysWhyInChinese) {
  LoginResult result;
  EXPECT_EQ(client->Login(QStringLiteral("usér"), QStringLiteral("no"), &result), 0);
  EXPECT_LT(result.code, 0);
  EXPECT_EQ(result.message, QStringLiteral("账号或密码错误"));
}

TEST_F(ClientTest, ReadsEveryFieldOfTheActivitiesAndTheirCovers) {
  const service::Picture cover{QStringLiteral("c"), QStringLiteral("image/png"), Png()};
  service::Activity activity;
  activity.id = QStringLiteral("act");
  activity.accountId = account.id;
  activity.title = QStringLiteral("直播 1");
  activity.startTime = 1700000123;
  activity.streamKey = QStringLiteral("key");
  ASSERT_EQ(rig.store->AddActivity(activity, &cover), service::Outcome::Done);
  ActivityList list;
  ASSERT_EQ(client->GetHostList(Token(), 1, &list), 0);
  ASSERT_EQ(list.activities.size(), 1);
  const ActivityInfo& info = *list.activities[0];
  EXPECT_EQ(info.lsId, activity.id);
  EXPECT_EQ(info.title, activity.title);
  EXPECT_EQ(info.playStatus, 1);
  EXPECT_EQ(info.startTime.toSecsSinceEpoch(), 1700000123);
  EXPECT_EQ(info.publishUrl, QStringLiteral("rtmp://127.0.0.1:1935/live/key"));
  EXPECT_EQ(info.rtmpLiveUrl, QStringLiteral("rtmp://127.0.0.1:1935/watch/act"));
  QPixmap pixmap;
  client->FetchPixmap(info.coverUrl, &pixmap);
  EXPECT_EQ(pixmap.size(), QSize(40, 30));
  qDeleteAll(list.activities);
}

TEST_F(ClientTest, PagesThroughTheList) {
  for (int i = 0; i < 13; ++i) {
    rig.AddActivity(account, "t");
  }
  const QString token = Token();
  int page = 0;
  for (const int size : {12, 1, 0}) {
    ActivityList list;
    EXPECT_EQ(client->GetHostList(token, ++page, &list), 0);
    EXPECT_EQ(list.code, 0);
    EXPECT_EQ(list.activities.size(), size);
    qDeleteAll(list.activities);
  }
  ActivityList forged;
  EXPECT_EQ(client->GetHostList(QStringLiteral("forged"), 1, &forged), 0);
  EXPECT_LT(forged.code, 0);
}

TEST_F(ClientTest, TheAdvertisementAndItsPicture) {
  AdResult ad;
  EXPECT_EQ(client->GetHomepageAds(&ad), 0);
  EXPECT_EQ(ad.code, 0);
  EXPECT_TRUE(ad.link.isEmpty());
  const service::Picture picture{QStringLiteral("ad"), QStringLiteral("image/png"), Png()};
  ASSERT_EQ(rig.store->SetAdPicture(&picture), service::Outcome::Done);
  EXPECT_EQ(client->GetHomepageAds(&ad), 0);
  QPixmap pixmap;
  client->FetchPixmap(ad.link, &pixmap);
  EXPECT_EQ(pixmap.size(), QSize(40, 30));
}

TEST_F(ClientTest, ABroadcastStartsAndEnds) {
  const service::Activity activity = rig.AddActivity(account, "t");
  const QString token = Token();
  int code = 9;
  EXPECT_EQ(client->HostStart(activity.id, token, &code), 0);
  EXPECT_EQ(code, 0);
  EXPECT_EQ(client->HostStart(activity.id, Token(), &code), 0);
  EXPECT_LT(code, 0) << "it is live elsewhere";
  EXPECT_EQ(client->HostEnd(activity.id, token, &code), 0);
  EXPECT_EQ(code, 0);
  EXPECT_EQ(client->HostEnd(activity.id, token, &code), 0);
  EXPECT_LT(code, 0);
}
