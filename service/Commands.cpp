#include "service/Commands.h"

#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <QCommandLineParser>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QUrl>
#include <cstdio>
#include <functional>
#include <iostream>

#include "service/Secrets.h"
#include "service/Serve.h"

namespace service {

namespace {

constexpr int kLongestLogin = 255;
constexpr int kLongestPassword = 1024;
constexpr int kLongestTitle = 255;
constexpr int kLongestUrl = 1024;
constexpr qint64 kLargestPicture = 8 * 1024 * 1024;

const char kOverview[] =
    "Usage: orvane-service COMMAND [OPTIONS]\n"
    "\n"
    "  serve                     answer the program, and run the ingest beside it\n"
    "  account add LOGIN         make an account; its password is asked for\n"
    "  account passwd LOGIN      change a password; ends all its sessions\n"
    "  account remove LOGIN      remove an account with its activities\n"
    "  account list\n"
    "  activity add              make an activity\n"
    "  activity edit ID          change one\n"
    "  activity end ID           mark its running broadcast as ended\n"
    "  activity remove ID\n"
    "  activity list\n"
    "  ad set FILE               the picture beside the login; a PNG or JPEG file\n"
    "  ad clear\n"
    "\n"
    "Each command answers --help. Exit status: 0 done, 1 refused, 2 not understood,\n"
    "3 the database can't be used, 4 an address can't be listened on.\n";

int Complain(const QString& text, int code) {
  std::fprintf(stderr, "orvane-service: %s\n", qPrintable(text));
  return code;
}

void Print(const QString& text) {
  std::fputs(text.toUtf8().constData(), stdout);
}

// A parsed command line, or the exit code that ends the program.
struct Parsed {
  QCommandLineParser parser;
  int exitCode = -1;
  bool Ended() const { return exitCode >= 0; }
};

const QCommandLineOption kDatabase(QStringLiteral("database"), QStringLiteral("The database file."),
                                   QStringLiteral("FILE"));

// Parses what follows the command's name. positional: how many arguments must stand there.
void Parse(Parsed* parsed, const QString& command, const QString& description,
           const QStringList& arguments, int positional) {
  QCommandLineParser& parser = parsed->parser;
  parser.setApplicationDescription(description);
  const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                QStringLiteral("Shows this."));
  parser.addOption(help);
  parser.addOption(kDatabase);
  if (!parser.parse(QStringList{QStringLiteral("orvane-service ") + command} + arguments)) {
    parsed->exitCode = Complain(parser.errorText(), kUsage);
  } else if (parser.isSet(help)) {
    Print(parser.helpText());
    parsed->exitCode = kOk;
  } else if (parser.positionalArguments().size() != positional) {
    parsed->exitCode = Complain(
        QStringLiteral("%1 takes %2 argument(s); see --help").arg(command).arg(positional), kUsage);
  }
}

QString DatabasePath(const QCommandLineParser& parser) {
  return parser.isSet(kDatabase) ? parser.value(kDatabase) : DefaultDatabasePath();
}

std::unique_ptr<Store> OpenStore(const QCommandLineParser& parser) {
  QString error;
  std::unique_ptr<Store> store = Store::Open(DatabasePath(parser), &error);
  if (store == nullptr) {
    Complain(error, kNoDatabase);
  }
  return store;
}

int CodeOf(Outcome outcome, const QString& notFound) {
  switch (outcome) {
    case Outcome::Done:
      return kOk;
    case Outcome::NotFound:
      return Complain(notFound, kRefused);
    case Outcome::Exists:
      return Complain(QStringLiteral("there is one of that name already"), kRefused);
    case Outcome::Busy:
      return Complain(QStringLiteral("a broadcast of it is running"), kRefused);
    case Outcome::Failed:
      break;
  }
  return Complain(QStringLiteral("the database can't be used"), kNoDatabase);
}

// One line from standard input; on a terminal without showing it.
QString ReadSecret(const char* prompt) {
  const bool terminal = isatty(STDIN_FILENO) == 1;
  termios shown{};
  if (terminal) {
    std::fputs(prompt, stderr);
    tcgetattr(STDIN_FILENO, &shown);
    termios hidden = shown;
    hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
  }
  std::string line;
  std::getline(std::cin, line);
  if (terminal) {
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &shown);
    std::fputs("\n", stderr);
  }
  if (!line.empty() && line.back() == '\r') {
    line.pop_back();
  }
  return QString::fromStdString(line);
}

