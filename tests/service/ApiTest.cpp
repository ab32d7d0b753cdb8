#include "service/Api.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "service/Serve.h"
#include "service/ServiceRig.h"

namespace {

using service::Account;
using service::Activity;
using service::Api;
using service::Outcome;
using service::Request;
using service::Response;
using Form = std::map<std::string, std::string>;

QJsonObject Json(const Response& response) {
  return QJsonDocument::fromJson(response.body).object();
}

int Code(const Response& response) {
  return Json(response).value(QStringLiteral("code")).toInt(12345);
}

bool IsChinese(const QString& text) {
  return !text.isEmpty() && text.at(0).script() == QChar::Script_Han;
}

class ApiTest : public ::testing::Test {
 protected:
  void SetUp() override {
    settings = rig.DefaultSettings();
    Restart();
  }
  // As the service after a restart: nothing but the database is left.
  void Restart() {
    shared = std::make_unique<service::Shared>(settings, rig.clock);
    api = std::make_unique<Api>(rig.store.get(), shared.get());
  }
  Response Post(const std::string& path, const Form& form, const std::string& peer = "127.0.0.1") {
    Request request;
    request.method = "POST";
    request.path = path;
    request.form = form;
    request.host = "host:1";
    request.peer = request.network = peer;
    request.peerIsLoopback = peer == "127.0.0.1";
    return api->Handle(request);
  }
  Response Get(const std::string& path, const Form& query = {}) {
    Request request;
    request.method = "GET";
    request.path = path;
    request.query = query;
    request.host = "host:1";
    return api->Handle(request);
  }
  Response Login(const std::string& login, const std::string& password,
                 const std::string& peer = "127.0.0.1") {
    return Post("/assistant/user/login", {{"login", login}, {"password", password}}, peer);
  }
  std::string Token(const std::string& login) {
    return Json(Login(login, "secret")).value(QStringLiteral("token")).toString().toStdString();
  }
  int Start(const Activity& activity, const std::string& token) {
    return Code(Post("/assistant/livestream/host-start",
                     {{"id", activity.id.toStdString()}, {"token", token}}));
  }
  int End(const Activity& activity, const std::string& token) {
    return Code(Post("/assistant/livestream/host-end",
                     {{"id", activity.id.toStdString()}, {"token", token}}));
  }
  Response Ingest(const char* what, const QString& name, const Form& more = {}) {
    Form form = more;
    form["name"] = name.toStdString();
    return Post(std::string("/ingest/ingestsecret/") + what, form);
  }
  void Refused(const Response& response, int code) {
    EXPECT_EQ(response.status, 200);
    EXPECT_EQ(Code(response), code) << response.body.toStdString();
    EXPECT_TRUE(IsChinese(Json(response).value(QStringLiteral("message")).toString()));
  }

  support::ServiceRig rig;
  service::Settings settings;
  std::unique_ptr<service::Shared> shared;
  std::unique_ptr<Api> api;
};

}  // namespace

TEST_F(ApiTest, LoginGivesATokenAndTheUser) {
  Account account = rig.AddAccount("user");
  const QJsonObject reply = Json(Login("user", "secret"));
  EXPECT_EQ(reply.value(QStringLiteral("code")).toInt(), 0);
  EXPECT_EQ(reply.value(QStringLiteral("token")).toString().size(), 43);
  const QJsonObject user = reply.value(QStringLiteral("user")).toObject();
  EXPECT_EQ(user.value(QStringLiteral("id")).toString(), account.id);
  EXPECT_EQ(user.value(QStringLiteral("username")).toString(), QStringLiteral("user"));
  for (const char* key : {"authStatus", "email", "number", "qq"}) {
    EXPECT_TRUE(user.contains(QLatin1String(key))) << key;
  }
}

TEST_F(ApiTest, ValuesAreReadAsLatin1) {
  rig.AddAccount("us\xe9r", "p\xe4ss \xff'\"--");
  EXPECT_EQ(Code(Login("us\xe9r", "p\xe4ss \xff'\"--")), 0);
  Refused(Login("us\xc3\xa9r", "p\xe4ss \xff'\"--"), service::kWrongPassword);
}

