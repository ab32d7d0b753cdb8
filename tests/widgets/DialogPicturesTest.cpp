// The dialogs as the operator sees them: on a screen with a window manager and a compositor, held
// against pictures that are kept in reference/. tools/remake-reference-pictures makes those anew.
#include <gtest/gtest.h>

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTextEdit>
#include <memory>
#include <string>
#include <vector>

#include "backend/TestAddress.h"
#include "support/ScriptedHttp.h"
#include "support/VirtualDesktop.h"
#include "support/WorkingDirectory.h"
#include "widgets/CLoginDlg.h"
#include "widgets/PictureCompare.h"
#include "widgets/theme/CustomShadowEffect.h"
#include "widgets/theme/DeleteItemConfimDlg.h"
#include "widgets/theme/InformationDlg.h"
#include "widgets/theme/Theme.h"

namespace {

using support::Compare;
using support::JsonReply;
using support::PictureDifference;
using support::ScreenPicture;
using support::ScriptedHttp;
using support::VirtualDesktop;

// Away from the pointer, which stands in the middle of the screen and would light up a button.
constexpr QPoint kPlace(60, 60);
// How much of the screen around a dialog belongs to its picture.
constexpr int kSurroundings = 20;
constexpr int kPatienceMs = 15000;

QImage ImageOf(const ScreenPicture& screen) {
  const QImage shared(screen.rgb.data(), screen.width, screen.height, 3 * screen.width,
                      QImage::Format_RGB888);
  return shared.convertToFormat(QImage::Format_RGB32);
}

// Where a dialog shows text, in the coordinates of its picture.
std::vector<QRect> TextsOf(const QWidget& dialog) {
  std::vector<QRect> texts;
  for (const QWidget* child : dialog.findChildren<QWidget*>()) {
    const auto* label = qobject_cast<const QLabel*>(child);
    const auto* button = qobject_cast<const QPushButton*>(child);
    const bool hasText = (label != nullptr && !label->text().isEmpty()) ||
                         (button != nullptr && !button->text().isEmpty()) ||
                         qobject_cast<const QLineEdit*>(child) != nullptr ||
                         qobject_cast<const QTextEdit*>(child) != nullptr;
    if (hasText && child->isVisible()) {
      const QPoint corner = child->mapTo(&dialog, QPoint(0, 0));
      texts.emplace_back(corner + QPoint(kSurroundings, kSurroundings), child->size());
    }
  }
  return texts;
}

class DialogPictures : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    s_desktop = new VirtualDesktop;
    support::DesktopOptions options;
    options.windowManager = true;
    options.compositor = true;
    ASSERT_TRUE(s_desktop->Start(options)) << s_desktop->Output();
    // The pictures must not depend on the desktop that the tests are started from.
    for (const char* name :
         {"QT_QPA_PLATFORMTHEME", "QT_STYLE_OVERRIDE", "QT_SCALE_FACTOR", "XDG_CURRENT_DESKTOP"}) {
      qunsetenv(name);
    }
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("QT_FONT_DPI", "96");
    static int argc = 1;
    static char name[] = "DialogPicturesTest";
    static char* argv[] = {name, nullptr};
    s_application = new QApplication(argc, argv);
    QApplication::setCursorFlashTime(0);
    PrepareTheme();
  }

  static void TearDownTestSuite() {
    // The application stays: with it Qt would unload its platform plugin, and what that keeps for
    // the life of the process would look lost. It handles no event any more that could miss the
    // screen.
    delete s_desktop;
  }

  // What the screen shows of the dialog, once it stays the same.
  static QImage Shoot(QWidget* dialog) {
    dialog->move(kPlace);
    dialog->show();
    dialog->activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(dialog, kPatienceMs));
    const QRect area = dialog->frameGeometry().adjusted(-kSurroundings, -kSurroundings,
                                                        kSurroundings, kSurroundings);
    QImage last;
    int same = 0;
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
          const QImage now = ImageOf(s_desktop->ReadScreen()).copy(area);
          // A body that can be seen; before the first frame of the compositor there is none.
          const bool drawn = now.pixelColor(now.width() / 2, now.height() - 35).value() < 80;
          same = drawn && now == last ? same + 1 : 0;
          last = now;
          return same >= 5;
        },
        kPatienceMs));
    return last;
  }

  static void ExpectPicture(const std::string& name, QWidget* dialog) {
    const QImage got = Shoot(dialog);
    const QString reference = QString::fromStdString(ORVANE_REFERENCE_DIR "/" + name + ".png");
    if (qEnvironmentVariableIsSet("ORVANE_REMAKE_REFERENCE")) {
      ASSERT_TRUE(got.save(reference));
      return;
    }
    const QImage wanted = QImage(reference).convertToFormat(QImage::Format_RGB32);
    const PictureDifference difference = Compare(got, wanted, TextsOf(*dialog));
    if (difference.pixels > 0) {
      const QDir results(QStringLiteral(ORVANE_PICTURE_RESULTS));
      QDir().mkpath(results.path());
      const QString base = results.filePath(QString::fromStdString(name));
      got.save(base + ".got.png");
      wanted.save(base + ".wanted.png");
      difference.picture.save(base + ".difference.png");
      const QRect where = difference.where;
      ADD_FAILURE() << name << ": " << difference.pixels << " pixels differ, between "
                    << where.left() << "," << where.top() << " and " << where.right() << ","
                    << where.bottom() << "; see " << base.toStdString()
                    << ".{got,wanted,difference}.png";
    }
  }

  static VirtualDesktop* s_desktop;
  static QApplication* s_application;
};

VirtualDesktop* DialogPictures::s_desktop = nullptr;
QApplication* DialogPictures::s_application = nullptr;

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