// The hash of a password that the user gives now; empty when it was refused.
QString AskForPassword() {
  const QString password = ReadSecret("Password: ");
  QString complaint;
  if (!IsSendable(password, kLongestPassword, &complaint)) {
    Complain(QStringLiteral("the password %1").arg(complaint), kRefused);
    return QString();
  }
  if (isatty(STDIN_FILENO) == 1 && ReadSecret("Once more: ") != password) {
    Complain(QStringLiteral("the two passwords differ"), kRefused);
    return QString();
  }
  const std::string hash = HashPassword(password.toLatin1().toStdString());
  if (hash.empty()) {
    Complain(QStringLiteral("not enough memory to hash a password"), kRefused);
  }
  return QString::fromStdString(hash);
}

int AccountAdd(const QStringList& arguments) {
  Parsed parsed;
  QCommandLineParser& parser = parsed.parser;
  const QCommandLineOption name(QStringLiteral("name"), QStringLiteral("The name to show."),
                                QStringLiteral("NAME"));
  const QCommandLineOption email(QStringLiteral("email"), QStringLiteral("An address."),
                                 QStringLiteral("ADDRESS"));
  const QCommandLineOption local(QStringLiteral("loopback-only"),
                                 QStringLiteral("May log in from this machine only."));
  parser.addOptions({name, email, local});
  parser.addPositionalArgument(QStringLiteral("LOGIN"), QStringLiteral("The account."));
  Parse(&parsed, QStringLiteral("account add"),
        QStringLiteral("Makes an account. The password is asked for, or read from standard input."),
        arguments, 1);
  if (parsed.Ended()) {
    return parsed.exitCode;
  }
  Account account;
  account.login = parser.positionalArguments().first();
  QString complaint;
  if (!IsSendable(account.login, kLongestLogin, &complaint)) {
    return Complain(QStringLiteral("the account %1").arg(complaint), kRefused);
  }
  const std::unique_ptr<Store> store = OpenStore(parser);
  if (store == nullptr) {
    return kNoDatabase;
  }
  account.passwordHash = AskForPassword();
  if (account.passwordHash.isEmpty()) {
    return kRefused;
  }
  account.id = QString::fromStdString(NewId());
  account.name = parser.value(name);
  account.email = parser.value(email);
  account.loopbackOnly = parser.isSet(local);
  account.created = QDateTime::currentSecsSinceEpoch();
  return CodeOf(store->AddAccount(account), QString());
}

// A command that takes one name and one operation on the store.
int WithOne(const QStringList& arguments, const QString& command, const QString& description,
            const QString& what, const std::function<Outcome(Store*, const QString&)>& operation) {
  Parsed parsed;
  parsed.parser.addPositionalArgument(what, QString());
  Parse(&parsed, command, description, arguments, 1);
  if (parsed.Ended()) {
    return parsed.exitCode;
  }
  const std::unique_ptr<Store> store = OpenStore(parsed.parser);
  if (store == nullptr) {
    return kNoDatabase;
  }
  const QString name = parsed.parser.positionalArguments().first();
  return CodeOf(operation(store.get(), name), QStringLiteral("there is no \"%1\"").arg(name));
}

int AccountPasswd(const QStringList& arguments) {
  bool refused = false;
  const int code =
      WithOne(arguments, QStringLiteral("account passwd"),
              QStringLiteral("Changes a password and ends all sessions of the account."),
              QStringLiteral("LOGIN"), [&refused](Store* store, const QString& login) {
                Account account;
                const Outcome found = store->FindAccount(login, &account);
                if (found != Outcome::Done) {
                  return found;
                }
                const QString hash = AskForPassword();
                refused = hash.isEmpty();
                return refused ? Outcome::Done : store->SetPassword(login, hash);
              });
  return refused ? static_cast<int>(kRefused) : code;
}