TEST_F(ApiTest, AWrongPasswordAndAnUnknownAccountLookTheSame) {
  rig.AddAccount("user");
  const Response wrong = Login("user", "guess");
  Refused(wrong, service::kWrongPassword);
  EXPECT_EQ(wrong.body, Login("nobody", "guess").body);
  EXPECT_EQ(wrong.body, Post("/assistant/user/login", {}).body);
  EXPECT_EQ(wrong.body, Login("' OR 1=1 --", "guess").body);
  EXPECT_EQ(wrong.body, Login(std::string(4000, 'x'), std::string(4000, 'y')).body);
}

TEST_F(ApiTest, FiveFailuresLockTheAccountForThatCallerForFiveMinutes) {
  rig.AddAccount("user");
  for (int i = 0; i < 5; ++i) {
    Refused(Login("user", "guess"), service::kWrongPassword);
  }
  Refused(Login("user", "secret"), service::kTooManyFailures);
  EXPECT_EQ(Code(Login("user", "secret", "10.0.0.2")), 0);
  rig.clock.now += service::LoginLimit::kWindowMs;
  EXPECT_EQ(Code(Login("user", "secret")), 0);
}

TEST_F(ApiTest, FiftyFailuresLockANetworkWhateverAccountsItTries) {
  rig.AddAccount("user");
  for (int i = 0; i < service::LoginLimit::kMaxFailuresOfNetwork; ++i) {
    // Four for each account: none of them is locked for itself.
    Refused(Login("guess" + std::to_string(i / 4), "guess"), service::kWrongPassword);
  }
  Refused(Login("user", "secret"), service::kTooManyFailures);
  EXPECT_EQ(Code(Login("user", "secret", "10.0.0.2")), 0);
  rig.clock.now += service::LoginLimit::kWindowMs;
  EXPECT_EQ(Code(Login("user", "secret")), 0);
}

TEST_F(ApiTest, AnAccountOfThisMachineIsRefusedFromElsewhere) {
  Account account = rig.AddAccount("other");
  account.login = QStringLiteral("local");
  account.id = QStringLiteral("local");
  account.loopbackOnly = true;
  ASSERT_EQ(rig.store->AddAccount(account), Outcome::Done);
  EXPECT_EQ(Code(Login("local", "secret")), 0);
  Refused(Login("local", "secret", "10.0.0.2"), service::kLoopbackOnly);
}

TEST_F(ApiTest, LogoutEndsTheSessionAndNoOther) {
  rig.AddAccount("user");
  const std::string first = Token("user");
  const std::string second = Token("user");
  EXPECT_EQ(Code(Post("/assistant/user/logout", {{"token", first}})), 0);
  Refused(Post("/assistant/user/logout", {{"token", first}}), service::kNoSession);
  Refused(Get("/assistant/activity/host-list", {{"page", "1"}, {"token", first}}),
          service::kNoSession);
  EXPECT_EQ(Code(Get("/assistant/activity/host-list", {{"page", "1"}, {"token", second}})), 0);
}

TEST_F(ApiTest, ForgedAndExpiredTokensAreRefusedEverywhere) {
  const Activity activity = rig.AddActivity(rig.AddAccount("user"), "t");
  const std::string token = Token("user");
  const std::string hash = service::HashToken(token);  // what a thief of the database has
  for (const std::string& forged : {std::string(), std::string("x"), hash, token + "A",
                                    std::string(300, 'a'), std::string("' OR '1'='1")}) {
    Refused(Get("/assistant/activity/host-list", {{"page", "1"}, {"token", forged}}),
            service::kNoSession);
    Refused(Post("/assistant/user/logout", {{"token", forged}}), service::kNoSession);
    EXPECT_EQ(Start(activity, forged), service::kNoSession);
    EXPECT_EQ(End(activity, forged), service::kNoSession);
  }
  rig.clock.now += (settings.sessionSeconds - 1) * 1000;
  EXPECT_EQ(Code(Get("/assistant/activity/host-list", {{"page", "1"}, {"token", token}})), 0);
  rig.clock.now += 1000;
  Refused(Get("/assistant/activity/host-list", {{"page", "1"}, {"token", token}}),
          service::kNoSession);
}

