#include "backend/ReplyParser.h"

#include <gtest/gtest.h>

#include <random>

using backend::ParseActivities;
using backend::ParseAd;
using backend::ParseCode;
using backend::ParseLogin;

namespace {

struct OwnedList : ActivityList {
  ~OwnedList() { qDeleteAll(activities); }
};

const QByteArray kLogin =
    R"({"code":0,"message":"m","token":"t0k","user":{"authStatus":"1","email":"a@b","id":7,)"
    R"("number":"n","qq":12345,"username":"\u4e3b\u64ad"}})";
const QByteArray kList =
    R"({"code":0,"activities":[{"coverUrl":"http://c/1.png","lsId":"a1","playStatus":1,)"
    R"("publishUrl":"rtmp://p/live/k","rtmpLiveUrl":"rtmp://v/live/k","startTime":1700000000,)"
    R"("title":"first"},{"lsId":2,"startTime":"1700000001","playStatus":"3","title":"second"}]})";

}  // namespace

TEST(ReplyParser, ReadsALogin) {
  LoginResult out;
  ASSERT_TRUE(ParseLogin(kLogin, &out));
  EXPECT_EQ(out.code, 0);
  EXPECT_EQ(out.token, QStringLiteral("t0k"));
  EXPECT_EQ(out.authStatus, QStringLiteral("1"));
  EXPECT_EQ(out.email, QStringLiteral("a@b"));
  EXPECT_EQ(out.id, QStringLiteral("7"));
  EXPECT_EQ(out.number, QStringLiteral("n"));
  EXPECT_EQ(out.qq, QStringLiteral("12345"));
  EXPECT_EQ(out.username, QStringLiteral("主播"));
  EXPECT_TRUE(out.message.isEmpty());
}

TEST(ReplyParser, ALoginThatHoldsOnlyCodeZeroIsASuccessWithAnEmptyToken) {
  LoginResult out;
  ASSERT_TRUE(ParseLogin(R"({"code":0})", &out));
  EXPECT_EQ(out.code, 0);
  EXPECT_TRUE(out.token.isEmpty());
}

TEST(ReplyParser, AnEmptyObjectCountsAsCodeZero) {
  int code = -7;
  ASSERT_TRUE(ParseCode("{}", &code));
  EXPECT_EQ(code, 0);
}

TEST(ReplyParser, ARefusalGivesItsMessageAndNothingElse) {
  LoginResult out;
  ASSERT_TRUE(ParseLogin(R"({"code":-3,"message":"no","token":"x"})", &out));
  EXPECT_EQ(out.code, -3);
  EXPECT_EQ(out.message, QStringLiteral("no"));
  EXPECT_TRUE(out.token.isEmpty());
}

TEST(ReplyParser, ARefusalWithoutMessageGivesAnEmptyOne) {
  LoginResult out;
  ASSERT_TRUE(ParseLogin(R"({"code":-3})", &out));
  EXPECT_TRUE(out.message.isEmpty());
}

TEST(ReplyParser, AnythingButAnObjectLeavesTheRecordAlone) {
  for (const QByteArray& bytes :
       {QByteArray(), QByteArray("["), QByteArray("[]"), QByteArray("null"), QByteArray("\"text\""),
        QByteArray("{\"code\":0"), QByteArray("<html>"), QByteArray(5000, '['),
        QByteArray("\xff\xfe\x00{", 4)}) {
    LoginResult login;
    OwnedList list;
    int code = 42;
    EXPECT_FALSE(ParseLogin(bytes, &login));
    EXPECT_FALSE(ParseActivities(bytes, &list));
    EXPECT_FALSE(ParseCode(bytes, &code));
    EXPECT_LT(login.code, 0);
    EXPECT_EQ(code, 42);
    EXPECT_TRUE(list.activities.isEmpty());
  }
}

TEST(ReplyParser, ACodeOfAnotherTypeCountsAsWhatItConvertsTo) {
  const struct {
    const char* reply;
    int code;
  } rows[] = {{R"({"code":"-5"})", -5},
              {R"({"code":"x"})", 0},
              {R"({"code":null})", 0},
              {R"({"code":{}})", 0},
              {R"({"code":-1.0})", -1}};
  for (const auto& row : rows) {
    int code = 9;
    ASSERT_TRUE(ParseCode(row.reply, &code));
    EXPECT_EQ(code, row.code) << row.reply;
  }
}

TEST(ReplyParser, ReadsActivitiesInTheOrderOfTheReply) {
  OwnedList list;
  ASSERT_TRUE(ParseActivities(kList, &list));
  ASSERT_EQ(list.activities.size(), 2);
  EXPECT_EQ(list.activities[0]->publishUrl, QStringLiteral("rtmp://p/live/k"));
  EXPECT_EQ(list.activities[0]->playStatus, 1);
  EXPECT_EQ(list.activities[0]->startTime.toSecsSinceEpoch(), 1700000000);
  EXPECT_EQ(list.activities[1]->lsId, QStringLiteral("2"));
  EXPECT_EQ(list.activities[1]->playStatus, 3);
  EXPECT_TRUE(list.activities[1]->publishUrl.isEmpty());
}

