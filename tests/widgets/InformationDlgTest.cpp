#include "widgets/theme/InformationDlg.h"

#include <gtest/gtest.h>

#include <QDialog>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTextBlock>
#include <QTextEdit>
#include <QTimer>

#include "widgets/DialogHand.h"

namespace {

using support::ButtonText;
using support::Child;
using support::ExecAndClick;

}  // namespace

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
