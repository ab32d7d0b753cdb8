// The notices and the login as the operator sees them.
#include <gtest/gtest.h>

#include <QFile>

#include "backend/TestAddress.h"
#include "support/ScriptedHttp.h"
#include "support/WorkingDirectory.h"
#include "widgets/CLoginDlg.h"
#include "widgets/DialogPictures.h"
#include "widgets/theme/CustomShadowEffect.h"
#include "widgets/theme/DeleteItemConfimDlg.h"
#include "widgets/theme/InformationDlg.h"

namespace {

using support::JsonReply;
using support::ScriptedHttp;

using DialogPictures = support::DialogPictures;

// As the login raises it, with a shadow; as is the next.
TEST_F(DialogPictures, NoticeOfARefusedLogin) {
  InformationDlg notice(0, QStringLiteral("账号或密码错误"));
  ApplyDialogShadow(&notice, new CustomShadowEffect);
  ExpectPicture("notice-refused", &notice);
}

TEST_F(DialogPictures, NoticeOfANetworkThatDoesNotAnswer) {
  InformationDlg notice(1, QString());
  ApplyDialogShadow(&notice, new CustomShadowEffect);
  ExpectPicture("notice-network", &notice);
}

TEST_F(DialogPictures, NoticeOfAnUpdate) {
  InformationDlg notice(2, QString());
  ExpectPicture("notice-update", &notice);
}

TEST_F(DialogPictures, NoticeOfARunningBroadcast) {
  InformationDlg notice(3, QString());
  ExpectPicture("notice-living", &notice);
}

TEST_F(DialogPictures, DeleteConfirmationOfALayer) {
  DeleteItemConfimDlg dialog(1);
  ExpectPicture("delete-layer", &dialog);
}

TEST_F(DialogPictures, DeleteConfirmationOfAText) {
  DeleteItemConfimDlg dialog(0);
  ExpectPicture("delete-text", &dialog);
}

TEST_F(DialogPictures, LoginAtItsFirstStart) {
  const support::WorkingDirectory directory;
  ScriptedHttp server;
  SetTestAddress(server.Address());
  QFile picture(QStringLiteral(":/orvane/qietu/test.png"));
  ASSERT_TRUE(picture.open(QIODevice::ReadOnly));
  server.SetReplies({JsonReply(("{\"code\":0,\"link\":\"" + server.Address() + "/x\"}").toUtf8()),
                     JsonReply(picture.readAll())});
  CLoginDlg dialog;
  ApplyDialogShadow(&dialog, new CustomShadowEffect);
  ExpectPicture("login", &dialog);
}

}  // namespace
