#include "service/Api.h"

#include <QJsonArray>
#include <QJsonObject>
#include <algorithm>
#include <cctype>

#include "service/Log.h"
#include "service/Replies.h"
#include "service/Secrets.h"

namespace service {

namespace {

// Longer than any that was ever given out: nothing to look up.
constexpr std::size_t kMaxToken = 256;
// A broadcast to the own ingest that sends nothing for so long is one whose program died. The
// ingest tells of each publisher every ten seconds.
constexpr std::int64_t kStaleSeconds = 30;
// No session of ours ends later than it may last, but for a clock that was set back a little.
constexpr std::int64_t kClockSlackSeconds = 3600;
constexpr int kLastPage = 1000000;
const QString kNotLiveWords = QStringLiteral("该活动没有正在进行的直播");

bool StartsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

// The name under which the client reached the service, for addresses in replies. What no host name
// can hold is not repeated.
std::string HostOf(const Request& request, const Settings& settings) {
  const bool plain =
      !request.host.empty() && request.host.size() < 256 &&
      std::all_of(request.host.begin(), request.host.end(), [](unsigned char c) {
        return std::isalnum(c) != 0 || c == '.' || c == '-' || c == ':' || c == '[' || c == ']';
      });
  return plain ? request.host
               : Reachable(settings.listenAddress) + ":" + std::to_string(settings.port);
}

QString PictureUrl(const Request& request, const Settings& settings, const QString& id) {
  return QStringLiteral("http://%1/pictures/%2")
      .arg(QString::fromStdString(HostOf(request, settings)), id);
}

bool IsEveryAddress(const std::string& address) {
  return address == "0.0.0.0" || address == "::";
}

// Under which the caller reaches the own ingest: where it listens on all addresses, the one that
// the caller used for the service.
std::string IngestHost(const Request& request, const Settings& settings) {
  if (!IsEveryAddress(settings.ingestHost)) {
    return Bracketed(settings.ingestHost);
  }
  const std::string host = HostOf(request, settings);
  const std::size_t colon = host.rfind(':');
  const bool hasPort = colon != std::string::npos && host.find(']', colon) == std::string::npos;
  return hasPort ? host.substr(0, colon) : host;
}

}  // namespace

std::string Bracketed(const std::string& address) {
  return address.find(':') == std::string::npos ? address : "[" + address + "]";
}

std::string Reachable(const std::string& address) {
  if (address == "0.0.0.0") {
    return "127.0.0.1";
  }
  return address == "::" ? "[::1]" : Bracketed(address);
}

std::string PublishUrl(const Activity& activity, const Settings& settings,
                       const std::string& host) {
  return activity.publishUrl.isEmpty() ? OwnIngest(settings, host, "live", activity.streamKey)
                                       : activity.publishUrl.toStdString();
}

std::string ViewUrl(const Activity& activity, const Settings& settings, const std::string& host) {
  if (!activity.viewUrl.isEmpty()) {
    return activity.viewUrl.toStdString();
  }
  // Somebody else's platform has viewers' addresses of its own; without one there is none to show.
  return activity.publishUrl.isEmpty() ? OwnIngest(settings, host, "watch", activity.id)
                                       : std::string();
}

Response Api::Refuse(int status, int code, const QString& message) {
  return Reply({{QStringLiteral("code"), code}, {QStringLiteral("message"), message}}, status);
}

bool Api::IsSlow(const Request& request) {
  return request.method == "POST" && request.path == "/assistant/user/login";
}

bool Api::IsOfIngest(const Request& request) const {
  return StartsWith(request.path, "/ingest/" + m_shared->settings.ingestSecret + "/");
}

bool Api::TakesForm(const std::string& path) {
  return path != "/assistant/user/homepage-ads";
}

Response Api::Handle(const Request& request) {
  struct Route {
    const char* method;
    const char* path;
    Response (Api::*handle)(const Request&);
  };
  static constexpr Route kRoutes[] = {
      {"POST", "/assistant/user/login", &Api::Login},
      {"POST", "/assistant/user/logout", &Api::Logout},
      {"POST", "/assistant/user/homepage-ads", &Api::HomepageAds},
      {"GET", "/assistant/activity/host-list", &Api::HostList},
      {"POST", "/assistant/livestream/host-start", &Api::HostStart},
      {"POST", "/assistant/livestream/host-end", &Api::HostEnd},
  };
  for (const Route& route : kRoutes) {
    if (request.path == route.path) {
      if (request.method != route.method) {
        return Refuse(405, kBadRequest, QStringLiteral("请求方式不正确"));
      }
      return (this->*route.handle)(request);
    }
  }
  const std::string ingest = "/ingest/" + m_shared->settings.ingestSecret;
  const Route ingestRoutes[] = {
      {"POST", "/publish", &Api::IngestPublish},
      {"POST", "/watch", &Api::IngestWatch},
      {"POST", "/done", &Api::IngestDone},
      {"POST", "/update", &Api::IngestUpdate},
  };
  for (const Route& route : ingestRoutes) {
    if (request.method == route.method && request.path == ingest + route.path) {
      return (this->*route.handle)(request);
    }
  }
  if (request.method == "GET" && request.path == "/health") {
    return Health();
  }
  const std::string pictures = "/pictures/";
  if (request.method == "GET" && StartsWith(request.path, pictures)) {
    return FetchPicture(request.path.substr(pictures.size()));
  }
  return Refuse(404, kBadRequest, QStringLiteral("没有这个地址"));
}

Response Api::Login(const Request& request) {
  const QString login = Latin1(Field(request.form, "login"));
  // Hashed, so that nobody fills the memory with long names.
  const std::string caller = HashToken(request.network + " " + login.toStdString());
  const std::int64_t now = m_shared->clock.Milliseconds();
  if (!m_shared->logins.Allow(caller, now) || !m_shared->networks.Allow(request.network, now)) {
    LogWarning("login-locked", {{"login", login}, {"peer", QString::fromStdString(request.peer)}});
    return Refuse(200, kTooManyFailures, QStringLiteral("登录失败次数过多，请五分钟后再试"));
  }
  Account account;
  if (m_store->FindAccount(login, &account) == Outcome::Failed) {
    return Unavailable();
  }
  if (!PasswordMatches(account.passwordHash.toStdString(), Field(request.form, "password"))) {
    m_shared->logins.Failed(caller, now);
    m_shared->networks.Failed(request.network, now);
    LogWarning("login-failed", {{"login", login}, {"peer", QString::fromStdString(request.peer)}});
    return Refuse(200, kWrongPassword, QStringLiteral("账号或密码错误"));
  }
  if (account.loopbackOnly && !request.peerIsLoopback) {
    return Refuse(200, kLoopbackOnly, QStringLiteral("该账号只能在本机登录"));
  }
  const std::string token = NewToken();
  switch (m_store->AddSession(QString::fromStdString(HashToken(token)), account,
                              now / 1000 + m_shared->settings.sessionSeconds)) {
    case Outcome::Done:
      break;
    case Outcome::NotFound:  // changed while the password was looked at
      return Refuse(200, kWrongPassword, QStringLiteral("账号或密码错误"));
    default:
      return Unavailable();
  }
  m_shared->logins.Succeeded(caller);
  LogInfo("login", {{"login", login}, {"peer", QString::fromStdString(request.peer)}});
  return Reply({
      {QStringLiteral("code"), 0},
      {QStringLiteral("token"), QString::fromStdString(token)},
      {QStringLiteral("user"),
       QJsonObject{
           {QStringLiteral("authStatus"), QStringLiteral("1")},
           {QStringLiteral("email"), account.email},
           {QStringLiteral("id"), account.id},
           {QStringLiteral("number"), QString()},
           {QStringLiteral("qq"), QString()},
           {QStringLiteral("username"), account.name.isEmpty() ? account.login : account.name},
       }},
  });
}

bool Api::FindCaller(const std::string& token, QString* accountId, Response* response) {
  Outcome found = Outcome::NotFound;
  if (!token.empty() && token.size() <= kMaxToken) {
    const std::int64_t now = m_shared->clock.Seconds();
    const std::int64_t latest = now + m_shared->settings.sessionSeconds + kClockSlackSeconds;
    found = m_store->FindSession(QString::fromStdString(HashToken(token)), now, latest, accountId);
  }
  if (found == Outcome::Done) {
    return true;
  }
  *response = found == Outcome::Failed
                  ? Unavailable()
                  : Refuse(200, kNoSession, QStringLiteral("登录已失效，请重新登录"));
  return false;
}

Response Api::Logout(const Request& request) {
  const std::string token = Field(request.form, "token");
  QString accountId;
  Response refusal;
  if (!FindCaller(token, &accountId, &refusal)) {
    return refusal;
  }
  if (m_store->RemoveSession(QString::fromStdString(HashToken(token))) == Outcome::Failed) {
    return Unavailable();
  }
  LogInfo("logout", {{"account", accountId}});
  return Success();
}

Response Api::HomepageAds(const Request& request) {
  QString picture;
  if (m_store->Setting(QStringLiteral("ad_picture"), &picture) == Outcome::Failed) {
    return Unavailable();
  }
  const QString link =
      picture.isEmpty() ? QString() : PictureUrl(request, m_shared->settings, picture);
  return Reply({{QStringLiteral("code"), 0},
                {QStringLiteral("link"), link},
                {QStringLiteral("message"), QString()}});
}

QJsonObject Api::Describe(const Activity& activity, const Request& request) {
  const Settings& settings = m_shared->settings;
  const std::string host = IngestHost(request, settings);
  return {
      {QStringLiteral("coverUrl"),
       activity.coverId.isEmpty() ? QString() : PictureUrl(request, settings, activity.coverId)},
      {QStringLiteral("lsId"), activity.id},
      {QStringLiteral("playStatus"), activity.open ? 1 : 0},
      {QStringLiteral("publishUrl"), QString::fromStdString(PublishUrl(activity, settings, host))},
      {QStringLiteral("rtmpLiveUrl"), QString::fromStdString(ViewUrl(activity, settings, host))},
      {QStringLiteral("startTime"), qint64{activity.startTime}},
      {QStringLiteral("title"), activity.title},
  };
}

Response Api::HostList(const Request& request) {
  QString accountId;
  Response refusal;
  if (!FindCaller(Field(request.query, "token"), &accountId, &refusal)) {
    return refusal;
  }
  bool isNumber = false;
  const int page = QString::fromStdString(Field(request.query, "page")).toInt(&isNumber);
  if (!isNumber || page < 1 || page > kLastPage) {
    return Refuse(200, kBadRequest, QStringLiteral("页码不正确"));
  }
  QList<Activity> activities;
  if (m_store->PageOfActivities(accountId, page, &activities) != Outcome::Done) {
    return Unavailable();
  }
  QJsonArray list;
  for (const Activity& activity : activities) {
    list.append(Describe(activity, request));
  }
  return Reply({{QStringLiteral("code"), 0}, {QStringLiteral("activities"), list}});
}

bool Api::FindOwnActivity(const Request& request, Activity* activity, Response* response) {
  QString accountId;
  if (!FindCaller(Field(request.form, "token"), &accountId, response)) {
    return false;
  }
  const Outcome found = m_store->FindActivity(Latin1(Field(request.form, "id")), activity);
  if (found == Outcome::Failed) {
    *response = Unavailable();
    return false;
  }
  // Another account's activity is as good as none: nobody learns that it exists.
  if (found != Outcome::Done || activity->accountId != accountId) {
    *response = Refuse(200, kNoActivity, QStringLiteral("没有这个活动，它可能已被删除"));
    return false;
  }
  return true;
}

bool Api::IsStale(const Broadcast& running, const Activity& activity) {
  QString accountId;
  const std::int64_t now = m_shared->clock.Seconds();
  const std::int64_t latest = now + m_shared->settings.sessionSeconds + kClockSlackSeconds;
  if (m_store->FindSession(running.tokenHash, now, latest, &accountId) == Outcome::NotFound) {
    return true;
  }
  // Times in the future are from before the machine's clock was set back.
  const auto recent = [now](std::int64_t time) {
    return time <= now && now - time < kStaleSeconds;
  };
  if (!activity.publishUrl.isEmpty() || recent(running.started)) {
    return false;
  }
  std::int64_t heard = 0;
  const Outcome found = m_store->LastPublishUpdate(activity.id, &heard);
  return found == Outcome::NotFound || (found == Outcome::Done && !recent(heard));
}

bool Api::IsTaken(const Activity& activity, const QString& tokenHash, bool* own,
                  Response* response) {
  Broadcast running;
  const Outcome found = m_store->FindRunningBroadcast(activity.id, &running);
  *own = found == Outcome::Done && running.tokenHash == tokenHash;
  if (found == Outcome::NotFound || *own) {
    return false;
  }
  if (found == Outcome::Failed) {
    *response = Unavailable();
    return true;
  }
  if (!IsStale(running, activity)) {
    *response = Refuse(200, kAlreadyLive, QStringLiteral("该活动正在另一处直播，请先结束那一场"));
    return true;
  }
  // By the broadcast's id, not by the activity: another session may have started one by now.
  if (m_store->EndBroadcast(running.id, m_shared->clock.Seconds()) == Outcome::Failed) {
    *response = Unavailable();
    return true;
  }
  LogInfo("broadcast-stale", {{"activity", activity.id}, {"account", running.accountId}});
  return false;
}

Response Api::HostStart(const Request& request) {
  Activity activity;
  Response refusal;
  if (!FindOwnActivity(request, &activity, &refusal)) {
    return refusal;
  }
  if (!activity.open) {
    return Refuse(200, kActivityClosed, QStringLiteral("该活动尚未开放直播"));
  }
  Broadcast broadcast;
  broadcast.id = QString::fromStdString(NewId());
  broadcast.activityId = activity.id;
  broadcast.accountId = activity.accountId;
  broadcast.tokenHash = QString::fromStdString(HashToken(Field(request.form, "token")));
  broadcast.started = m_shared->clock.Seconds();
  bool own = false;
  if (IsTaken(activity, broadcast.tokenHash, &own, &refusal)) {
    return refusal;
  }
  if (own) {
    return Success();  // the same program asks again, after a reply that it did not get
  }
  switch (m_store->StartBroadcast(broadcast)) {
    case Outcome::Done:
      LogInfo("broadcast-started", {{"activity", activity.id}, {"account", activity.accountId}});
      return Success();
    case Outcome::Busy:
      return Refuse(200, kAlreadyLive, QStringLiteral("该活动正在另一处直播，请先结束那一场"));
    default:
      return Unavailable();
  }
}

Response Api::EndBroadcast(const Broadcast& running) {
  switch (m_store->EndBroadcast(running.id, m_shared->clock.Seconds())) {
    case Outcome::Done:
      LogInfo("broadcast-ended",
              {{"activity", running.activityId}, {"account", running.accountId}});
      return Success();
    case Outcome::NotFound:
      return Refuse(200, kNotLive, kNotLiveWords);
    default:
      return Unavailable();
  }
}

// The token that began a broadcast ends it, also after its session has: a broadcast may last longer
// than a login, and go on through a change of account.
Response Api::HostEnd(const Request& request) {
  const QString tokenHash = QString::fromStdString(HashToken(Field(request.form, "token")));
  Broadcast running;
  const Outcome found = m_store->FindRunningBroadcast(Latin1(Field(request.form, "id")), &running);
  if (found == Outcome::Failed) {
    return Unavailable();
  }
  if (found == Outcome::Done && running.tokenHash == tokenHash) {
    return EndBroadcast(running);
  }
  Activity activity;
  Response refusal;
  bool own = false;
  if (!FindOwnActivity(request, &activity, &refusal) ||
      IsTaken(activity, tokenHash, &own, &refusal)) {
    return refusal;  // nobody ends what another session sends
  }
  return Refuse(200, kNotLive, kNotLiveWords);
}

Response Api::FetchPicture(const std::string& id) {
  Picture picture;
  switch (m_store->FindPicture(Latin1(id), &picture)) {
    case Outcome::Done: {
      Response response;
      response.type = picture.type.toStdString();
      response.body = picture.bytes;
      return response;
    }
    case Outcome::NotFound:
      return Refuse(404, kBadRequest, QStringLiteral("没有这张图片"));
    default:
      return Unavailable();
  }
}

Response Api::Health() {
  if (!m_store->Healthy()) {
    return Unavailable();
  }
  return Reply({{QStringLiteral("code"), 0},
                {QStringLiteral("status"), QStringLiteral("ok")},
                {QStringLiteral("schema"), Store::SchemaVersion()}});
}

}  // namespace service
