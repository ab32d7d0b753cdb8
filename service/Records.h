// What the database holds, as plain records. Texts are UTF-8; times are seconds since the epoch.
#ifndef ORVANE_SERVICE_RECORDS_H
#define ORVANE_SERVICE_RECORDS_H

#include <QByteArray>
#include <QString>
#include <cstdint>

namespace service {

// One page of the activity list, as the client expects it.
inline constexpr int kPageSize = 12;

struct Account {
  QString id;
  QString login;  // unique
  QString passwordHash;
  QString name;
  QString email;
  bool loopbackOnly = false;  // may log in from this machine only
  std::int64_t created = 0;
};

struct Activity {
  QString id;  // public: also the name under which viewers find the stream
  QString accountId;
  QString title;
  QString coverId;  // a picture, or empty
  std::int64_t startTime = 0;
  QString publishUrl;  // empty: this service's own ingest
  QString viewUrl;     // empty: this service's own ingest
  QString streamKey;   // the secret that allows a publish to the own ingest
  bool open = true;    // can be chosen for a broadcast
};

struct Picture {
  QString id;
  QString type;  // "image/png"
  QByteArray bytes;
};

struct Broadcast {
  QString id;
  QString activityId;
  QString accountId;
  QString tokenHash;  // of the session that started it
  std::int64_t started = 0;
  std::int64_t ended = 0;  // 0 while it runs
};

// What an operation of the store came to.
enum class Outcome {
  Done,
  NotFound,
  Exists,
  Busy,    // another session's broadcast of the activity is running
  Failed,  // the database could not be used; the cause is in the log
};

}  // namespace service

#endif
