#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QApplication>
#include <QFile>
#include <QTimer>
#include <functional>
#include <random>

#include "widgets/LoginRig.h"
#include "widgets/LoginSettings.h"
#include "widgets/theme/InformationDlg.h"

namespace {

TEST_F(LoginTest, AFirstStartShowsTwoEmptyFieldsWithTheirPlaceholders) {
  CLoginDlg dialog;
  EXPECT_TRUE(User(dialog)->text().isEmpty());
  EXPECT_TRUE(Password(dialog)->text().isEmpty());
  EXPECT_EQ(User(dialog)->placeholderText(), QStringLiteral("企业邮箱/手机号"));
  EXPECT_EQ(Password(dialog)->placeholderText(), QStringLiteral("密码"));
  EXPECT_EQ(Password(dialog)->echoMode(), QLineEdit::Password);
  EXPECT_FALSE(QFile::exists(QStringLiteral("./login.ini")));
}

TEST_F(LoginTest, AnEmptyAccountAndPasswordAreSentAsTheyAre) {
  CLoginDlg dialog;
  server.SetReplies({JsonReply(R"({"code":-1,"message":"no"})")});
  ClickLogin(dialog);
  ASSERT_EQ(server.Requests().size(), 1);
  EXPECT_TRUE(server.Requests().first().contains("name=\"login\"\r\n\r\n\r\n"));
  EXPECT_TRUE(server.Requests().first().contains("name=\"password\"\r\n\r\n\r\n"));
  EXPECT_EQ(notices.texts, QStringList{QStringLiteral("no")});
}

TEST_F(LoginTest, ASuccessStoresTheAccountAndAccepts) {
  CLoginDlg dialog;
  server.SetReplies({JsonReply(R"({"code":0,"token":"tok"})")});
  User(dialog)->setText(QStringLiteral("me@example"));
  Password(dialog)->setText(QStringLiteral("s3cret;=#\"密"));
  QTimer::singleShot(0, &dialog, [&dialog] { ClickLogin(dialog); });
  EXPECT_EQ(dialog.exec(), QDialog::Accepted);
  EXPECT_TRUE(catalogue->loggedIn);
  EXPECT_EQ(catalogue->userToken, QStringLiteral("tok"));
  EXPECT_EQ(catalogue->userName, QStringLiteral("me@example"));
  EXPECT_EQ(Saved("usr"), QStringLiteral("me@example"));
  EXPECT_EQ(Saved("psw"), QStringLiteral("s3cret;=#\"密"));
  CLoginDlg next;
  EXPECT_EQ(User(next)->text(), QStringLiteral("me@example"));
  EXPECT_EQ(Password(next)->text(), QStringLiteral("s3cret;=#\"密"));
}

TEST_F(LoginTest, ARefusalShowsTheServicesMessageAndKeepsTheDialogOpen) {
  CLoginDlg dialog;
  dialog.show();
  server.SetReplies({JsonReply(R"({"code":-5,"message":"<b>no such account</b>"})")});
  User(dialog)->setText(QStringLiteral("someone"));
  ClickLogin(dialog);
  EXPECT_EQ(notices.texts, QStringList{QStringLiteral("<b>no such account</b>")});
  EXPECT_EQ(notices.shadows, QList<bool>{true});
  EXPECT_TRUE(dialog.isVisible());
  EXPECT_FALSE(catalogue->loggedIn);
  EXPECT_FALSE(QFile::exists(QStringLiteral("./login.ini")));
  EXPECT_EQ(User(dialog)->selectedText(), QStringLiteral("someone"));
}

TEST_F(LoginTest, ARefusalWithoutAMessageShowsAnEmptyNotice) {
  CLoginDlg dialog;
  server.SetReplies({JsonReply(R"({"code":-5})")});
  ClickLogin(dialog);
  EXPECT_EQ(notices.texts, QStringList{QString()});
}

TEST_F(LoginTest, AReplyThatIsNoObjectCountsAsRefused) {
  CLoginDlg dialog;
  server.SetReplies({JsonReply("[]")});
  ClickLogin(dialog);
  EXPECT_FALSE(catalogue->loggedIn);
  EXPECT_EQ(notices.texts, QStringList{QStringLiteral("服务器的回复无法识别")});
}

TEST_F(LoginTest, AReplyWithoutATokenStillLogsIn) {
  for (const char* reply : {R"({"code":0})", "{}"}) {
    CLoginDlg dialog;
    catalogue->loggedIn = 0;
    catalogue->userToken = QStringLiteral("of another");
    server.SetReplies({JsonReply(reply)});
    ClickLogin(dialog);
    EXPECT_TRUE(catalogue->loggedIn) << reply;
    EXPECT_EQ(catalogue->userToken, QString()) << reply;
    EXPECT_EQ(dialog.result(), QDialog::Accepted) << reply;
  }
}

// Its constructor asks for it, in front of the event loop that shows the dialog.
TEST_F(LoginTest, AQuitWhileTheAdvertisementHangsEndsIt) {
  ScriptedReply hung;
  hung.never = true;
  server.SetReplies({hung});
  QTimer hand;
  QObject::connect(&hand, &QTimer::timeout, [&] {
    if (server.Requests().size() == 1) {
      hand.stop();
      QApplication::quit();
    }
  });
  int result = QDialog::Accepted;
  QTimer::singleShot(0, [&] {
    hand.start(1);
    CLoginDlg dialog;
    result = dialog.exec();
  });
  QApplication::exec();
  EXPECT_FALSE(hand.isActive());
  EXPECT_EQ(result, QDialog::Rejected);
  EXPECT_TRUE(notices.texts.isEmpty());
}

// A service that hangs must not hold anybody: without this the window would go and the process
// stay.
TEST_F(LoginTest, LeavingItWhileALoginIsOutEndsTheLogin) {
  ScriptedReply hung;
  hung.never = true;
  const std::function<void(CLoginDlg&)> ways[] = {
      [](CLoginDlg& dialog) { dialog.findChild<QPushButton*>("m_BtnExit")->click(); },
      [](CLoginDlg& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); },
      [](CLoginDlg& dialog) { dialog.close(); },
  };
  CLoginDlg dialog;
  for (const auto& leave : ways) {
    server.SetReplies({hung});
    QTimer hand;
    QObject::connect(&hand, &QTimer::timeout, [&] {
      if (server.Requests().size() == 1) {
        hand.stop();
        leave(dialog);
      }
    });
    hand.start(1);
    QTimer::singleShot(0, &dialog, [&dialog] { ClickLogin(dialog); });
    EXPECT_EQ(dialog.exec(), QDialog::Rejected);
    EXPECT_FALSE(catalogue->loggedIn);
    EXPECT_TRUE(notices.texts.isEmpty());
  }
  // The same dialog serves the next time.
  server.SetReplies({JsonReply(R"({"code":0,"token":"tok"})")});
  QTimer::singleShot(0, &dialog, [&dialog] { ClickLogin(dialog); });
  EXPECT_EQ(dialog.exec(), QDialog::Accepted);
  EXPECT_EQ(catalogue->userToken, QStringLiteral("tok"));
}

