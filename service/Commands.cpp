#include "service/Commands.h"

#include <QDir>
#include <QStandardPaths>
#include <cstdio>

#include "service/CommandLine.h"
#include "service/Secrets.h"

namespace service {

namespace {

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
  static constexpr struct {
    const char* words;
    Command run;
  } kCommands[] = {
      {"serve", &ServeCommand},
      {"account add", &AccountAdd},
      {"account passwd", &AccountPasswd},
      {"account remove", &AccountRemove},
      {"account list", &AccountList},
      {"activity add", &ActivityAdd},
      {"activity edit", &ActivityEdit},
      {"activity end", &ActivityEnd},
      {"activity remove", &ActivityRemove},
      {"activity list", &ActivityList},
      {"ad set", &AdSet},
      {"ad clear", &AdClear},
  };
  for (const auto& command : kCommands) {
    const QStringList words = QString::fromLatin1(command.words).split(QLatin1Char(' '));
    if (arguments.mid(0, words.size()) == words) {
      if (!InitSecrets()) {
        return PrintError(QStringLiteral("this system gives no random numbers"), kRefused);
      }
      return command.run(arguments.mid(words.size()));
    }
  }
  if (arguments.contains(QStringLiteral("--help")) || arguments.contains(QStringLiteral("-h"))) {
    std::fputs(kOverview, stdout);
    return kOk;
  }
  std::fputs(kOverview, stderr);
  return kUsage;
}

}  // namespace service
