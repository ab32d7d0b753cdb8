#include "widgets/OneLine.h"

#include <gtest/gtest.h>

#include <QFont>

namespace {

using widgets::OneLine;

class OneLineTest : public testing::Test {
 protected:
  QFontMetrics metrics{QFont()};
};

}  // namespace

TEST_F(OneLineTest, WhatFitsStaysAsItIs) {
  const QString name = QStringLiteral("  全屏桌面 Desktop ");
  EXPECT_EQ(OneLine(name, metrics, metrics.horizontalAdvance(name) + 1), name);
}

TEST_F(OneLineTest, WhatIsTooLongEndsInAnEllipsisInsideTheWidth) {
  for (const QString& name : {QStringLiteral("a name that is far too long for its row"),
                              QString(100000, QChar(0x56FE))}) {
    const QString line = OneLine(name, metrics, 120);
    EXPECT_TRUE(line.endsWith(QChar(0x2026)));
    EXPECT_LE(metrics.horizontalAdvance(line), 120);
    EXPECT_GT(line.size(), 3);
  }
}

TEST_F(OneLineTest, LineBreaksAreBlanks) {
  QString name = QStringLiteral("a\nb\rc\td");
  name += QChar(QChar::LineSeparator);
  name += QLatin1Char('e');
  name += QChar(QChar::ParagraphSeparator);
  EXPECT_EQ(OneLine(name, metrics, 10000), QStringLiteral("a b c d e "));
}