TEST_F(ApiTest, AClockSetBackRevivesNoSession) {
  rig.AddAccount("user");
  const std::string token = Token("user");
  rig.clock.now -= 1000;  // a little: the network's time
  EXPECT_EQ(Code(Get("/assistant/activity/host-list", {{"page", "1"}, {"token", token}})), 0);
  rig.clock.now -= 86400000;
  Refused(Get("/assistant/activity/host-list", {{"page", "1"}, {"token", token}}),
          service::kNoSession);
}

TEST_F(ApiTest, HostListHasEveryFieldOfAnActivity) {
  const Account account = rig.AddAccount("user");
  const service::Picture cover{QStringLiteral("cover"), QStringLiteral("image/png"), "bytes"};
  Activity activity;
  activity.id = QStringLiteral("act");
  activity.accountId = account.id;
  activity.title = QStringLiteral("直播 \"1\"");
  activity.startTime = 1700000123;
  activity.streamKey = QStringLiteral("key");
  ASSERT_EQ(rig.store->AddActivity(activity, &cover), Outcome::Done);
  const QJsonObject reply =
      Json(Get("/assistant/activity/host-list", {{"page", "1"}, {"token", Token("user")}}));
  ASSERT_EQ(reply.value(QStringLiteral("activities")).toArray().size(), 1);
  const QJsonObject expected{
      {QStringLiteral("coverUrl"), QStringLiteral("http://host:1/pictures/cover")},
      {QStringLiteral("lsId"), QStringLiteral("act")},
      {QStringLiteral("playStatus"), 1},
      {QStringLiteral("publishUrl"), QStringLiteral("rtmp://127.0.0.1:1935/live/key")},
      {QStringLiteral("rtmpLiveUrl"), QStringLiteral("rtmp://127.0.0.1:1935/watch/act")},
      {QStringLiteral("startTime"), 1700000123},
      {QStringLiteral("title"), activity.title}};
  EXPECT_EQ(reply.value(QStringLiteral("activities")).toArray()[0].toObject(), expected);
  const Response picture = Get("/pictures/cover");
  EXPECT_EQ(picture.type, "image/png");
  EXPECT_EQ(picture.body, "bytes");
}

TEST_F(ApiTest, PagesHoldTwelveAndAreEmptyBeyondTheEnd) {
  const Account account = rig.AddAccount("user");
  for (int i = 0; i < 13; ++i) {
    rig.AddActivity(account, "t");
  }
  rig.AddActivity(rig.AddAccount("other"), "not mine");
  const std::string token = Token("user");
  const struct {
    const char* page;
    int size;
  } pages[] = {{"1", 12}, {"2", 1}, {"3", 0}, {"1000000", 0}};
  for (const auto& page : pages) {
    const QJsonObject reply =
        Json(Get("/assistant/activity/host-list", {{"page", page.page}, {"token", token}}));
    EXPECT_EQ(reply.value(QStringLiteral("activities")).toArray().size(), page.size) << page.page;
  }
  for (const char* page : {"0", "-1", "x", "", "1e3", "99999999999999999999"}) {
    Refused(Get("/assistant/activity/host-list", {{"page", page}, {"token", token}}),
            service::kBadRequest);
  }
}

TEST_F(ApiTest, ADistantPlatformsAddressesAreGivenOutAsTheyAre) {
  Activity activity = rig.AddActivity(rig.AddAccount("user"), "t");
  activity.publishUrl = QStringLiteral("rtmp://platform.example/app/key?a=b&c");
  ASSERT_EQ(rig.store->ChangeActivity(activity), Outcome::Done);
  EXPECT_EQ(service::PublishUrl(activity, settings, "h"), activity.publishUrl.toStdString());
  EXPECT_EQ(service::ViewUrl(activity, settings, "h"), "");
  activity.viewUrl = QStringLiteral("https://platform.example/room");
  EXPECT_EQ(service::ViewUrl(activity, settings, "h"), "https://platform.example/room");
  // Its key opens nothing here.
  EXPECT_EQ(Ingest("publish", activity.streamKey).status, 403);
}