int AccountList(const QStringList& arguments) {
  Parsed parsed;
  Parse(&parsed, QStringLiteral("account list"), QStringLiteral("Lists the accounts."), arguments,
        0);
  if (parsed.Ended()) {
    return parsed.exitCode;
  }
  const std::unique_ptr<Store> store = OpenStore(parsed.parser);
  QList<Account> accounts;
  if (store == nullptr || store->ListAccounts(&accounts) != Outcome::Done) {
    return kNoDatabase;
  }
  for (const Account& account : accounts) {
    Print(QStringLiteral("%1\t%2\t%3%4\n")
              .arg(account.login, account.name, account.email,
                   account.loopbackOnly ? QStringLiteral("\tloopback only") : QString()));
  }
  return kOk;
}

// Reads a PNG or JPEG file; false with a complaint printed.
bool ReadPicture(const QString& path, Picture* picture) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) {
    Complain(QStringLiteral("%1: %2").arg(path, file.errorString()), kRefused);
    return false;
  }
  picture->bytes = file.read(kLargestPicture + 1);
  if (picture->bytes.startsWith("\x89PNG\r\n\x1a\n")) {
    picture->type = QStringLiteral("image/png");
  } else if (picture->bytes.startsWith("\xff\xd8\xff")) {
    picture->type = QStringLiteral("image/jpeg");
  }
  if (picture->type.isEmpty() || picture->bytes.size() > kLargestPicture) {
    Complain(QStringLiteral("%1 is no PNG or JPEG file of at most 8 MiB").arg(path), kRefused);
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
  const bool usable = text.isEmpty() || (text.size() <= kLongestUrl && url.isValid() &&
                                         !url.host().isEmpty() && (rtmp || !mustBeRtmp));
  if (!usable) {
    Complain(QStringLiteral("\"%1\" is no %2 address")
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
  if (activity->title.isEmpty() || activity->title.size() > kLongestTitle) {
    Complain(QStringLiteral("a title has 1 to %1 characters").arg(kLongestTitle), kRefused);
    return false;
  }
  if (parser.isSet(options.start)) {
    const QDateTime time = QDateTime::fromString(parser.value(options.start), Qt::ISODate);
    // The client reads 32 bits.
    if (!time.isValid() || time.toSecsSinceEpoch() < 0 || time.toSecsSinceEpoch() > INT32_MAX) {
      Complain(QStringLiteral("\"%1\" is no time").arg(parser.value(options.start)), kRefused);
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

// A new cover in the place of the old one. True when there was nothing to do.
bool ReplaceCover(Store* store, const QString& path, Activity* activity) {
  Picture picture;
  if (!ReadPicture(path, &picture)) {
    return false;
  }
  const QString former = activity->coverId;
  if (store->AddPicture(picture) != Outcome::Done) {
    return false;
  }
  activity->coverId = picture.id;
  return former.isEmpty() || store->RemovePicture(former) != Outcome::Failed;
}

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
    return Complain(QStringLiteral("activity add needs --account and --title"), kUsage);
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
  if (!Apply(parser, options, &activity) ||
      (parser.isSet(options.cover) &&
       !ReplaceCover(store.get(), parser.value(options.cover), &activity))) {
    return kRefused;
  }
  const int code = CodeOf(store->AddActivity(activity), QString());
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
  if (!Apply(parser, options, &activity) ||
      (parser.isSet(options.cover) &&
       !ReplaceCover(store.get(), parser.value(options.cover), &activity))) {
    return kRefused;
  }
  return CodeOf(store->ChangeActivity(activity), QString());
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
  if (store == nullptr || store->ListActivities(&activities) != Outcome::Done ||
      store->ListAccounts(&accounts) != Outcome::Done) {
    return kNoDatabase;
  }
  const Settings settings;
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
                   activity.title, QString::fromStdString(PublishUrl(activity, settings))));
  }
  return kOk;
}

int AdSet(const QStringList& arguments) {
  return WithOne(
      arguments, QStringLiteral("ad set"), QStringLiteral("Sets the picture beside the login."),
      QStringLiteral("FILE"), [](Store* store, const QString& path) {
        Picture picture;
        if (!ReadPicture(path, &picture)) {
          return Outcome::NotFound;
        }
        const QString name = QStringLiteral("ad_picture");
        QString former;
        store->Setting(name, &former);
        if (store->AddPicture(picture) != Outcome::Done ||
            store->SetSetting(name, picture.id) != Outcome::Done) {
          return Outcome::Failed;
        }
        return store->RemovePicture(former) == Outcome::Failed ? Outcome::Failed : Outcome::Done;
      });
}

int AdClear(const QStringList& arguments) {
  Parsed parsed;
  Parse(&parsed, QStringLiteral("ad clear"), QStringLiteral("No picture beside the login."),
        arguments, 0);
  if (parsed.Ended()) {
    return parsed.exitCode;
  }
  const std::unique_ptr<Store> store = OpenStore(parsed.parser);
  if (store == nullptr) {
    return kNoDatabase;
  }
  const QString name = QStringLiteral("ad_picture");
  QString former;
  store->Setting(name, &former);
  store->RemovePicture(former);
  return CodeOf(store->SetSetting(name, QStringLiteral("")), QString());
}

// An option with a port as its value; false with a complaint printed.
bool ReadPort(const QCommandLineParser& parser, const QCommandLineOption& option, int* port) {
  bool isNumber = false;
  *port = parser.value(option).toInt(&isNumber);
  if (!isNumber || *port < 1 || *port > 65535) {
    Complain(QStringLiteral("\"%1\" is no port").arg(parser.value(option)), kUsage);
    return false;
  }
  return true;
}

int ServeCommand(const QStringList& arguments) {
  Parsed parsed;
  QCommandLineParser& parser = parsed.parser;
  const QString address = QStringLiteral("ADDRESS");
  const QString number = QStringLiteral("N");
  const QCommandLineOption listen(QStringLiteral("listen"),
                                  QStringLiteral("The address to listen on."), address,
                                  QStringLiteral("127.0.0.1"));
  const QCommandLineOption port(QStringLiteral("port"), QStringLiteral("The port."), number,
                                QStringLiteral("18080"));
  const QCommandLineOption ingest(QStringLiteral("ingest"),
                                  QStringLiteral("Run the RTMP ingest beside it."));
  const QCommandLineOption ingestHost(
      QStringLiteral("ingest-host"),
      QStringLiteral("The address that the ingest listens on and that clients are told."), address,
      QStringLiteral("127.0.0.1"));
  const QCommandLineOption rtmpPort(QStringLiteral("rtmp-port"), QStringLiteral("Of the ingest."),
                                    number, QStringLiteral("1935"));
  const QCommandLineOption hlsPort(QStringLiteral("hls-port"), QStringLiteral("Of the ingest."),
                                   number, QStringLiteral("18081"));
  const QCommandLineOption ingestDirectory(QStringLiteral("ingest-dir"),
                                           QStringLiteral("Where the ingest keeps its files."),
                                           QStringLiteral("DIRECTORY"));
  const QCommandLineOption record(QStringLiteral("record"),
                                  QStringLiteral("Record every stream there."),
                                  QStringLiteral("DIRECTORY"));
  const QCommandLineOption session(QStringLiteral("session-hours"),
                                   QStringLiteral("How long a login lasts."), number,
                                   QStringLiteral("12"));
  parser.addOptions(
      {listen, port, ingest, ingestHost, rtmpPort, hlsPort, ingestDirectory, record, session});
  Parse(&parsed, QStringLiteral("serve"),
        QStringLiteral("Answers the program until SIGTERM or SIGINT."), arguments, 0);
  if (parsed.Ended()) {
    return parsed.exitCode;
  }
  ServeOptions options;
  bool isNumber = false;
  options.settings.sessionSeconds = 3600LL * parser.value(session).toInt(&isNumber);
  if (!ReadPort(parser, port, &options.settings.port) ||
      !ReadPort(parser, rtmpPort, &options.settings.rtmpPort) ||
      !ReadPort(parser, hlsPort, &options.hlsPort)) {
    return kUsage;
  }
  if (!isNumber || options.settings.sessionSeconds < 3600) {
    return Complain(QStringLiteral("a session lasts at least one hour"), kUsage);
  }
  options.database = DatabasePath(parser);
  options.settings.listenAddress = parser.value(listen).toStdString();
  options.settings.ingestHost = parser.value(ingestHost).toStdString();
  options.ingest = parser.isSet(ingest);
  options.ingestDirectory =
      parser.isSet(ingestDirectory)
          ? QFileInfo(parser.value(ingestDirectory)).absoluteFilePath()
          : QFileInfo(options.database).absoluteDir().filePath(QStringLiteral("ingest"));
  if (parser.isSet(record)) {
    options.recordDirectory = QFileInfo(parser.value(record)).absoluteFilePath();
  }
  return Serve(options);
}

}  // namespace

