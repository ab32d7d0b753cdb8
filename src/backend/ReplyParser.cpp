#include "backend/ReplyParser.h"

#include <QJsonDocument>
#include <QVariant>

namespace backend {

namespace {

bool ReadObject(const QByteArray& bytes, QVariantMap* object) {
  QJsonParseError error;
  const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
  if (error.error != QJsonParseError::NoError || !document.isObject()) {
    return false;
  }
  *object = document.toVariant().toMap();
  return true;
}

QString Text(const QVariantMap& object, const char* key) {
  return object.value(QLatin1String(key)).toString();
}

int Number(const QVariantMap& object, const char* key) {
  return object.value(QLatin1String(key)).toInt();
}

ActivityInfo* NewActivity(const QVariantMap& entry) {
  auto* activity = new ActivityInfo;
  activity->coverUrl = Text(entry, "coverUrl");
  activity->lsId = Text(entry, "lsId");
  activity->playStatus = Number(entry, "playStatus");
  activity->publishUrl = Text(entry, "publishUrl");
  activity->rtmpLiveUrl = Text(entry, "rtmpLiveUrl");
  // Seconds since the epoch in 32 bits, of which the service may use the upper half, too.
  activity->startTime =
      QDateTime::fromSecsSinceEpoch(static_cast<quint32>(Number(entry, "startTime")));
  activity->title = Text(entry, "title");
  return activity;
}

}  // namespace

bool ParseCode(const QByteArray& bytes, int* code, QString* message) {
  QVariantMap reply;
  if (!ReadObject(bytes, &reply)) {
    return false;
  }
  *code = Number(reply, "code");
  if (*code < 0 && message != nullptr) {
    *message = Text(reply, "message");
  }
  return true;
}

bool ParseLogin(const QByteArray& bytes, LoginResult* out) {
  QVariantMap reply;
  if (!ReadObject(bytes, &reply)) {
    return false;
  }
  out->code = Number(reply, "code");
  if (out->code < 0) {
    out->message = Text(reply, "message");
    return true;
  }
  out->token = Text(reply, "token");
  const QVariantMap user = reply.value(QStringLiteral("user")).toMap();
  out->authStatus = Text(user, "authStatus");
  out->email = Text(user, "email");
  out->id = Text(user, "id");
  out->number = Text(user, "number");
  out->qq = Text(user, "qq");
  out->username = Text(user, "username");
  return true;
}

bool ParseAd(const QByteArray& bytes, AdResult* out) {
  QVariantMap reply;
  if (!ReadObject(bytes, &reply)) {
    return false;
  }
  out->code = Number(reply, "code");
  if (out->code >= 0) {
    out->link = Text(reply, "link");
    out->message = Text(reply, "message");
  }
  return true;
}

bool ParseActivities(const QByteArray& bytes, ActivityList* out) {
  QVariantMap reply;
  if (!ReadObject(bytes, &reply)) {
    return false;
  }
  out->code = Number(reply, "code");
  if (out->code < 0) {
    return true;
  }
  const QVariantList entries = reply.value(QStringLiteral("activities")).toList();
  for (const QVariant& entry : entries) {
    out->activities.append(NewActivity(entry.toMap()));
  }
  return true;
}

}  // namespace backend
