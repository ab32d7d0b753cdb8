#include <gtest/gtest.h>

#include <QCoreApplication>
#include <algorithm>
#include <memory>
#include <utility>

#include <QApplication>
#include <QDialog>
#include <QFrame>
#include <QImage>
#include <QImageReader>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QTest>
#include <QTextBlock>
#include <QTextEdit>
#include <QTimer>

#include "widgets/DialogHand.h"
#include "widgets/theme/CustomShadowEffect.h"
#include "widgets/theme/DeleteItemConfimDlg.h"
#include "widgets/theme/Frameless.h"
#include "widgets/theme/InformationDlg.h"
#include "widgets/theme/Theme.h"
#include "widgets/theme/TitleButtons.h"

namespace {

struct PictureSize {
  const char* name;
  int width;
  int height;
};

constexpr PictureSize kPictures[] = {
    {"action-btn", 124, 44},
    {"activity-selected", 41, 30},
    {"actlist-over", 80, 32},
    {"bottombar-addlayer", 44, 44},
    {"bottombar-addwindow", 44, 44},
    {"comfirm_btn", 62, 32},
    {"layer-delete", 16, 16},
    {"layer-edit", 16, 16},
    {"layer-hover", 284, 44},
    {"layer-invisible", 16, 16},
    {"layer-normal", 284, 44},
    {"layer-texticon", 14, 15},
    {"layer-visible", 16, 12},
    {"menu_add", 130, 176},
    {"select-unfold", 7, 12},
    {"test-image", 215, 121},
    {"test", 480, 350},
    {"topbar-close", 16, 16},
    {"topbar-logo", 42, 30},
    {"topbar-max", 16, 16},
    {"topbar-min", 16, 16},
    {"user-exit", 16, 16},
    {"user-unfold", 7, 4},
    {"window-add", 210, 136},
    {"window-selected", 16, 12},
    {"tessaly-logo", 192, 192},
};

template <typename T>
T* Child(const QWidget& parent, const char* name) {
  return parent.findChild<T*>(QLatin1String(name));
}

QString ButtonText(const QWidget& dialog, const char* name) {
  const auto* button = Child<QPushButton>(dialog, name);
  return button != nullptr ? button->text() : QStringLiteral("<none>");
}

// Runs the dialog modally and clicks the named button in it; the result of exec.
int ExecAndClick(QDialog* dialog, const char* button) {
  QTimer::singleShot(0, dialog, [dialog, button] {
    QTest::mouseClick(Child<QPushButton>(*dialog, button), Qt::LeftButton);
  });
  return dialog->exec();
}

// A dialog that moves as the frameless ones do.
class Movable : public QWidget {
 public:
  Movable() { setGeometry(100, 100, 400, 300); }
  FramelessDrag drag;
  bool accepted = false;

 protected:
  void mousePressEvent(QMouseEvent* event) override {
    drag.Press(this, event);
    accepted = event->isAccepted();
  }
  void mouseMoveEvent(QMouseEvent* event) override { drag.Move(this, event); }
  void mouseReleaseEvent(QMouseEvent* event) override { drag.Release(event); }
};

void Send(QWidget* widget, QEvent::Type type, QPoint at, QPoint global,
          Qt::MouseButton button = Qt::LeftButton) {
  QMouseEvent event(type, at, global, button, button, Qt::NoModifier);
  QApplication::sendEvent(widget, &event);
}

// A dialog that is made anew for each use has a shadow at its first use alone.
TEST(ShadowOnce, TheFirstDialogGetsItAndNoLaterOne) {
  QObject owner;
  CustomShadowEffect* shadow = nullptr;
  auto first = std::make_unique<QDialog>();
  ShadowOnce(first.get(), &shadow, &owner);
  ASSERT_NE(shadow, nullptr);
  EXPECT_EQ(first->graphicsEffect(), shadow);
  EXPECT_TRUE(first->autoFillBackground());
  EXPECT_EQ(shadow->blurRadius, 20);
  EXPECT_EQ(shadow->distance, 2);
  EXPECT_EQ(shadow->color, QColor(0, 0, 0, 80));
  const CustomShadowEffect* const given = shadow;
  ShadowOnce(first.get(), &shadow, &owner);
  EXPECT_EQ(first->graphicsEffect(), given);
  first.reset();
  QDialog second;
  ShadowOnce(&second, &shadow, &owner);
  EXPECT_EQ(second.graphicsEffect(), nullptr);
  EXPECT_FALSE(second.autoFillBackground());
  EXPECT_EQ(shadow, given);
}

}  // namespace