TEST_F(ApiTest, AnIngestOnAllAddressesIsNamedAsTheCallerNamesTheService) {
  settings.ingestHost = "0.0.0.0";
  Restart();
  rig.AddActivity(rig.AddAccount("user"), "t");
  const std::string token = Token("user");
  const struct {
    const char* host;
    const char* expected;
  } cases[] = {{"live.example:18080", "rtmp://live.example:1935/live/"},
               {"live.example", "rtmp://live.example:1935/live/"},
               {"[::1]:18080", "rtmp://[::1]:1935/live/"},
               {"[::1]", "rtmp://[::1]:1935/live/"},
               {"bad host\"", "rtmp://127.0.0.1:1935/live/"},
               {"", "rtmp://127.0.0.1:1935/live/"}};
  for (const auto& c : cases) {
    Request request;
    request.method = "GET";
    request.path = "/assistant/activity/host-list";
    request.query = {{"page", "1"}, {"token", token}};
    request.host = c.host;
    const QString url = Json(api->Handle(request))
                            .value(QStringLiteral("activities"))
                            .toArray()[0]
                            .toObject()
                            .value(QStringLiteral("publishUrl"))
                            .toString();
    EXPECT_TRUE(url.startsWith(QLatin1String(c.expected))) << c.host << " " << url.toStdString();
  }
}

TEST_F(ApiTest, ABroadcastStartsAndEndsOnce) {
  const Activity activity = rig.AddActivity(rig.AddAccount("user"), "t");
  const std::string token = Token("user");
  EXPECT_EQ(End(activity, token), service::kNotLive);
  EXPECT_EQ(Start(activity, token), 0);
  EXPECT_EQ(Start(activity, token), 0) << "asked again after a lost reply";
  EXPECT_EQ(End(activity, token), 0);
  EXPECT_EQ(End(activity, token), service::kNotLive);
  QList<service::Broadcast> all;
  ASSERT_EQ(rig.store->ListBroadcasts(activity.id, &all), Outcome::Done);
  ASSERT_EQ(all.size(), 1);
  EXPECT_EQ(all[0].accountId, activity.accountId);
}

TEST_F(ApiTest, ClosedForeignAndUnknownActivitiesAreRefused) {
  const Account user = rig.AddAccount("user");
  Activity closed = rig.AddActivity(user, "t");
  closed.open = false;
  ASSERT_EQ(rig.store->ChangeActivity(closed), Outcome::Done);
  const Activity foreign = rig.AddActivity(rig.AddAccount("other"), "t");
  const std::string token = Token("user");
  EXPECT_EQ(Start(closed, token), service::kActivityClosed);
  EXPECT_EQ(Start(foreign, token), service::kNoActivity);
  EXPECT_EQ(End(foreign, token), service::kNoActivity);
  Activity unknown;
  unknown.id = QStringLiteral("' OR 1=1");
  EXPECT_EQ(Start(unknown, token), service::kNoActivity);
}

TEST_F(ApiTest, ASecondBroadcastOfTheActivityIsRefusedAndCantEndTheFirst) {
  const Activity activity = rig.AddActivity(rig.AddAccount("user"), "t");
  const std::string first = Token("user");
  const std::string second = Token("user");
  ASSERT_EQ(Start(activity, first), 0);
  EXPECT_EQ(Start(activity, second), service::kAlreadyLive);
  EXPECT_EQ(End(activity, second), service::kAlreadyLive);
  EXPECT_EQ(End(activity, first), 0);
  EXPECT_EQ(Start(activity, second), 0);
}

