// Activities with their pictures, broadcasts and streams.
#include <QVariant>

#include "service/Rows.h"
#include "service/Store.h"

namespace service {

namespace {

Activity ReadActivity(const QSqlQuery& row) {
  Activity activity;
  activity.id = row.value(0).toString();
  activity.accountId = row.value(1).toString();
  activity.title = row.value(2).toString();
  activity.coverId = row.value(3).toString();
  activity.startTime = row.value(4).toLongLong();
  activity.publishUrl = row.value(5).toString();
  activity.viewUrl = row.value(6).toString();
  activity.streamKey = row.value(7).toString();
  activity.open = row.value(8).toInt() != 0;
  return activity;
}

Broadcast ReadBroadcast(const QSqlQuery& row) {
  Broadcast broadcast;
  broadcast.id = row.value(0).toString();
  broadcast.activityId = row.value(1).toString();
  broadcast.accountId = row.value(2).toString();
  broadcast.tokenHash = row.value(3).toString();
  broadcast.started = row.value(4).toLongLong();
  broadcast.ended = row.value(5).toLongLong();
  return broadcast;
}

}  // namespace

Outcome Store::AddActivity(const Activity& activity, const Picture* cover) {
  return Transaction([&] {
    if (cover != nullptr && AddPicture(*cover) != Outcome::Done) {
      return Outcome::Failed;
    }
    // Selected, so that an account removed in the meantime leaves no activity of nobody.
    return Change(
        "INSERT INTO activities (id, account_id, title, cover_id, start_time, publish_url, "
        "view_url, stream_key, is_open) SELECT ?, id, ?, ?, ?, ?, ?, ?, ? FROM accounts "
        "WHERE id = ?",
        {activity.id, activity.title, cover != nullptr ? cover->id : QStringLiteral(""),
         qint64{activity.startTime}, NotNull(activity.publishUrl), NotNull(activity.viewUrl),
         activity.streamKey, activity.open ? 1 : 0, activity.accountId});
  });
}

Outcome Store::ChangeActivity(const Activity& activity, const Picture* cover) {
  return Transaction([&] {
    if (cover != nullptr &&
        (Change("DELETE FROM pictures WHERE id IN (SELECT cover_id FROM activities WHERE id = ?)",
                {activity.id}) == Outcome::Failed ||
         AddPicture(*cover) != Outcome::Done ||
         Change("UPDATE activities SET cover_id = ? WHERE id = ?", {cover->id, activity.id}) ==
             Outcome::Failed)) {
      return Outcome::Failed;
    }
    return Change(
        "UPDATE activities SET title = ?, start_time = ?, publish_url = ?, view_url = ?, "
        "stream_key = ?, is_open = ? WHERE id = ?",
        {activity.title, qint64{activity.startTime}, NotNull(activity.publishUrl),
         NotNull(activity.viewUrl), activity.streamKey, activity.open ? 1 : 0, activity.id});
  });
}

Outcome Store::RemoveActivity(const QString& id) {
  return Transaction([&] {
    for (const char* sql :
         {"DELETE FROM broadcasts WHERE activity_id = ?",
          "DELETE FROM publishing WHERE activity_id = ?",
          "DELETE FROM pictures WHERE id IN (SELECT cover_id FROM activities WHERE id = ?)"}) {
      if (Change(sql, {id}) == Outcome::Failed) {
        return Outcome::Failed;
      }
    }
    return Change("DELETE FROM activities WHERE id = ?", {id});
  });
}

Outcome Store::FindActivity(const QString& id, Activity* activity) {
  return ReadOne(
      Execute("SELECT id, account_id, title, cover_id, start_time, publish_url, view_url, "
              "stream_key, is_open FROM activities WHERE id = ?",
              {id}),
      ReadActivity, activity);
}

Outcome Store::FindActivityByKey(const QString& streamKey, Activity* activity) {
  return ReadOne(
      Execute("SELECT id, account_id, title, cover_id, start_time, publish_url, view_url, "
              "stream_key, is_open FROM activities WHERE stream_key = ?",
              {streamKey}),
      ReadActivity, activity);
}

Outcome Store::PageOfActivities(const QString& accountId, int page, QList<Activity>* activities) {
  const qint64 offset = (qint64{page} - 1) * kPageSize;
  return ReadAll(
      Execute("SELECT id, account_id, title, cover_id, start_time, publish_url, view_url, "
              "stream_key, is_open FROM activities WHERE account_id = ? "
              "ORDER BY start_time, id LIMIT ? OFFSET ?",
              {accountId, kPageSize, offset}),
      ReadActivity, activities);
}

Outcome Store::ListActivities(QList<Activity>* activities) {
  return ReadAll(
      Execute("SELECT id, account_id, title, cover_id, start_time, publish_url, view_url, "
              "stream_key, is_open FROM activities ORDER BY account_id, start_time, id",
              {}),
      ReadActivity, activities);
}

Outcome Store::AddPicture(const Picture& picture) {
  return Change("INSERT INTO pictures (id, type, bytes) VALUES (?, ?, ?)",
                {picture.id, picture.type, picture.bytes});
}

Outcome Store::FindPicture(const QString& id, Picture* picture) {
  return ReadOne(
      Execute("SELECT id, type, bytes FROM pictures WHERE id = ?", {id}),
      [](const QSqlQuery& row) {
        return Picture{row.value(0).toString(), row.value(1).toString(),
                       row.value(2).toByteArray()};
      },
      picture);
}

Outcome Store::SetAdPicture(const Picture* picture) {
  const QString name = QStringLiteral("ad_picture");
  return Transaction([&] {
    if (Change("DELETE FROM pictures WHERE id IN (SELECT value FROM settings WHERE name = ?)",
               {name}) == Outcome::Failed ||
        (picture != nullptr && AddPicture(*picture) != Outcome::Done)) {
      return Outcome::Failed;
    }
    return SetSetting(name, picture != nullptr ? picture->id : QStringLiteral(""));
  });
}

Outcome Store::StartBroadcast(const Broadcast& broadcast) {
  return Transaction([&] {
    Broadcast running;
    const Outcome found = FindRunningBroadcast(broadcast.activityId, &running);
    if (found != Outcome::NotFound) {
      return found == Outcome::Done ? Outcome::Busy : found;
    }
    return Change(
        "INSERT INTO broadcasts (id, activity_id, account_id, token_hash, started, ended, "
        "running_of) "
        "VALUES (?, ?, ?, ?, ?, 0, ?)",
        {broadcast.id, broadcast.activityId, broadcast.accountId, broadcast.tokenHash,
         qint64{broadcast.started}, broadcast.activityId});
  });
}

Outcome Store::FindRunningBroadcast(const QString& activityId, Broadcast* broadcast) {
  return ReadOne(Execute("SELECT id, activity_id, account_id, token_hash, started, ended "
                         "FROM broadcasts WHERE running_of = ?",
                         {activityId}),
                 ReadBroadcast, broadcast);
}

Outcome Store::EndBroadcast(const QString& id, std::int64_t now) {
  return Change(
      "UPDATE broadcasts SET ended = ?, running_of = id WHERE id = ? AND running_of <> id",
      {qint64{now}, id});
}

Outcome Store::ListBroadcasts(const QString& activityId, QList<Broadcast>* broadcasts) {
  return ReadAll(Execute("SELECT id, activity_id, account_id, token_hash, started, ended "
                         "FROM broadcasts WHERE activity_id = ? ORDER BY started, id",
                         {activityId}),
                 ReadBroadcast, broadcasts);
}

Outcome Store::SetPublishing(const QString& activityId, bool publishing, std::int64_t now) {
  return Transaction([&] {
    if (Change("DELETE FROM publishing WHERE activity_id = ?", {activityId}) == Outcome::Failed) {
      return Outcome::Failed;
    }
    if (!publishing) {
      return Outcome::Done;
    }
    return Change("INSERT INTO publishing (activity_id, since) VALUES (?, ?)",
                  {activityId, qint64{now}});
  });
}

Outcome Store::LastPublishUpdate(const QString& activityId, std::int64_t* heard) {
  return ReadOne(
      Execute("SELECT since FROM publishing WHERE activity_id = ?", {activityId}),
      [](const QSqlQuery& row) { return std::int64_t{row.value(0).toLongLong()}; }, heard);
}

}  // namespace service