// Whatever the language of the session: the program speaks Chinese, and so do its file choosers.
TEST(Theme, QtsOwnDialogsSpeakChinese) {
  PrepareTheme();
  for (const auto& [context, text] :
       {std::pair("QFileDialog", "&Open"), std::pair("QFileDialog", "Look in:"),
        std::pair("QPlatformTheme", "Cancel"), std::pair("QColorDialog", "Hu&e:")}) {
    const QString shown = QCoreApplication::translate(context, text);
    EXPECT_NE(shown, QLatin1String(text)) << context;
    EXPECT_TRUE(std::any_of(shown.begin(), shown.end(), [](QChar unit) {
      return unit.script() == QChar::Script_Han;
    })) << shown.toStdString();
  }
}

TEST(Pictures, AllTwentySixAreCompiledInAtTheirSizes) {
  ASSERT_EQ(std::size(kPictures), 26u);
  for (const PictureSize& picture : kPictures) {
    const QString path = QStringLiteral(":/orvane/qietu/%1.png").arg(QLatin1String(picture.name));
    EXPECT_EQ(QImageReader(path).size(), QSize(picture.width, picture.height)) << picture.name;
    EXPECT_FALSE(QImage(path).isNull()) << picture.name;
  }
}

TEST(InformationDlg, EachKindHasItsTitleTextAndButton) {
  const struct {
    std::uint32_t kind;
    const char* title;
    const char* text;
    const char* button;
  } rows[] = {
      {0, "提示", "账号不存在", "我知道了"},
      {1, "提示", "网络不通畅，请检查网络连接", "好的"},
      {3, "提示", "正在直播过程中，请先停止直播", "我知道了"},
  };
  for (const auto& row : rows) {
    const InformationDlg dialog(row.kind, QStringLiteral("账号不存在"));
    EXPECT_EQ(Child<QLabel>(dialog, "titleLabel")->text(), QString::fromUtf8(row.title));
    EXPECT_EQ(Child<QLabel>(dialog, "textLabel")->text(), QString::fromUtf8(row.text));
    EXPECT_EQ(ButtonText(dialog, "okButton"), QString::fromUtf8(row.button));
    EXPECT_EQ(Child<QTextEdit>(dialog, "textEdit"), nullptr);
    EXPECT_EQ(Child<QPushButton>(dialog, "laterButton"), nullptr);
  }
}

TEST(InformationDlg, KindOneIgnoresTheTextItIsGiven) {
  const InformationDlg dialog(1, QStringLiteral("something else"));
  EXPECT_EQ(Child<QLabel>(dialog, "textLabel")->text(),
            QStringLiteral("网络不通畅，请检查网络连接"));
}

TEST(InformationDlg, KindTwoListsTheNewsWithWiderLines) {
  const InformationDlg dialog(2, QString());
  const auto* edit = Child<QTextEdit>(dialog, "textEdit");
  ASSERT_NE(edit, nullptr);
  EXPECT_TRUE(edit->isReadOnly());
  EXPECT_EQ(edit->toPlainText(), QStringLiteral("1.2.0版更新内容：\n- 修复bug\n- 新增调音功能"));
  for (QTextBlock block = edit->document()->begin(); block.isValid(); block = block.next()) {
    EXPECT_EQ(block.blockFormat().lineHeight(), 5);
    EXPECT_EQ(block.blockFormat().lineHeightType(), QTextBlockFormat::LineDistanceHeight);
  }
  EXPECT_EQ(Child<QLabel>(dialog, "titleLabel")->text(), QStringLiteral("更新提示"));
  EXPECT_EQ(Child<QLabel>(dialog, "textLabel"), nullptr);
  EXPECT_EQ(ButtonText(dialog, "okButton"), QStringLiteral("立即更新"));
  EXPECT_EQ(ButtonText(dialog, "laterButton"), QStringLiteral("稍后提示"));
  EXPECT_EQ(Child<QWidget>(dialog, "textEdit")->geometry(), QRect(40, 70, 400, 170));
  EXPECT_EQ(Child<QWidget>(dialog, "okButton")->geometry(), QRect(250, 260, 120, 40));
  EXPECT_EQ(Child<QWidget>(dialog, "laterButton")->geometry(), QRect(110, 260, 120, 40));
}

