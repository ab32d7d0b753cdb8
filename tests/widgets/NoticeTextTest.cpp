#include "widgets/theme/NoticeText.h"

#include <gtest/gtest.h>

#include "widgets/theme/InformationDlg.h"

namespace {

using theme::LinesIn;

const QSize kRoom(420, 180);

QLabel* TextOf(const InformationDlg& notice) {
  return notice.findChild<QLabel*>(QStringLiteral("textLabel"));
}

}  // namespace

TEST(NoticeText, ShortTextIsOneLine) {
  EXPECT_EQ(LinesIn("账号或密码错误", QFont(), kRoom), QStringList("账号或密码错误"));
}

TEST(NoticeText, LongTextIsWrappedAndKeepsEveryLetter) {
  for (const QString& text : {QString(100, QChar(0x56FE)), QString(300, QLatin1Char('x')),
                              QString("words of a message ").repeated(10)}) {
    const QStringList lines = LinesIn(text, QFont(), kRoom);
    EXPECT_GT(lines.size(), 1);
    EXPECT_EQ(lines.join(QString()), text);
    for (const QString& line : lines) {
      EXPECT_LE(QFontMetrics(QFont()).horizontalAdvance(line.trimmed()), kRoom.width());
    }
  }
}

TEST(NoticeText, TextThatExceedsTheCardEndsInAnEllipsis) {
  const QStringList lines = LinesIn(QString(100000, QChar(0x56FE)), QFont(), kRoom);
  const QFontMetrics metrics{QFont()};
  EXPECT_EQ(lines.size(), kRoom.height() / metrics.lineSpacing());
  EXPECT_TRUE(lines.last().endsWith(QChar(0x2026)));
  EXPECT_LE(metrics.horizontalAdvance(lines.last()), kRoom.width());
}

TEST(NoticeText, TheTextsOwnLinesAreKept) {
  EXPECT_EQ(LinesIn("one\ntwo", QFont(), kRoom), QStringList({"one", "two"}));
}

// Between the title and the button, on the card.
TEST(NoticeText, OnlyALongNoticeTakesMoreRoom) {
  const InformationDlg brief(0, QStringLiteral("账号或密码错误"));
  EXPECT_EQ(TextOf(brief)->geometry(), QRect(10, 136, 460, 28));
  const InformationDlg empty(0, QString());
  EXPECT_EQ(TextOf(empty)->geometry(), QRect(10, 136, 460, 28));
  const QString text = QStringLiteral("您的账号已被锁定，请联系管理员。").repeated(8);
  InformationDlg extensive(0, text);
  EXPECT_EQ(TextOf(extensive)->geometry(), QRect(30, 60, 420, 180));
  EXPECT_EQ(TextOf(extensive)->text(), text);
  EXPECT_EQ(TextOf(extensive)->textFormat(), Qt::PlainText);
  // Both ends of the first line are on the card.
  extensive.show();
  const QImage shown = TextOf(extensive)->grab().toImage();
  const QRgb ground = shown.pixel(0, 0);
  int left = shown.width();
  int right = 0;
  int bottom = 0;
  for (int y = 0; y < shown.height(); ++y) {
    for (int x = 0; x < shown.width(); ++x) {
      if (shown.pixel(x, y) != ground) {
        left = std::min(left, x);
        right = std::max(right, x);
        bottom = y;
      }
    }
  }
  EXPECT_GT(right - left, 300);
  EXPECT_GT(left, 0);
  EXPECT_LT(right, shown.width() - 1);
  EXPECT_LT(bottom, shown.height() - 1);
}
