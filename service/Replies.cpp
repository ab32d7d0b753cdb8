#include "service/Replies.h"

#include <QJsonDocument>

namespace service {

std::string Field(const std::map<std::string, std::string>& fields, const char* name) {
  const auto field = fields.find(name);
  return field == fields.end() ? std::string() : field->second;
}

QString Latin1(const std::string& bytes) {
  return QString::fromLatin1(bytes.data(), static_cast<int>(bytes.size()));
}

Response Reply(const QJsonObject& object, int status) {
  Response response;
  response.status = status;
  response.body = QJsonDocument(object).toJson(QJsonDocument::Compact);
  return response;
}

Response Success() {
  return Reply({{QStringLiteral("code"), 0}});
}

Response Unavailable() {
  return Api::Refuse(503, kUnavailable, QStringLiteral("服务暂时不可用，请稍后再试"));
}

std::string OwnIngest(const Settings& settings, const std::string& host, const char* application,
                      const QString& name) {
  return "rtmp://" + host + ":" + std::to_string(settings.rtmpPort) + "/" + application + "/" +
         name.toStdString();
}

}  // namespace service