TEST(InformationDlg, AKindBeyondTheLastHasOneButtonAndNoWords) {
  const InformationDlg dialog(4, QStringLiteral("text"));
  EXPECT_TRUE(Child<QLabel>(dialog, "titleLabel")->text().isEmpty());
  EXPECT_TRUE(Child<QLabel>(dialog, "textLabel")->text().isEmpty());
  EXPECT_EQ(Child<QWidget>(dialog, "okButton")->geometry(), QRect(180, 260, 120, 40));
}

TEST(InformationDlg, StandsAtItsGeometryInItsStyle) {
  const InformationDlg dialog(0, QStringLiteral("x"));
  EXPECT_EQ(dialog.objectName(), QStringLiteral("InformationDlg"));
  EXPECT_EQ(dialog.size(), QSize(480, 320));
  EXPECT_EQ(dialog.minimumSize(), dialog.size());
  EXPECT_EQ(dialog.maximumSize(), dialog.size());
  EXPECT_EQ(dialog.font().pointSize(), 12);
  EXPECT_EQ(dialog.font().weight(), 75);
  EXPECT_TRUE(dialog.testAttribute(Qt::WA_TranslucentBackground));
  EXPECT_TRUE(dialog.windowFlags().testFlag(Qt::FramelessWindowHint));
  EXPECT_EQ(Child<QWidget>(dialog, "m_BtnExit")->geometry().topLeft(), QPoint(445, 23));
  EXPECT_EQ(Child<QWidget>(dialog, "titleLabel")->geometry(), QRect(20, 18, 72, 25));
  EXPECT_EQ(Child<QWidget>(dialog, "textLabel")->geometry(), QRect(10, 136, 460, 28));
  EXPECT_EQ(Child<QWidget>(dialog, "okButton")->geometry(), QRect(180, 260, 120, 40));
  EXPECT_EQ(dialog.styleSheet(),
            QStringLiteral("QLabel{color:#B4BECC;}QDialog{background:#282A30;}QTextEdit{background:"
                           "#282A30;color:#B4BECC;}"));
  EXPECT_EQ(Child<QWidget>(dialog, "okButton")->styleSheet(),
            QStringLiteral("QPushButton{border-image:url(:/orvane/qietu/action-btn.png);font:bold "
                           "12px 黑体;color:#20a0ff;}"));
}

TEST(InformationDlg, TheButtonAcceptsAndTheCrossCloses) {
  InformationDlg byButton(0, QString());
  EXPECT_EQ(ExecAndClick(&byButton, "okButton"), QDialog::Accepted);
  InformationDlg byCross(0, QString());
  EXPECT_EQ(ExecAndClick(&byCross, "m_BtnExit"), QDialog::Rejected);
  InformationDlg later(2, QString());
  EXPECT_EQ(ExecAndClick(&later, "laterButton"), QDialog::Rejected);
}

TEST(InformationDlg, EnterPressesTheTextButtonWithTheFocus) {
  InformationDlg later(2, QString());
  EXPECT_EQ(support::EndsByEnterOn(&later, "laterButton"), QDialog::Rejected);
  InformationDlg now(2, QString());
  EXPECT_EQ(support::EndsByEnterOn(&now, "okButton"), QDialog::Accepted);
  InformationDlg cross(2, QString());
  EXPECT_EQ(support::EndsByEnterOn(&cross, "m_BtnExit"), QDialog::Accepted);
}

TEST(InformationDlg, EnterAnswersItAndNeverTheCross) {
  InformationDlg dialog(0, QString());
  QTimer::singleShot(0, &dialog, [&dialog] { QTest::keyClick(&dialog, Qt::Key_Return); });
  EXPECT_EQ(dialog.exec(), QDialog::Accepted);
}