QString DefaultDatabasePath() {
  const QDir data(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation));
  data.mkpath(QStringLiteral("orvane"));
  return data.filePath(QStringLiteral("orvane/service.sqlite"));
}

bool IsSendable(const QString& text, int longest, QString* complaint) {
  if (text.isEmpty() || text.size() > longest) {
    *complaint = QStringLiteral("must have 1 to %1 characters").arg(longest);
    return false;
  }
  for (const QChar character : text) {
    if (character.unicode() > 0xff) {
      *complaint = QStringLiteral("holds \"%1\", which the program can't send (it sends Latin-1)")
                       .arg(character);
      return false;
    }
    if (character.category() == QChar::Other_Control) {
      *complaint = QStringLiteral("holds a control character");
      return false;
    }
  }
  return true;
}

int RunCommand(const QStringList& arguments) {
  using Command = int (*)(const QStringList&);
  const struct {
    const char* words;
    Command run;
  } commands[] = {
      {"serve", &ServeCommand},
      {"account add", &AccountAdd},
      {"account passwd", &AccountPasswd},
      {"account remove",
       [](const QStringList& rest) {
         return WithOne(
             rest, QStringLiteral("account remove"),
             QStringLiteral("Removes an account with its activities."), QStringLiteral("LOGIN"),
             [](Store* store, const QString& login) { return store->RemoveAccount(login); });
       }},
      {"account list", &AccountList},
      {"activity add", &ActivityAdd},
      {"activity edit", &ActivityEdit},
      {"activity end",
       [](const QStringList& rest) {
         return WithOne(rest, QStringLiteral("activity end"),
                        QStringLiteral("Marks its running broadcast as ended."),
                        QStringLiteral("ID"), [](Store* store, const QString& id) {
                          return store->EndBroadcast(id, QDateTime::currentSecsSinceEpoch());
                        });
       }},
      {"activity remove",
       [](const QStringList& rest) {
         return WithOne(rest, QStringLiteral("activity remove"),
                        QStringLiteral("Removes an activity."), QStringLiteral("ID"),
                        [](Store* store, const QString& id) { return store->RemoveActivity(id); });
       }},
      {"activity list", &ActivityList},
      {"ad set", &AdSet},
      {"ad clear", &AdClear},
  };
  if (arguments.isEmpty()) {
    std::fputs(kOverview, stderr);
    return kUsage;
  }
  if (arguments.first() == QLatin1String("--help") || arguments.first() == QLatin1String("-h")) {
    std::fputs(kOverview, stdout);
    return kOk;
  }
  if (!InitSecrets()) {
    return Complain(QStringLiteral("this system gives no random numbers"), kRefused);
  }
  for (const auto& command : commands) {
    const QStringList words = QString::fromLatin1(command.words).split(QLatin1Char(' '));
    if (arguments.mid(0, words.size()) == words) {
      return command.run(arguments.mid(words.size()));
    }
  }
  std::fputs(kOverview, stderr);
  return kUsage;
}

}  // namespace service