TEST_F(LoginTest, AReplyThatComesAsItIsLeftLogsNobodyIn) {
  CLoginDlg dialog;
  ScriptedReply late = JsonReply(R"({"code":0,"token":"tok"})");
  late.delayMs = 50;
  server.SetReplies({late});
  User(dialog)->setText(QStringLiteral("me"));
  QTimer hand;
  QObject::connect(&hand, &QTimer::timeout, [&] {
    if (server.Requests().size() == 1) {
      hand.stop();
      dialog.SlotExitSize();
      QTest::qWait(100);  // the reply comes, and the login has not returned yet
    }
  });
  hand.start(1);
  QTimer::singleShot(0, &dialog, [&dialog] { ClickLogin(dialog); });
  EXPECT_EQ(dialog.exec(), QDialog::Rejected);
  EXPECT_FALSE(catalogue->loggedIn);
  EXPECT_TRUE(catalogue->userToken.isEmpty());
  EXPECT_FALSE(QFile::exists(QStringLiteral("./login.ini")));
}

TEST_F(LoginTest, NoReplyShowsTheNetworkNoticeOnce) {
  CLoginDlg dialog;
  dialog.show();
  server.SetReplies({JsonReply("{}", 503)});
  ClickLogin(dialog);
  EXPECT_EQ(notices.texts, QStringList{QStringLiteral("网络不通畅，请检查网络连接")});
  EXPECT_TRUE(dialog.isVisible());
  EXPECT_FALSE(catalogue->loggedIn);
}