TEST_F(ApiTest, ABroadcastThatNobodySendsAnyMoreGivesWay) {
  const Activity activity = rig.AddActivity(rig.AddAccount("user"), "t");
  const std::string first = Token("user");
  const std::string second = Token("user");
  ASSERT_EQ(Start(activity, first), 0);
  ASSERT_EQ(Ingest("publish", activity.streamKey).status, 302);
  for (int i = 0; i < 10; ++i) {
    rig.clock.now += 10000;
    Ingest("update", activity.streamKey, {{"call", "update_publish"}});
  }
  EXPECT_EQ(Start(activity, second), service::kAlreadyLive) << "it is still sent";
  rig.clock.now += 29000;
  EXPECT_EQ(Start(activity, second), service::kAlreadyLive);
  rig.clock.now += 1000;
  EXPECT_EQ(Start(activity, second), 0) << "the ingest has been silent about it";
  QList<service::Broadcast> all;
  ASSERT_EQ(rig.store->ListBroadcasts(activity.id, &all), Outcome::Done);
  EXPECT_EQ(all.size(), 2);
}

TEST_F(ApiTest, ABroadcastOfASessionThatEndedGivesWayAtOnce) {
  Activity activity = rig.AddActivity(rig.AddAccount("user"), "t");
  activity.publishUrl = QStringLiteral("rtmp://elsewhere/x");
  ASSERT_EQ(rig.store->ChangeActivity(activity), Outcome::Done);
  const std::string first = Token("user");
  const std::string second = Token("user");
  ASSERT_EQ(Start(activity, first), 0);
  rig.clock.now += 3600000;
  EXPECT_EQ(Start(activity, second), service::kAlreadyLive) << "nobody knows what goes elsewhere";
  Post("/assistant/user/logout", {{"token", first}});
  EXPECT_EQ(Start(activity, second), 0);
}

TEST_F(ApiTest, ABroadcastThatOutlivesItsLoginIsEndedByTheTokenThatBeganIt) {
  const Activity activity = rig.AddActivity(rig.AddAccount("user"), "t");
  const std::string loggedOut = Token("user");
  ASSERT_EQ(Start(activity, loggedOut), 0);
  Post("/assistant/user/logout", {{"token", loggedOut}});
  EXPECT_EQ(End(activity, ""), service::kNoSession);
  EXPECT_EQ(End(activity, service::HashToken(loggedOut)), service::kNoSession);
  EXPECT_EQ(End(activity, loggedOut), 0);
  EXPECT_EQ(End(activity, loggedOut), service::kNoSession) << "it is good for nothing else";
  EXPECT_EQ(Start(activity, loggedOut), service::kNoSession);

  const std::string expired = Token("user");
  ASSERT_EQ(Start(activity, expired), 0);
  rig.clock.now += (settings.sessionSeconds + 1) * 1000;
  rig.store->RemoveExpiredSessions(rig.clock.Seconds());
  EXPECT_EQ(End(activity, expired), 0) << "a broadcast may last longer than a login";
}

TEST_F(ApiTest, TheIngestLetsInAKeyAndPassesItOnUnderThePublicName) {
  const Activity activity = rig.AddActivity(rig.AddAccount("user"), "t");
  EXPECT_EQ(Ingest("watch", activity.id).status, 403);
  const Response let = Ingest("publish", activity.streamKey);
  EXPECT_EQ(let.status, 302);
  EXPECT_EQ(let.location, "rtmp://127.0.0.1:1935/watch/" + activity.id.toStdString());
  EXPECT_EQ(Ingest("watch", activity.id).status, 200);
  EXPECT_EQ(Ingest("done", activity.streamKey).status, 200);
  EXPECT_EQ(Ingest("watch", activity.id).status, 403);
  EXPECT_EQ(Ingest("publish", activity.id).status, 403) << "the public name is no key";
  EXPECT_EQ(Ingest("publish", QString()).status, 403);
  EXPECT_EQ(Ingest("done", QStringLiteral("unknown")).status, 200);
}

