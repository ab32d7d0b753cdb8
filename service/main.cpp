#include <sys/stat.h>

#include <QCoreApplication>

#include "service/Commands.h"

// Accounts, recordings and the database are for the user alone.
constexpr mode_t kPrivate = 077;

int main(int argc, char** argv) {
  umask(kPrivate);
  QCoreApplication application(argc, argv);
  return service::RunCommand(QCoreApplication::arguments().mid(1));
}