TEST(DeleteItemConfimDlg, AsksOfAWindowForATextLayerAndOfALayerForTheRest) {
  EXPECT_EQ(Child<QLabel>(DeleteItemConfimDlg(0), "titleLabel")->text(),
            QStringLiteral("确认删除该窗口"));
  EXPECT_EQ(Child<QLabel>(DeleteItemConfimDlg(1), "titleLabel")->text(),
            QStringLiteral("确认删除该图层"));
}

TEST(DeleteItemConfimDlg, OnlyTheDeleteButtonAccepts) {
  DeleteItemConfimDlg yes(1);
  EXPECT_EQ(ExecAndClick(&yes, "deleteBtn"), QDialog::Accepted);
  DeleteItemConfimDlg no(1);
  EXPECT_EQ(ExecAndClick(&no, "cancelBtn"), QDialog::Rejected);
  DeleteItemConfimDlg enter(1);
  QTimer::singleShot(0, &enter, [&enter] { QTest::keyClick(&enter, Qt::Key_Return); });
  EXPECT_EQ(enter.exec(), QDialog::Rejected);
}

TEST(DeleteItemConfimDlg, EnterDeletesOnlyWithTheFocusMovedToTheDeleteButton) {
  DeleteItemConfimDlg yes(1);
  EXPECT_EQ(support::EndsByEnterOn(&yes, "deleteBtn"), QDialog::Accepted);
  DeleteItemConfimDlg no(1);
  EXPECT_EQ(support::EndsByEnterOn(&no, "cancelBtn"), QDialog::Rejected);
}

// Closing one while the window is away must not count as the end of the last window.
TEST(Dialogs, TheEndOfOneIsNotTheEndOfTheProgram) {
  EXPECT_FALSE(InformationDlg(0, QString()).testAttribute(Qt::WA_QuitOnClose));
  EXPECT_FALSE(DeleteItemConfimDlg(1).testAttribute(Qt::WA_QuitOnClose));
}

TEST(DeleteItemConfimDlg, StandsAtItsGeometryInItsStyle) {
  const DeleteItemConfimDlg dialog(1);
  EXPECT_EQ(dialog.size(), QSize(183, 114));
  EXPECT_EQ(dialog.minimumSize(), dialog.size());
  EXPECT_EQ(dialog.maximumSize(), dialog.size());
  EXPECT_TRUE(dialog.windowFlags().testFlag(Qt::WindowStaysOnTopHint));
  EXPECT_TRUE(dialog.windowFlags().testFlag(Qt::FramelessWindowHint));
  EXPECT_EQ(Child<QFrame>(dialog, "frame")->geometry(), QRect(0, 0, 180, 110));
  EXPECT_EQ(Child<QFrame>(dialog, "frame")->frameShape(), QFrame::StyledPanel);
  EXPECT_EQ(Child<QLabel>(dialog, "titleLabel")->geometry(), QRect(34, 19, 121, 22));
  EXPECT_EQ(Child<QPushButton>(dialog, "deleteBtn")->geometry(), QRect(100, 55, 60, 30));
  EXPECT_EQ(Child<QPushButton>(dialog, "cancelBtn")->geometry(), QRect(20, 55, 60, 30));
  EXPECT_EQ(ButtonText(dialog, "deleteBtn"), QStringLiteral("删除"));
  EXPECT_EQ(ButtonText(dialog, "cancelBtn"), QStringLiteral("取消"));
}

TEST(TitleButtons, TheStyleSheetIsThePattern) {
  EXPECT_EQ(TitleButtonStyle(QStringLiteral("m_BtnExit"), QStringLiteral("topbar-close.png")),
            QStringLiteral(
                "QPushButton#m_BtnExit\n{\n\tborder: none;\n\tmin-height: 16px;\n\tmin-width:  "
                "16px;\n\tmax-height: 16px;\n\tmax-width:  16px;\n\tbackground:url(:/orvane/"
                "qietu/topbar-close.png);\n\tbackground-repeat: no-repeat;\n\t"
                "background-position: center;\n}"));
  EXPECT_TRUE(
      TitleButtonStyle(QStringLiteral("m"), QStringLiteral("p"), QStringLiteral("margin: 5px;"))
          .contains(QStringLiteral("max-width:  16px;\n\tmargin: 5px;\n\tbackground")));
}

