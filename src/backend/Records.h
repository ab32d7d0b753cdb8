// What the backend service answers, field by field as the calls fill it in.
//
// Plain records, owned by whoever calls. A key that the reply lacks leaves an empty string or 0.
// Only the sign of a code matters: below 0 the service refused.
#ifndef ORVANE_BACKEND_RECORDS_H
#define ORVANE_BACKEND_RECORDS_H

#include <QDateTime>
#include <QList>
#include <QString>

struct LoginResult {
  // A reply that can't be read leaves the code alone, so a record starts as a refusal.
  int code = -1;
  QString message;  // only of a refusal
  QString token;    // only of a success, as all below
  QString authStatus;
  QString email;
  QString id;
  QString number;
  QString qq;
  QString username;
};

struct AdResult {
  int code = -1;
  QString link;     // address of a picture; only of a success
  QString message;  // only of a success
};

struct ActivityInfo {
  QString coverUrl;
  QString lsId;         // the activity's identifier, sent as "id" when a broadcast starts and ends
  int playStatus = 0;   // not 0: the activity can be chosen
  QString publishUrl;   // where the stream goes
  QString rtmpLiveUrl;  // where viewers find it
  QDateTime startTime;
  QString title;

  // Its address holds "rtmp", in small letters and anywhere.
  bool CanBePublished() const {
    return publishUrl.contains(QLatin1String("rtmp"), Qt::CaseSensitive);
  }
};

struct ActivityList {
  int code = -1;
  QList<ActivityInfo*> activities;  // in the order of the reply; the caller deletes them
};

#endif
