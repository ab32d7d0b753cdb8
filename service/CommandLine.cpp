#include "service/CommandLine.h"

#include <QCommandLineOption>
#include <cstdio>

namespace service {

namespace {

const QString kDatabase = QStringLiteral("database");

}  // namespace

int PrintError(const QString& text, int code) {
  std::fprintf(stderr, "orvane-service: %s\n", text.toUtf8().constData());
  return code;
}

void Print(const QString& text) {
  std::fputs(text.toUtf8().constData(), stdout);
}

void Parse(Parsed* parsed, const QString& command, const QString& description,
           const QStringList& arguments, int positional) {
  QCommandLineParser& parser = parsed->parser;
  parser.setApplicationDescription(description);
  const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")},
                                QStringLiteral("Shows this."));
  parser.addOption(help);
  parser.addOption(
      QCommandLineOption(kDatabase, QStringLiteral("The database file."), QStringLiteral("FILE")));
  if (!parser.parse(QStringList{QStringLiteral("orvane-service ") + command} + arguments)) {
    parsed->exitCode = PrintError(parser.errorText(), kUsage);
  } else if (parser.isSet(help)) {
    Print(parser.helpText());
    parsed->exitCode = kOk;
  } else if (parser.positionalArguments().size() != positional) {
    parsed->exitCode = PrintError(
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
    PrintError(error, kNoDatabase);
  }
  return store;
}

int CodeOf(Outcome outcome, const QString& notFound) {
  switch (outcome) {
    case Outcome::Done:
      return kOk;
    case Outcome::NotFound:
      return PrintError(notFound, kRefused);
    case Outcome::Exists:
      return PrintError(QStringLiteral("there is one of that name already"), kRefused);
    case Outcome::Busy:
      return PrintError(QStringLiteral("a broadcast of it is running"), kRefused);
    case Outcome::Failed:
      break;
  }
  return PrintError(QStringLiteral("the database can't be used"), kNoDatabase);
}

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

bool IsPlainText(const QString& what, const QString& text, int shortest, int longest) {
  if (text.size() < shortest || text.size() > longest) {
    PrintError(QStringLiteral("%1 has %2 to %3 characters").arg(what).arg(shortest).arg(longest),
               kRefused);
    return false;
  }
  for (const QChar character : text) {
    if (character.category() == QChar::Other_Control) {
      PrintError(QStringLiteral("%1 holds a control character").arg(what), kRefused);
      return false;
    }
  }
  return true;
}

}  // namespace service