TEST_F(LoginTest, AFailedAdvertisementCallShowsTheNoticeAndThenAnEmptyPicture) {
  server.SetReplies({JsonReply("{}", 500)});
  CLoginDlg dialog;
  EXPECT_EQ(notices.texts, QStringList{QStringLiteral("网络不通畅，请检查网络连接")});
  EXPECT_TRUE(PictureOf(dialog.findChild<QLabel*>(QStringLiteral("m_labShowPic"))).isNull());
}

TEST_F(LoginTest, APictureThatCanNotBeFetchedLeavesTheAreaEmptyWithoutAWord) {
  server.SetReplies({JsonReply(("{\"code\":0,\"link\":\"" + server.Address() + "/x\"}").toUtf8()),
                     JsonReply("no picture")});
  CLoginDlg dialog;
  EXPECT_TRUE(notices.texts.isEmpty());
  EXPECT_TRUE(PictureOf(dialog.findChild<QLabel*>(QStringLiteral("m_labShowPic"))).isNull());
}

TEST_F(LoginTest, ARefusedOrUnreadableAdvertisementLeavesTheAreaEmptyWithoutAWord) {
  for (const char* reply : {R"({"code":-1,"link":"http://127.0.0.1:1/x"})", "<html>", "", "[]"}) {
    server.SetReplies({JsonReply(reply)});
    const CLoginDlg dialog;
    EXPECT_EQ(server.Requests().size(), 1) << reply;
    EXPECT_TRUE(PictureOf(dialog.findChild<QLabel*>("m_labShowPic")).isNull()) << reply;
  }
  EXPECT_TRUE(notices.texts.isEmpty());
}

TEST_F(LoginTest, ASavedEmptyAccountShowsEmptyFields) {
  widgets::WriteLoginSettings({QString(), QString()});
  const CLoginDlg dialog;
  EXPECT_TRUE(dialog.findChild<QLineEdit*>(QStringLiteral("m_EditUser"))->text().isEmpty());
  EXPECT_TRUE(dialog.findChild<QLineEdit*>(QStringLiteral("m_EditPsw"))->text().isEmpty());
}

TEST_F(LoginTest, ADirectoryInThePlaceOfTheFileReadsAsEmptyAndALoginStillSucceeds) {
  ASSERT_EQ(mkdir("./login.ini", 0700), 0);
  CLoginDlg dialog;
  EXPECT_TRUE(User(dialog)->text().isEmpty());
  server.SetReplies({JsonReply(R"({"code":0,"token":"tok"})")});
  User(dialog)->setText(QStringLiteral("me"));
  ClickLogin(dialog);
  EXPECT_TRUE(catalogue->loggedIn);
  EXPECT_EQ(dialog.result(), QDialog::Accepted);
}

TEST_F(LoginTest, AFileFullOfGarbageReadsWithoutHarm) {
  std::mt19937 random(7);
  const QByteArray seed =
      "[General]\nusr=abc\npsw=\"d\\x5bef\"\n[x]\nusr=@Variant(\\0\\0\\0\\x11)\n";
  for (int round = 0; round < 300; ++round) {
    support::WorkingDirectory fresh;
    QByteArray bytes = round % 3 == 0 ? QByteArray(2000, '\0') : seed;
    for (int edit = 0; edit < 20; ++edit) {
      bytes[static_cast<int>(random() % static_cast<unsigned>(bytes.size()))] =
          static_cast<char>(random());
    }
    QFile file(QStringLiteral("./login.ini"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    file.close();
    const widgets::SavedAccount account = widgets::ReadLoginSettings();
    EXPECT_LE(account.usr.size(), 2 * bytes.size());
  }
}

TEST_F(LoginTest, ASecondClickDuringARequestSendsNothing) {
  CLoginDlg dialog;
  ScriptedReply slow = JsonReply(R"({"code":-1,"message":"x"})");
  slow.delayMs = 60;
  server.SetReplies({slow});
  QTimer::singleShot(20, &dialog, [&dialog] { ClickLogin(dialog); });
  ClickLogin(dialog);
  EXPECT_EQ(server.Requests().size(), 1);
}

}  // namespace
