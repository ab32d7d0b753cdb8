// The replies of the service, as the program reads them: any bytes.
#include <QByteArray>
#include <cstddef>
#include <cstdint>

#include "backend/ReplyParser.h"
#include "fuzz/Require.h"

namespace {

void ReadRefusal(const QByteArray& bytes) {
  int code = 4711;
  QString message = QStringLiteral("untouched");
  if (!backend::ParseCode(bytes, &code, &message)) {
    fuzz::Require(code == 4711 && message == QLatin1String("untouched"));
  }
}

void ReadLogin(const QByteArray& bytes) {
  LoginResult login;
  const bool known = backend::ParseLogin(bytes, &login);
  fuzz::Require(known || login.code == -1);
  fuzz::Require(login.code >= 0 || login.token.isEmpty());
}

void ReadAd(const QByteArray& bytes) {
  AdResult ad;
  const bool known = backend::ParseAd(bytes, &ad);
  fuzz::Require(known || ad.code == -1);
  fuzz::Require(ad.code >= 0 || ad.link.isEmpty());
}

void ReadActivities(const QByteArray& bytes) {
  ActivityList list;
  const bool known = backend::ParseActivities(bytes, &list);
  fuzz::Require((known && list.code >= 0) || list.activities.isEmpty());
  for (const ActivityInfo* activity : list.activities) {
    // What the cards show of it.
    fuzz::Require(activity->startTime.isValid());
    activity->startTime.toString(QStringLiteral("yyyy-MM-dd hh:mm"));
  }
  qDeleteAll(list.activities);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
  ReadRefusal(bytes);
  ReadLogin(bytes);
  ReadAd(bytes);
  ReadActivities(bytes);
  return 0;
}