TEST(FramelessDrag, ThePressAt39DragsAndAt40DoesNot) {
  Movable dialog;
  Send(&dialog, QEvent::MouseButtonPress, {200, 39}, {300, 139});
  EXPECT_TRUE(dialog.drag.dragging);
  Send(&dialog, QEvent::MouseMove, {210, 44}, {310, 144});
  EXPECT_EQ(dialog.pos(), QPoint(110, 105));
  Send(&dialog, QEvent::MouseMove, {210, 44}, {311, 145});
  EXPECT_EQ(dialog.pos(), QPoint(111, 106));
  Send(&dialog, QEvent::MouseButtonRelease, {210, 44}, {311, 145});
  EXPECT_FALSE(dialog.drag.dragging);
  Send(&dialog, QEvent::MouseButtonPress, {200, 40}, {300, 140});
  EXPECT_FALSE(dialog.drag.dragging);
}

TEST(FramelessDrag, APressInTheMarginStartsNoDragAndGoesToTheParent) {
  const QPoint margins[] = {{4, 20}, {200, 4}, {396, 20}};
  for (const QPoint& at : margins) {
    Movable dialog;
    Send(&dialog, QEvent::MouseButtonPress, at, at);
    EXPECT_FALSE(dialog.drag.dragging) << at.x() << "," << at.y();
    EXPECT_FALSE(dialog.accepted) << at.x() << "," << at.y();
  }
  const QPoint inside[] = {{5, 20}, {200, 5}, {395, 20}};
  for (const QPoint& at : inside) {
    Movable dialog;
    Send(&dialog, QEvent::MouseButtonPress, at, at);
    EXPECT_TRUE(dialog.drag.dragging) << at.x() << "," << at.y();
    EXPECT_TRUE(dialog.accepted) << at.x() << "," << at.y();
  }
}

TEST(FramelessDrag, OtherButtonsStartNothing) {
  Movable dialog;
  Send(&dialog, QEvent::MouseButtonPress, {200, 20}, {200, 20}, Qt::RightButton);
  EXPECT_FALSE(dialog.drag.dragging);
}

TEST(CustomShadowEffect, GrowsTheRectangleByBlurAndDistance) {
  CustomShadowEffect effect;
  EXPECT_EQ(effect.distance, 4.0);
  EXPECT_EQ(effect.blurRadius, 10.0);
  EXPECT_EQ(effect.color, QColor(0, 0, 0, 80));
  EXPECT_EQ(effect.boundingRectFor(QRectF(0, 0, 10, 10)), QRectF(-14, -14, 38, 38));
}

TEST(CustomShadowEffect, WithoutDistanceAndBlurTheSourceIsDrawnUnchanged) {
  QWidget parent;
  parent.resize(120, 120);
  auto* box = new QLabel(&parent);
  box->setStyleSheet(QStringLiteral("background:#20A0FF"));
  box->setGeometry(40, 40, 40, 40);
  const QImage want = parent.grab().toImage();
  auto* effect = new CustomShadowEffect;
  effect->distance = 0;
  effect->blurRadius = 0;
  box->setGraphicsEffect(effect);
  EXPECT_EQ(parent.grab().toImage(), want);
}

TEST(CustomShadowEffect, TheShadowIsSoftBlackAroundTheShape) {
  QWidget parent;
  parent.resize(120, 120);
  parent.setStyleSheet(QStringLiteral("background:#FFFFFF"));
  auto* box = new QLabel(&parent);
  box->setStyleSheet(QStringLiteral("background:#20A0FF"));
  box->setGeometry(40, 40, 40, 40);
  auto* effect = new CustomShadowEffect;
  ApplyDialogShadow(box, effect);
  const QImage picture = parent.grab().toImage();
  EXPECT_EQ(picture.pixelColor(60, 60), QColor(0x20, 0xA0, 0xFF));
  const int near = picture.pixelColor(60, 82).lightness();
  const int far = picture.pixelColor(60, 96).lightness();
  EXPECT_LT(near, far);
  EXPECT_LT(far, 255);
  EXPECT_EQ(picture.pixelColor(2, 2), QColor(Qt::white));
}
