// Small things that the answers of the service are made of; for the files of the Api.
//
// Threads: any.
#ifndef ORVANE_SERVICE_REPLIES_H
#define ORVANE_SERVICE_REPLIES_H

#include <QJsonObject>
#include <QString>
#include <map>
#include <string>

#include "service/Api.h"

namespace service {

// Empty when there is none of that name.
std::string Field(const std::map<std::string, std::string>& fields, const char* name);
QString Latin1(const std::string& bytes);
Response Reply(const QJsonObject& object, int status = 200);
Response Success();
// The database can't be used.
Response Unavailable();
std::string OwnIngest(const Settings& settings, const std::string& host, const char* application,
                      const QString& name);

}  // namespace service

#endif
