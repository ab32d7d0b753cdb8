#include "service/Log.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <cstdio>

#include "platform/Lock.h"

namespace service {

namespace {

// Some fields hold what a stranger sent.
constexpr int kMaxField = 256;

QJsonValue Bounded(const QVariant& value) {
  if (value.type() != QVariant::String && value.type() != QVariant::ByteArray) {
    return QJsonValue::fromVariant(value);
  }
  const QString text = value.toString();
  return text.size() <= kMaxField ? text : text.left(kMaxField) + QStringLiteral("...");
}

void Write(const char* level, const char* event, LogFields fields) {
  static platform::Mutex mutex;  // lines of two threads must not mix
  QJsonObject line{
      {QStringLiteral("time"), QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs)},
      {QStringLiteral("level"), QLatin1String(level)},
      {QStringLiteral("event"), QLatin1String(event)},
  };
  for (const auto& field : fields) {
    line.insert(QLatin1String(field.first), Bounded(field.second));
  }
  const QByteArray text = QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n';
  const platform::Lock lock(mutex);
  std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), stderr);
  std::fflush(stderr);
}

}  // namespace

void LogInfo(const char* event, LogFields fields) {
  Write("info", event, fields);
}

void LogWarning(const char* event, LogFields fields) {
  Write("warning", event, fields);
}

void LogError(const char* event, LogFields fields) {
  Write("error", event, fields);
}

}  // namespace service
