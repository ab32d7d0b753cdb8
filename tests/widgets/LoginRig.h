// The login dialog before a service of the test's own, in a directory of its own.
#ifndef ORVANE_TESTS_WIDGETS_LOGINRIG_H
#define ORVANE_TESTS_WIDGETS_LOGINRIG_H

#include <gtest/gtest.h>

#include <QBuffer>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSettings>

#include "backend/TestAddress.h"
#include "sources/DeviceCatalogue.h"
#include "support/Notices.h"
#include "support/ScriptedHttp.h"
#include "support/WorkingDirectory.h"
#include "widgets/CLoginDlg.h"

using support::JsonReply;
using support::ScriptedHttp;
using support::ScriptedReply;

inline const ScriptedReply kNoAd = JsonReply(R"({"code":-1})");

class LoginTest : public ::testing::Test {
 protected:
  void SetUp() override {
    SetTestAddress(server.Address());
    server.SetReplies({kNoAd});
    catalogue->loggedIn = 0;
    catalogue->userToken.clear();
    catalogue->userName.clear();
  }

  static QLineEdit* User(CLoginDlg& dialog) {
    return dialog.findChild<QLineEdit*>(QStringLiteral("m_EditUser"));
  }
  static QLineEdit* Password(CLoginDlg& dialog) {
    return dialog.findChild<QLineEdit*>(QStringLiteral("m_EditPsw"));
  }
  static void ClickLogin(CLoginDlg& dialog) {
    dialog.findChild<QPushButton*>(QStringLiteral("m_BtnLogin"))->click();
  }
  // The service's next dialog has this picture.
  void GivePicture(const QImage& image) {
    QBuffer png;
    image.save(&png, "PNG");
    server.SetReplies({JsonReply(("{\"code\":0,\"link\":\"" + server.Address() + "/x\"}").toUtf8()),
                       JsonReply(png.data())});
  }
  static QLabel* Picture(CLoginDlg& dialog) {
    return dialog.findChild<QLabel*>(QStringLiteral("m_labShowPic"));
  }
  static QString Saved(const char* key) {
    return QSettings(QStringLiteral("./login.ini"), QSettings::IniFormat)
        .value(QLatin1String(key))
        .toString();
  }

  support::WorkingDirectory directory;
  ScriptedHttp server;
  support::Notices notices;
  DeviceCatalogue* catalogue = DeviceCatalogue::Instance();
};

inline QPixmap PictureOf(const QLabel* label) {
  return label->pixmap(Qt::ReturnByValue);
}

#endif
