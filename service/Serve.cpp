#include "service/Serve.h"

#include <signal.h>
#include <sys/stat.h>

#include <cstdio>
#include <ctime>

#include "service/CommandLine.h"
#include "service/HttpServer.h"
#include "service/Ingest.h"
#include "service/IngestAddress.h"
#include "service/Log.h"
#include "service/Resources.h"
#include "service/Secrets.h"

namespace service {

namespace {

constexpr std::int64_t kSweepSeconds = 600;
constexpr std::int64_t kEngineRetrySeconds = 3;

void PrintLine(const QString& line) {
  Print(line + QLatin1Char('\n'));
  std::fflush(stdout);
}

Picture ResourcePicture(const char* name) {
  return {QString::fromStdString(NewId()), QStringLiteral("image/png"), ReadResource(name)};
}

// Part of every address that the ingest calls; made once for a database.
Outcome IngestSecret(Store* store, std::string* secret) {
  const QString name = QStringLiteral("ingest_secret");
  QString value;
  Outcome outcome = store->Setting(name, &value);
  if (outcome == Outcome::NotFound) {
    value = QString::fromStdString(NewId(16));
    outcome = store->SetSetting(name, value);
  }
  *secret = value.toStdString();
  return outcome;
}

sigset_t EndingSignals() {
  sigset_t ending;
  sigemptyset(&ending);
  sigaddset(&ending, SIGTERM);
  sigaddset(&ending, SIGINT);
  return ending;
}

int NoDatabase(const QString& error) {
  return PrintError(error, kNoDatabase);
}

void Greet(const ServeOptions& options, const QString& password) {
  const Settings& settings = options.settings;
  PrintLine(QStringLiteral("Service  http://%1:%2")
                .arg(QString::fromStdString(Bracketed(settings.listenAddress)))
                .arg(settings.port));
  if (options.ingest) {
    const QString host = QString::fromStdString(Bracketed(settings.ingestHost));
    PrintLine(QStringLiteral("Ingest   rtmp://%1:%2/live").arg(host).arg(settings.rtmpPort));
    PrintLine(
        QStringLiteral("Watch    rtmp://%1:%2/watch/ACTIVITY or http://%1:%3/hls/ACTIVITY.m3u8")
            .arg(host)
            .arg(settings.rtmpPort)
            .arg(options.hlsPort));
  }
  if (!password.isEmpty()) {
    PrintLine(QStringLiteral("First start: log in as \"%1\" with the password \"%2\" (from this "
                             "machine only). Change it with: orvane-service account passwd %1")
                  .arg(QLatin1String(kNewcomersLogin), password));
  }
}

// Restarts an engine that ended by itself; tells so once each time.
void KeepEngine(Ingest* ingest, std::int64_t now, std::int64_t* nextTry) {
  if (ingest->Running() || now < *nextTry) {
    return;
  }
  QString error;
  LogWarning("ingest-ended");
  if (!ingest->Start(&error)) {
    LogError("ingest", {{"cause", error}});
  }
  *nextTry = now + kEngineRetrySeconds;
}

}  // namespace

namespace {

Outcome AddSamples(Store* store, const QString& accountId, std::int64_t now) {
  const struct {
    const char* title;
    const char* cover;
  } samples[] = {{"我的第一场直播", "cover-1.png"},
                 {"新品发布会", "cover-2.png"},
                 {"周末音乐会", "cover-3.png"}};
  int number = 0;
  for (const auto& sample : samples) {
    const Picture cover = ResourcePicture(sample.cover);
    Activity activity;
    activity.id = QString::fromStdString(NewId());
    activity.accountId = accountId;
    activity.title = QString::fromUtf8(sample.title);
    activity.startTime = now + ++number * 3600LL;
    activity.streamKey = QString::fromStdString(NewId(16));
    if (store->AddActivity(activity, &cover) != Outcome::Done) {
      return Outcome::Failed;
    }
  }
  const Picture ad = ResourcePicture("welcome.png");
  return store->SetAdPicture(&ad);
}

}  // namespace

Outcome CreateDemoAccount(Store* store, std::int64_t now, QString* password) {
  const QString made = QStringLiteral("newcomer_made");
  const std::string secret = NewReadablePassword();
  Account account;
  account.id = QString::fromStdString(NewId());
  account.login = QLatin1String(kNewcomersLogin);
  account.name = QStringLiteral("新手");
  account.loopbackOnly = true;
  account.created = now;
  bool isNew = false;
  const Outcome outcome = store->Transaction([&] {
    QList<Account> accounts;
    QString when;
    const Outcome before = store->Setting(made, &when);
    if (before != Outcome::NotFound || store->ListAccounts(&accounts) != Outcome::Done) {
      return before == Outcome::Done ? Outcome::Done : Outcome::Failed;
    }
    if (accounts.isEmpty()) {
      account.passwordHash = QString::fromStdString(HashPassword(secret));
      if (account.passwordHash.isEmpty() || store->AddAccount(account) != Outcome::Done ||
          AddSamples(store, account.id, now) != Outcome::Done) {
        return Outcome::Failed;
      }
      isNew = true;
    }
    // So that an account which was removed does not come back.
    return store->SetSetting(made, QString::number(now));
  });
  if (outcome == Outcome::Done && isNew) {
    *password = QString::fromStdString(secret);
  }
  return outcome;
}

int Serve(const ServeOptions& options) {
  // Blocked before the first thread exists, so that only the wait below sees them.
  const sigset_t ending = EndingSignals();
  pthread_sigmask(SIG_BLOCK, &ending, nullptr);
  signal(SIGPIPE, SIG_IGN);

  QString error;
  const std::unique_ptr<Store> store = Store::Open(options.database, &error);
  if (store == nullptr) {
    return NoDatabase(error);
  }
  SteadyClock clock;
  Settings settings = options.settings;
  if (IngestSecret(store.get(), &settings.ingestSecret) == Outcome::Failed) {
    return NoDatabase(QStringLiteral("%1 can't be written").arg(options.database));
  }

  Shared shared(settings, clock);
  HttpServer server(options.database, &shared);
  if (!server.Start(&error)) {
    return PrintError(error, kNoAddress);
  }
  IngestSettings ingestSettings;
  ingestSettings.listenAddress = settings.ingestHost;
  ingestSettings.rtmpPort = settings.rtmpPort;
  ingestSettings.hlsPort = options.hlsPort;
  ingestSettings.serviceAddress = Reachable(settings.listenAddress);
  ingestSettings.servicePort = settings.port;
  ingestSettings.secret = settings.ingestSecret;
  ingestSettings.directory = options.ingestDirectory;
  ingestSettings.recordDirectory = options.recordDirectory;
  Ingest ingest(ingestSettings);
  if (options.ingest && !ingest.Start(&error)) {
    return PrintError(QStringLiteral("ingest: %1").arg(error), kNoAddress);
  }
  // Without it only the lists of the commands are off; the cause is in the log.
  KeepIngestAddress(store.get(), settings);
  // Last, so that nothing keeps the password from being shown.
  QString password;
  if (CreateDemoAccount(store.get(), clock.Seconds(), &password) == Outcome::Failed) {
    return NoDatabase(QStringLiteral("%1 can't be written").arg(options.database));
  }
  Greet(options, password);
  LogInfo("started", {{"port", settings.port}, {"ingest", options.ingest}});

  std::int64_t nextSweep = 0;
  std::int64_t nextEngineTry = 0;
  const timespec second{1, 0};
  while (sigtimedwait(&ending, nullptr, &second) < 0) {
    const std::int64_t now = clock.Seconds();
    if (now >= nextSweep) {
      store->RemoveExpiredSessions(now);
      nextSweep = now + kSweepSeconds;
    }
    if (options.ingest) {
      ingest.Tidy();
      KeepEngine(&ingest, now, &nextEngineTry);
    }
  }
  ingest.Stop();
  server.Stop();
  LogInfo("ended");
  return kOk;
}

}  // namespace service