TEST(ReplyParser, AnActivityCanBePublishedWhereItsAddressHoldsRtmp) {
  ActivityInfo activity;
  for (const char* address : {"rtmp://127.0.0.1/live/key", "rtmps://a/b", "x rtmp", "RTMP rtmp"}) {
    activity.publishUrl = QLatin1String(address);
    EXPECT_TRUE(activity.CanBePublished()) << address;
  }
  for (const char* address : {"", "RTMP://127.0.0.1/live", "http://127.0.0.1/live.flv", "rtm p"}) {
    activity.publishUrl = QLatin1String(address);
    EXPECT_FALSE(activity.CanBePublished()) << address;
  }
}

TEST(ReplyParser, AStartTimeOfDigitsInAStringConverts) {
  OwnedList list;
  ASSERT_TRUE(ParseActivities(kList, &list));
  EXPECT_EQ(list.activities[1]->startTime.toSecsSinceEpoch(), 1700000001);
}

// Toolkits that count seconds in 32 bits without a sign reach 2106.
TEST(ReplyParser, AStartTimeBeyond2038Converts) {
  OwnedList list;
  ASSERT_TRUE(ParseActivities(
      R"({"code":0,"activities":[{"startTime":2147483648},{"startTime":"4294967295"}]})", &list));
  EXPECT_EQ(list.activities[0]->startTime.toSecsSinceEpoch(), 2147483648LL);
  EXPECT_EQ(list.activities[1]->startTime.toSecsSinceEpoch(), 4294967295LL);
}

TEST(ReplyParser, ARefusalsMessageIsReadByWhoeverAsksForIt) {
  int code = 0;
  QString message = QStringLiteral("none");
  ASSERT_TRUE(ParseCode(R"({"code":0,"message":"welcome"})", &code, &message));
  EXPECT_EQ(message, "none");
  ASSERT_TRUE(ParseCode(R"({"code":-1,"message":"no"})", &code, &message));
  EXPECT_EQ(message, "no");
  ASSERT_TRUE(ParseCode(R"({"code":-1,"message":"no"})", &code));
}

TEST(ReplyParser, ActivitiesMissingEmptyOrOfAnotherTypeGiveAnEmptyList) {
  for (const char* reply : {R"({"code":0})", R"({"code":0,"activities":[]})",
                            R"({"code":0,"activities":{"a":1}})", R"({"code":0,"activities":7})"}) {
    OwnedList list;
    ASSERT_TRUE(ParseActivities(reply, &list));
    EXPECT_EQ(list.code, 0);
    EXPECT_TRUE(list.activities.isEmpty()) << reply;
  }
}

TEST(ReplyParser, ARefusedListHoldsNothing) {
  OwnedList list;
  ASSERT_TRUE(ParseActivities(R"({"code":-1,"activities":[{"title":"x"}]})", &list));
  EXPECT_EQ(list.code, -1);
  EXPECT_TRUE(list.activities.isEmpty());
}

TEST(ReplyParser, AnAdKeepsLinkAndMessageOfASuccessOnly) {
  AdResult good;
  ASSERT_TRUE(ParseAd(R"({"code":1,"link":"http://l","message":"m"})", &good));
  EXPECT_EQ(good.link, QStringLiteral("http://l"));
  EXPECT_EQ(good.message, QStringLiteral("m"));
  AdResult refused;
  ASSERT_TRUE(ParseAd(R"({"code":-1,"link":"http://l","message":"m"})", &refused));
  EXPECT_TRUE(refused.link.isEmpty());
}

// A bounded, seeded run of damaged replies through every parser; the sanitizer builds watch it.
TEST(ReplyParser, DamagedRepliesEndWell) {
  std::mt19937 random(20240607);
  const QByteArray seeds[] = {kLogin, kList, R"({"code":0,"link":"x"})"};
  for (int round = 0; round < 20000; ++round) {
    QByteArray bytes = seeds[random() % 3];
    const unsigned edits = 1 + random() % 6;
    for (unsigned edit = 0; edit < edits && !bytes.isEmpty(); ++edit) {
      const int at = static_cast<int>(random() % static_cast<unsigned>(bytes.size()));
      switch (random() % 4) {
        case 0:
          bytes[at] = static_cast<char>(random());
          break;
        case 1:
          bytes.remove(at, static_cast<int>(random() % 9));
          break;
        case 2:
          bytes.insert(at, bytes.mid(at, static_cast<int>(random() % 40)));
          break;
        default:
          bytes.truncate(at);
      }
    }
    LoginResult login;
    AdResult ad;
    OwnedList list;
    int code = 0;
    const bool isObject = ParseCode(bytes, &code);
    EXPECT_EQ(ParseLogin(bytes, &login), isObject);
    EXPECT_EQ(ParseAd(bytes, &ad), isObject);
    EXPECT_EQ(ParseActivities(bytes, &list), isObject);
  }
}
