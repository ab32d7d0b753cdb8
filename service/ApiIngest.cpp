// What the RTMP ingest asks the service.
#include <QJsonObject>

#include "service/Api.h"
#include "service/Log.h"
#include "service/Replies.h"

namespace service {

// Called by the ingest before it lets a publisher in. A key is never shown to viewers: the redirect
// has the stream passed on to where they play it, under the activity's public id.
Response Api::IngestPublish(const Request& request) {
  Activity activity;
  const Outcome found = m_store->FindActivityByKey(Latin1(Field(request.form, "name")), &activity);
  if (found == Outcome::Failed) {
    return Unavailable();
  }
  if (found != Outcome::Done || !activity.open || !activity.publishUrl.isEmpty()) {
    LogWarning("publish-refused", {{"peer", Latin1(Field(request.form, "addr"))}});
    return Refuse(403, kNoActivity, QStringLiteral("没有这个活动"));
  }
  if (m_store->SetPublishing(activity.id, true, m_shared->clock.Seconds()) != Outcome::Done) {
    return Unavailable();
  }
  LogInfo("publish", {{"activity", activity.id}, {"peer", Latin1(Field(request.form, "addr"))}});
  Response response = Reply({{QStringLiteral("code"), 0}}, 302);
  response.location =
      OwnIngest(m_shared->settings, Reachable(m_shared->settings.ingestHost), "watch", activity.id);
  return response;
}

// Called before a stream may appear to viewers: only one that was let in with its key.
Response Api::IngestWatch(const Request& request) {
  std::int64_t heard = 0;
  switch (m_store->LastPublishUpdate(Latin1(Field(request.form, "name")), &heard)) {
    case Outcome::Done:
      return Success();
    case Outcome::NotFound:
      return Refuse(403, kNoActivity, QStringLiteral("没有这个活动"));
    default:
      return Unavailable();
  }
}

// Called every few seconds for each stream: what the service knows of it survives a restart on
// either side, and a stream whose activity was closed or removed ends.
Response Api::IngestUpdate(const Request& request) {
  if (Field(request.form, "call") != "update_publish") {
    return Success();  // nginx passes the stream on to itself: no publisher
  }
  Activity activity;
  const Outcome found = m_store->FindActivityByKey(Latin1(Field(request.form, "name")), &activity);
  if (found == Outcome::NotFound || (found == Outcome::Done && !activity.open)) {
    LogWarning("publish-ended", {{"activity", activity.id}});
    return Refuse(403, kNoActivity, QStringLiteral("没有这个活动"));
  }
  if (found == Outcome::Done) {
    m_store->SetPublishing(activity.id, true, m_shared->clock.Seconds());
  }
  return Success();  // a database in trouble is no reason to cut somebody off
}

Response Api::IngestDone(const Request& request) {
  Activity activity;
  const Outcome found = m_store->FindActivityByKey(Latin1(Field(request.form, "name")), &activity);
  if (found == Outcome::Failed ||
      (found == Outcome::Done &&
       m_store->SetPublishing(activity.id, false, m_shared->clock.Seconds()) != Outcome::Done)) {
    return Unavailable();
  }
  LogInfo("publish-done", {{"activity", activity.id}});
  return Success();
}

}  // namespace service