TEST_F(ApiTest, AStreamWhoseActivityWasClosedIsEnded) {
  Activity activity = rig.AddActivity(rig.AddAccount("user"), "t");
  ASSERT_EQ(Ingest("publish", activity.streamKey).status, 302);
  EXPECT_EQ(Ingest("update", activity.streamKey, {{"call", "update_publish"}}).status, 200);
  activity.open = false;
  ASSERT_EQ(rig.store->ChangeActivity(activity), Outcome::Done);
  EXPECT_EQ(Ingest("update", activity.streamKey, {{"call", "update_publish"}}).status, 403);
  EXPECT_EQ(Ingest("update", activity.id, {{"call", "update_play"}}).status, 200);
}

TEST_F(ApiTest, TheIngestsCallsNeedItsSecret) {
  const Activity activity = rig.AddActivity(rig.AddAccount("user"), "t");
  for (const char* path : {"/ingest/publish", "/ingest//publish", "/ingest/wrong/publish",
                           "/ingest/ingestsecret", "/ingest/ingestsecret/other"}) {
    EXPECT_EQ(Post(path, {{"name", activity.streamKey.toStdString()}}).status, 404) << path;
  }
}

TEST_F(ApiTest, TheAdvertisementIsEmptyUntilAPictureIsSet) {
  const QJsonObject none = Json(Post("/assistant/user/homepage-ads", {}));
  EXPECT_EQ(none.value(QStringLiteral("code")).toInt(1), 0);
  EXPECT_EQ(none.value(QStringLiteral("link")).toString(QStringLiteral("x")), QString());
  const service::Picture picture{QStringLiteral("ad"), QStringLiteral("image/png"), "b"};
  ASSERT_EQ(rig.store->SetAdPicture(&picture), Outcome::Done);
  EXPECT_EQ(Json(Post("/assistant/user/homepage-ads", {})).value(QStringLiteral("link")).toString(),
            QStringLiteral("http://host:1/pictures/ad"));
}

TEST_F(ApiTest, OtherPathsAndMethodsHaveAnErrorStatus) {
  EXPECT_EQ(Get("/").status, 404);
  EXPECT_EQ(Get("/assistant/user/login").status, 405);
  EXPECT_EQ(Post("/assistant/activity/host-list", {}).status, 405);
  EXPECT_EQ(Get("/pictures/").status, 404);
  EXPECT_EQ(Get("/pictures/../service.sqlite").status, 404);
  EXPECT_EQ(Get("/health").status, 200);
}

TEST_F(ApiTest, ADatabaseThatFailsIsUnavailableAndNotARefusal) {
  rig.AddAccount("user");
  const std::string token = Token("user");
  rig.store->Transaction([&] {
    QString error;
    const auto other = service::Store::Open(rig.Database(), &error);
    Api busy(other.get(), shared.get());
    Request request;
    request.method = "POST";
    request.path = "/assistant/user/logout";
    request.form = {{"token", token}};
    const Response response = busy.Handle(request);
    EXPECT_EQ(response.status, 503);
    EXPECT_EQ(Code(response), service::kUnavailable);
    return Outcome::Done;
  });
  EXPECT_EQ(Code(Post("/assistant/user/logout", {{"token", token}})), 0);
}

TEST_F(ApiTest, TheNewcomersAccountIsMadeOnce) {
  QString password;
  ASSERT_EQ(service::CreateDemoAccount(rig.store.get(), 1, &password), Outcome::Done);
  EXPECT_FALSE(password.isEmpty());
  QList<Activity> list;
  ASSERT_EQ(rig.store->ListActivities(&list), Outcome::Done);
  EXPECT_EQ(list.size(), 3);
  EXPECT_EQ(Code(Login("demo", password.toStdString())), 0);
  Refused(Login("demo", password.toStdString(), "10.0.0.1"), service::kLoopbackOnly);
  QString again;
  EXPECT_EQ(service::CreateDemoAccount(rig.store.get(), 2, &again), Outcome::Done);
  EXPECT_TRUE(again.isEmpty());
  ASSERT_EQ(rig.store->RemoveAccount(QStringLiteral("demo")), Outcome::Done);
  EXPECT_EQ(service::CreateDemoAccount(rig.store.get(), 3, &again), Outcome::Done);
  EXPECT_TRUE(again.isEmpty()) << "an account that was removed does not come back";
}
