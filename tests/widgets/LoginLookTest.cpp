// The login dialog as it looks, moves and takes the keyboard.
#include <gtest/gtest.h>

#include <QApplication>
#include <QInputMethodEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QTest>

#include "widgets/LoginRig.h"

namespace {

class LoginLook : public LoginTest {};

void Send(QWidget* widget, QEvent::Type type, QPoint global) {
  QMouseEvent event(type, widget->mapFromGlobal(global), global, Qt::LeftButton, Qt::LeftButton,
                    Qt::NoModifier);
  QApplication::sendEvent(widget, &event);
}

TEST_F(LoginLook, StandsAtItsSizesInItsStyle) {
  CLoginDlg dialog;
  EXPECT_EQ(dialog.objectName(), QStringLiteral("LoginDlg"));
  EXPECT_EQ(dialog.windowTitle(), QStringLiteral("登录"));
  EXPECT_EQ(dialog.size(), QSize(806, 529));
  EXPECT_TRUE(dialog.windowFlags().testFlag(Qt::FramelessWindowHint));
  EXPECT_TRUE(dialog.testAttribute(Qt::WA_TranslucentBackground));
  dialog.show();
  EXPECT_EQ(dialog.size(), QSize(806, 529));
  const struct {
    const char* name;
    QSize size;
  } rows[] = {{"m_labLogo", {45, 30}},   {"m_BtnMin", {16, 16}},      {"m_BtnMax", {16, 16}},
              {"m_BtnExit", {16, 16}},   {"m_titleLogin", {200, 30}}, {"m_EditUser", {200, 0}},
              {"m_BtnLogin", {200, 30}}, {"m_titleLogo", {200, 30}}};
  for (const auto& row : rows) {
    const auto* widget = dialog.findChild<QWidget*>(QLatin1String(row.name));
    ASSERT_NE(widget, nullptr) << row.name;
    EXPECT_EQ(widget->width(), row.size.width()) << row.name;
    if (row.size.height() > 0) {
      EXPECT_EQ(widget->height(), row.size.height()) << row.name;
    }
  }
  EXPECT_TRUE(dialog.findChild<QLabel*>(QStringLiteral("m_labTips"))->isHidden());
  EXPECT_EQ(dialog.findChild<QLabel*>(QStringLiteral("m_labTips"))->text(),
            QStringLiteral("账号或密码错误"));
  EXPECT_EQ(dialog.findChild<QLabel*>(QStringLiteral("m_titleLogo"))->text(),
            QStringLiteral("柯维直播助手"));
}

TEST_F(LoginLook, WearsItsStyleSheets) {
  CLoginDlg dialog;
  EXPECT_EQ(dialog.styleSheet(), QStringLiteral("QWidget{background-color:#282A30;}"));
  const QString edit = QStringLiteral(
      "QLineEdit{background-color: #3D3F45;border-width:1px;border-color:#24262A;border-style: "
      "solid;border-radius: 5px;padding: 5px;color:#B4BECC;font-size:11px;font-family:黑体}");
  const QString title =
      QStringLiteral("QLabel{color:#B4BECC;border-width:0px;font-size:13px;font-family:%1}");
  const QPair<const char*, QString> rows[] = {
      {"m_EditUser", edit},
      {"m_EditPsw", edit},
      {"m_titleLogo", title.arg(QStringLiteral("宋体"))},
      {"m_titleLogin", title.arg(QStringLiteral("黑体"))},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(dialog.findChild<QWidget*>(row.first)->styleSheet(), row.second) << row.first;
  }
  const QString button = dialog.findChild<QWidget*>("m_BtnLogin")->styleSheet();
  for (const char* part :
       {"color:#20A0FF;", "font-size:11px;", "font-family:黑体;", "border-width:1px 1px 2px 2px;",
        "QPushButton{", "border-image:url(:/orvane/qietu/layer-normal.png)",
        "QPushButton:hover{border-image:url(:/orvane/qietu/layer-hover.png);}",
        "QPushButton:pressed{border-image:url(:/orvane/qietu/layer-normal.png);}"}) {
    EXPECT_TRUE(button.contains(QString::fromUtf8(part))) << part;
  }
  const QString tip = dialog.findChild<QWidget*>("m_labTips")->styleSheet();
  for (const char* part :
       {"background:#32353C", "border:2px solid #24262A", "border-radius:15px", "padding:5px",
        "margin:10px", "color:#B4BECC", "font-size:13px", "font-family:黑体"}) {
    EXPECT_TRUE(tip.contains(QString::fromUtf8(part))) << part;
  }
  for (const char* name : {"verticalLayout", "verticalLayout_2", "horizontalLayout",
                           "horizontalLayout_2", "horizontalLayout_3"}) {
    EXPECT_NE(dialog.findChild<QLayout*>(name), nullptr) << name;
  }
}

TEST_F(LoginLook, ThePictureFillsItsAreaWhateverItsAspect) {
  QImage image(10, 40, QImage::Format_RGB32);
  image.fill(Qt::red);
  GivePicture(image);
  CLoginDlg dialog;
  const QLabel* label = Picture(dialog);
  ASSERT_FALSE(PictureOf(label).isNull());
  EXPECT_EQ(PictureOf(label).size(), QSize(480, 350));
  dialog.SlotMaxSize();
  EXPECT_EQ(PictureOf(label).size(), QSize(1440, 1050));
  dialog.SlotMaxSize();
  EXPECT_EQ(PictureOf(label).size(), QSize(10, 40));
}

// What it has no room for would be kept, and scaled on each change of its size.
TEST_F(LoginLook, AnEnormousPictureIsReducedToWhatItsAreaCanShow) {
  QImage image(2500, 1500, QImage::Format_RGB32);
  image.fill(Qt::red);
  GivePicture(image);
  CLoginDlg dialog;
  dialog.SlotMaxSize();
  dialog.SlotMaxSize();
  EXPECT_EQ(PictureOf(Picture(dialog)).size(), QSize(1920, 1080));
}

TEST_F(LoginLook, IsMinimisedByItsButton) {
  CLoginDlg dialog;
  dialog.show();
  dialog.findChild<QPushButton*>(QStringLiteral("m_BtnMin"))->click();
  EXPECT_TRUE(dialog.isMinimized());
}

TEST_F(LoginLook, APressInTheTitleStripMovesTheDialogAndOneBelowDoesNot) {
  CLoginDlg dialog;
  dialog.move(100, 100);
  dialog.show();
  const auto* logo = dialog.findChild<QLabel*>(QStringLiteral("m_labLogo"));
  const int edge = logo->mapToGlobal(logo->pos()).y() + logo->height();
  const QPoint inside(dialog.x() + 300, edge);
  Send(&dialog, QEvent::MouseButtonPress, inside);
  Send(&dialog, QEvent::MouseMove, inside + QPoint(7, 9));
  EXPECT_EQ(dialog.pos(), QPoint(107, 109));
  Send(&dialog, QEvent::MouseButtonRelease, inside + QPoint(10, 10));
  EXPECT_EQ(dialog.pos(), QPoint(110, 110));
  const QPoint below(dialog.x() + 300, edge + 11);
  Send(&dialog, QEvent::MouseButtonPress, below);
  Send(&dialog, QEvent::MouseMove, below + QPoint(50, 50));
  EXPECT_EQ(dialog.pos(), QPoint(110, 110));
}

TEST_F(LoginLook, FocusInEitherFieldSelectsItsWholeText) {
  CLoginDlg dialog;
  User(dialog)->setText(QStringLiteral("account"));
  Password(dialog)->setText(QStringLiteral("password"));
  dialog.show();
  for (QLineEdit* edit : {Password(dialog), User(dialog)}) {
    edit->deselect();
    QFocusEvent focus(QEvent::FocusIn, Qt::MouseFocusReason);
    QApplication::sendEvent(edit, &focus);
    QTest::mouseClick(edit, Qt::LeftButton);
    QCoreApplication::processEvents();
    EXPECT_EQ(edit->selectedText(), edit->text());
  }
}

TEST_F(LoginLook, TheCrossRejects) {
  CLoginDlg dialog;
  QTimer::singleShot(0, &dialog, [&dialog] {
    dialog.findChild<QPushButton*>(QStringLiteral("m_BtnExit"))->click();
  });
  EXPECT_EQ(dialog.exec(), QDialog::Rejected);
}

// A screen of 1080 lines is lower than the picture of a maximised dialog with its title above it.
TEST_F(LoginLook, MaximisedItShowsTheWholePictureWithTheFormInItsOwnPart) {
  QImage image(100, 100, QImage::Format_RGB32);
  image.fill(Qt::red);
  QPainter(&image).fillRect(20, 20, 60, 60, Qt::blue);
  for (const QSize screen : {QSize(1920, 1080), QSize(1366, 768), QSize(2560, 1440)}) {
    GivePicture(image);
    CLoginDlg dialog;
    dialog.SlotMaxSize();
    dialog.resize(screen);
    QCoreApplication::processEvents();
    const QLabel* label = Picture(dialog);
    const QRect picture = label->geometry();
    EXPECT_TRUE(dialog.rect().contains(picture));
    EXPECT_LE(picture.width(), 1440);
    EXPECT_LE(picture.height(), 1050);
    const QImage seen = dialog.grab().toImage();
    for (const QPoint corner :
         {picture.topLeft() + QPoint(5, 5), picture.topRight() + QPoint(-5, 5),
          picture.bottomLeft() + QPoint(5, -5), picture.bottomRight() + QPoint(-5, -5)}) {
      EXPECT_EQ(seen.pixelColor(corner), QColor(Qt::red)) << corner.x() << " " << corner.y();
    }
    EXPECT_EQ(seen.pixelColor(picture.center()), QColor(Qt::blue));
    const QWidget* form = dialog.findChild<QWidget*>("m_BtnLogin");
    const int left = form->geometry().left() - picture.right();
    const int right = dialog.width() - form->geometry().right();
    EXPECT_NEAR(left, right, 12) << "the form is at no edge";
  }
}

// At a first start the first field has the keyboard, and says what it is for all the same.
TEST_F(LoginLook, AnEmptyFieldShowsItsPlaceholderWhileItHasTheKeyboardToo) {
  CLoginDlg dialog;
  dialog.show();
  QApplication::setActiveWindow(&dialog);
  QLineEdit* user = User(dialog);
  ASSERT_TRUE(user->hasFocus());
  // Beside the caret in the middle.
  const auto left = [user] {
    const QImage image = user->grab().toImage();
    return image.copy(0, 0, image.width() / 2 - 3, image.height());
  };
  const QImage withKeyboard = left();
  Password(dialog)->setFocus();
  EXPECT_EQ(withKeyboard, left());
  user->setFocus();
  user->setPlaceholderText(QString());
  const QImage blank = left();
  EXPECT_NE(withKeyboard, blank);
  // Neither behind a text nor behind one that an input method is making.
  user->setPlaceholderText(QStringLiteral("企业邮箱/手机号"));
  user->setText(QStringLiteral(" "));
  EXPECT_EQ(left(), blank);
  user->clear();
  QInputMethodEvent composing(QStringLiteral(" "), {});
  QApplication::sendEvent(user, &composing);
  EXPECT_EQ(left(), blank);
  QInputMethodEvent given;
  QApplication::sendEvent(user, &given);
  EXPECT_EQ(left(), withKeyboard);
}

}  // namespace
