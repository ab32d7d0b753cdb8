#include "service/IngestAddress.h"

namespace service {

namespace {

const QString kHost = QStringLiteral("ingest_host");
const QString kPort = QStringLiteral("ingest_rtmp_port");

Outcome Keep(Store* store, const QString& name, const QString& value) {
  QString before;
  const Outcome found = store->Setting(name, &before);
  if (found == Outcome::Failed || (found == Outcome::Done && before == value)) {
    return found;
  }
  return store->SetSetting(name, value);
}

}  // namespace

Outcome KeepIngestAddress(Store* store, const Settings& settings) {
  return store->Transaction([&] {
    const Outcome kept = Keep(store, kHost, QString::fromStdString(settings.ingestHost));
    return kept == Outcome::Done ? Keep(store, kPort, QString::number(settings.rtmpPort)) : kept;
  });
}

Outcome FindIngestAddress(Store* store, Settings* settings) {
  QString host;
  QString port;
  for (const Outcome found : {store->Setting(kHost, &host), store->Setting(kPort, &port)}) {
    if (found != Outcome::Done) {
      return found == Outcome::NotFound ? Outcome::Done : found;
    }
  }
  settings->ingestHost = host.toStdString();
  settings->rtmpPort = port.toInt();
  return Outcome::Done;
}

}  // namespace service
