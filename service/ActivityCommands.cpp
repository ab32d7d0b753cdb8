#include <QDateTime>
#include <QFile>
#include <QUrl>

#include "service/Api.h"
#include "service/CommandLine.h"
#include "service/IngestAddress.h"
#include "service/Secrets.h"

namespace service {

namespace {

constexpr int kMaxTitle = 255;
constexpr int kMaxUrl = 1024;
constexpr qint64 kMaxPicture = 8LL * 1024 * 1024;

// Reads a PNG or JPEG file; false with a complaint printed.
bool ReadPicture(const QString& path, Picture* picture) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) {
    PrintError(QStringLiteral("%1: %2").arg(path, file.errorString()), kRefused);
    return false;
  }
  picture->bytes = file.read(kMaxPicture + 1);
  if (picture->bytes.startsWith("\x89PNG\r\n\x1a\n")) {
    picture->type = QStringLiteral("image/png");
  } else if (picture->bytes.startsWith("\xff\xd8\xff")) {
    picture->type = QStringLiteral("image/jpeg");
  }
  if (picture->type.isEmpty() || picture->bytes.size() > kMaxPicture) {
    PrintError(QStringLiteral("%1 is no PNG or JPEG file of at most 8 MiB").arg(path), kRefused);
    return false;
  }
  picture->id = QString::fromStdString(NewId());
  return true;
}

// The options that describe an activity.
struct ActivityOptions {
  QCommandLineOption title{QStringLiteral("title"), QStringLiteral("What viewers read."),
                           QStringLiteral("TEXT")};
  QCommandLineOption start{QStringLiteral("start"),
                           QStringLiteral("When it begins, as 2024-06-07T20:00 in local time."),
                           QStringLiteral("TIME")};
  QCommandLineOption cover{QStringLiteral("cover"), QStringLiteral("A PNG or JPEG file."),
                           QStringLiteral("FILE")};
  QCommandLineOption publish{
      QStringLiteral("publish"),
      QStringLiteral("Any rtmp:// address to publish to, key included; empty for this service's "
                     "own ingest."),
      QStringLiteral("URL")};
  QCommandLineOption view{QStringLiteral("view"), QStringLiteral("Where viewers find the stream."),
                          QStringLiteral("URL")};
  QCommandLineOption closed{QStringLiteral("closed"), QStringLiteral("It can't be chosen.")};
  QCommandLineOption open{QStringLiteral("open"), QStringLiteral("It can be chosen.")};

  QList<QCommandLineOption> All() const {
    return {title, start, cover, publish, view, closed, open};
  }
};

bool ApplyUrl(const QCommandLineParser& parser, const QCommandLineOption& option, bool mustBeRtmp,
              QString* target) {
  if (!parser.isSet(option)) {
    return true;
  }
  const QString text = parser.value(option).trimmed();
  const QUrl url(text);
  const bool rtmp = url.scheme() == QLatin1String("rtmp") || url.scheme() == QLatin1String("rtmps");
  if (!IsPlainText(QStringLiteral("an address"), text, 0, kMaxUrl)) {
    return false;
  }
  const bool usable = text.isEmpty() || (url.isValid() && !text.contains(QLatin1Char(' ')) &&
                                         !url.host().isEmpty() && (rtmp || !mustBeRtmp));
  if (!usable) {
    PrintError(QStringLiteral("\"%1\" is no %2 address")
                   .arg(text, mustBeRtmp ? QStringLiteral("rtmp://") : QStringLiteral("usable")),
               kRefused);
    return false;
  }
  *target = text;
  return true;
}

// Puts what the command line gives into the activity; false with a complaint printed.
bool Apply(const QCommandLineParser& parser, const ActivityOptions& options, Activity* activity) {
  if (parser.isSet(options.title)) {
    activity->title = parser.value(options.title);
  }
  if (!IsPlainText(QStringLiteral("a title"), activity->title, 1, kMaxTitle)) {
    return false;
  }
  if (parser.isSet(options.start)) {
    const QDateTime time = QDateTime::fromString(parser.value(options.start), Qt::ISODate);
    // The client reads 32 bits.
    if (!time.isValid() || time.toSecsSinceEpoch() < 0 || time.toSecsSinceEpoch() > INT32_MAX) {
      PrintError(QStringLiteral("\"%1\" is no time").arg(parser.value(options.start)), kRefused);
      return false;
    }
    activity->startTime = time.toSecsSinceEpoch();
  }
  if (parser.isSet(options.closed) || parser.isSet(options.open)) {
    activity->open = parser.isSet(options.open);
  }
  return ApplyUrl(parser, options.publish, true, &activity->publishUrl) &&
         ApplyUrl(parser, options.view, false, &activity->viewUrl);
}

}  // namespace

