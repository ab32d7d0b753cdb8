#include "widgets/LoginSettings.h"

#include <QDebug>
#include <QFile>
#include <QSettings>

namespace widgets {

namespace {

const QString kFile = QStringLiteral("./login.ini");

}  // namespace

SavedAccount ReadLoginSettings() {
  const QSettings settings(kFile, QSettings::IniFormat);
  return {settings.value(QStringLiteral("usr")).toString(),
          settings.value(QStringLiteral("psw")).toString()};
}

void WriteLoginSettings(const SavedAccount& account) {
  QSettings settings(kFile, QSettings::IniFormat);
  settings.setValue(QStringLiteral("usr"), account.usr);
  settings.setValue(QStringLiteral("psw"), account.psw);
  settings.sync();
  if (settings.status() != QSettings::NoError) {
    qWarning() << "the account could not be written to" << kFile << "status" << settings.status();
    return;
  }
  // A file that was there keeps its mode when it is written, and this one holds a password.
  QFile::setPermissions(kFile, QFile::ReadOwner | QFile::WriteOwner);
}

}  // namespace widgets
