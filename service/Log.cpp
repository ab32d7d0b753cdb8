#include "service/Log.h"

#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <cstdio>
#include <mutex>

namespace service {

namespace {

void Write(const char* level, const char* event, LogFields fields) {
  static std::mutex mutex;  // lines of two threads must not mix
  QJsonObject line{
      {QStringLiteral("time"), QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs)},
      {QStringLiteral("level"), QLatin1String(level)},
      {QStringLiteral("event"), QLatin1String(event)},
  };
  for (const auto& field : fields) {
    line.insert(QLatin1String(field.first), QJsonValue::fromVariant(field.second));
  }
  const QByteArray text = QJsonDocument(line).toJson(QJsonDocument::Compact) + '\n';
  const std::lock_guard<std::mutex> lock(mutex);
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