int ActivityAdd(const QStringList& arguments) {
  Parsed parsed;
  QCommandLineParser& parser = parsed.parser;
  const ActivityOptions options;
  const QCommandLineOption account(QStringLiteral("account"), QStringLiteral("Whose it is."),
                                   QStringLiteral("LOGIN"));
  parser.addOption(account);
  parser.addOptions(options.All());
  Parse(&parsed, QStringLiteral("activity add"),
        QStringLiteral("Makes an activity and prints its ID."), arguments, 0);
  if (parsed.Ended()) {
    return parsed.exitCode;
  }
  if (!parser.isSet(account) || !parser.isSet(options.title)) {
    return PrintError(QStringLiteral("activity add needs --account and --title"), kUsage);
  }
  const std::unique_ptr<Store> store = OpenStore(parser);
  if (store == nullptr) {
    return kNoDatabase;
  }
  Account owner;
  const Outcome found = store->FindAccount(parser.value(account), &owner);
  if (found != Outcome::Done) {
    return CodeOf(found, QStringLiteral("there is no account \"%1\"").arg(parser.value(account)));
  }
  Activity activity;
  activity.id = QString::fromStdString(NewId());
  activity.accountId = owner.id;
  activity.streamKey = QString::fromStdString(NewId(16));
  activity.startTime = QDateTime::currentSecsSinceEpoch();
  Picture cover;
  const bool hasCover = parser.isSet(options.cover);
  if (!Apply(parser, options, &activity) ||
      (hasCover && !ReadPicture(parser.value(options.cover), &cover))) {
    return kRefused;
  }
  const int code = CodeOf(store->AddActivity(activity, hasCover ? &cover : nullptr),
                          QStringLiteral("the account was removed meanwhile"));
  if (code == kOk) {
    Print(activity.id + QLatin1Char('\n'));
  }
  return code;
}

int ActivityEdit(const QStringList& arguments) {
  Parsed parsed;
  QCommandLineParser& parser = parsed.parser;
  const ActivityOptions options;
  parser.addOptions(options.All());
  parser.addPositionalArgument(QStringLiteral("ID"), QString());
  Parse(&parsed, QStringLiteral("activity edit"),
        QStringLiteral("Changes what is given and leaves the rest."), arguments, 1);
  if (parsed.Ended()) {
    return parsed.exitCode;
  }
  const std::unique_ptr<Store> store = OpenStore(parser);
  if (store == nullptr) {
    return kNoDatabase;
  }
  const QString id = parser.positionalArguments().first();
  Activity activity;
  const Outcome found = store->FindActivity(id, &activity);
  if (found != Outcome::Done) {
    return CodeOf(found, QStringLiteral("there is no activity \"%1\"").arg(id));
  }
  Picture cover;
  const bool hasCover = parser.isSet(options.cover);
  if (!Apply(parser, options, &activity) ||
      (hasCover && !ReadPicture(parser.value(options.cover), &cover))) {
    return kRefused;
  }
  return CodeOf(store->ChangeActivity(activity, hasCover ? &cover : nullptr),
                QStringLiteral("the activity was removed meanwhile"));
}

int ActivityList(const QStringList& arguments) {
  Parsed parsed;
  Parse(&parsed, QStringLiteral("activity list"), QStringLiteral("Lists the activities."),
        arguments, 0);
  if (parsed.Ended()) {
    return parsed.exitCode;
  }
  const std::unique_ptr<Store> store = OpenStore(parsed.parser);
  QList<Activity> activities;
  QList<Account> accounts;
  if (store == nullptr) {
    return kNoDatabase;
  }
  Settings settings;
  if (store->ListActivities(&activities) != Outcome::Done ||
      store->ListAccounts(&accounts) != Outcome::Done ||
      FindIngestAddress(store.get(), &settings) != Outcome::Done) {
    return CodeOf(Outcome::Failed, QString());
  }
  const std::string host = Reachable(settings.ingestHost);
  for (const Activity& activity : activities) {
    QString owner;
    for (const Account& account : accounts) {
      if (account.id == activity.accountId) {
        owner = account.login;
      }
    }
    Broadcast running;
    const bool live = store->FindRunningBroadcast(activity.id, &running) == Outcome::Done;
    Print(QStringLiteral("%1\t%2\t%3\t%4\t%5\t%6\n")
              .arg(activity.id, owner,
                   QDateTime::fromSecsSinceEpoch(activity.startTime).toString(Qt::ISODate),
                   live ? QStringLiteral("live")
                        : (activity.open ? QStringLiteral("open") : QStringLiteral("closed")),
                   activity.title, QString::fromStdString(PublishUrl(activity, settings, host))));
  }
  return kOk;
}

int ActivityEnd(const QStringList& arguments) {
  return WithOne(arguments, QStringLiteral("activity end"),
                 QStringLiteral("Marks its running broadcast as ended."), QStringLiteral("ID"),
                 [](Store* store, const QString& id) {
                   Broadcast running;
                   const Outcome found = store->FindRunningBroadcast(id, &running);
                   return found == Outcome::Done
                              ? store->EndBroadcast(running.id, QDateTime::currentSecsSinceEpoch())
                              : found;
                 });
}

int ActivityRemove(const QStringList& arguments) {
  return WithOne(arguments, QStringLiteral("activity remove"),
                 QStringLiteral("Removes an activity."), QStringLiteral("ID"),
                 [](Store* store, const QString& id) { return store->RemoveActivity(id); });
}

int AdSet(const QStringList& arguments) {
  bool refused = false;
  const int code = WithOne(arguments, QStringLiteral("ad set"),
                           QStringLiteral("Sets the picture beside the login."),
                           QStringLiteral("FILE"), [&refused](Store* store, const QString& path) {
                             Picture picture;
                             refused = !ReadPicture(path, &picture);
                             return refused ? Outcome::Done : store->SetAdPicture(&picture);
                           });
  return refused ? static_cast<int>(kRefused) : code;
}

int AdClear(const QStringList& arguments) {
  Parsed parsed;
  Parse(&parsed, QStringLiteral("ad clear"), QStringLiteral("No picture beside the login."),
        arguments, 0);
  if (parsed.Ended()) {
    return parsed.exitCode;
  }
  const std::unique_ptr<Store> store = OpenStore(parsed.parser);
  return store != nullptr ? CodeOf(store->SetAdPicture(nullptr), QString())
                          : static_cast<int>(kNoDatabase);
}

}  // namespace service
