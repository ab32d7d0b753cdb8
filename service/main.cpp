#include <sys/stat.h>

#include <QCoreApplication>
#include <QTextCodec>

#include "service/Commands.h"

// Accounts, recordings and the database are for the user alone.
constexpr mode_t kPrivate = 077;

int main(int argc, char** argv) {
  umask(kPrivate);
  QCoreApplication application(argc, argv);
  // Names and paths are UTF-8 also where no locale is set, as under a service manager.
  QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
  return service::RunCommand(QCoreApplication::arguments().mid(1));
}
