// The service's log: one JSON object a line on standard error, so that any collector reads it.
//
// Every line has "time" (UTC), "level" and "event"; the rest are the fields of the event.
// Passwords, tokens and stream keys are never fields. A long text is cut, so that nobody fills the
// log with one request.
//
// Threads: any; a line is written whole.
#ifndef ORVANE_SERVICE_LOG_H
#define ORVANE_SERVICE_LOG_H

#include <QString>
#include <QVariant>
#include <initializer_list>
#include <utility>

namespace service {

using LogFields = std::initializer_list<std::pair<const char*, QVariant>>;

void LogInfo(const char* event, LogFields fields = {});
void LogWarning(const char* event, LogFields fields = {});
void LogError(const char* event, LogFields fields = {});

}  // namespace service

#endif
