#include "widgets/ElidedLabel.h"

#include <gtest/gtest.h>

#include <QImage>

#include "widgets/OneLine.h"

namespace {

const QString kTitle = QStringLiteral("午后的演播室");

void Dress(QLabel* label, const QString& text, int width) {
  label->setStyleSheet(QStringLiteral("color:#B4BECC;font:bold 15px 黑体;"));
  label->setTextFormat(Qt::PlainText);
  label->setText(text);
  label->resize(width, 28);
  label->ensurePolished();
}

template <typename Label = ElidedLabel>
QImage Picture(const QString& text, int width) {
  Label label;
  Dress(&label, text, width);
  return label.grab().toImage();
}

TEST(ElidedLabel, ShowsAsMuchAsThereIsRoomForAndSaysThatThereIsMore) {
  ElidedLabel label;
  Dress(&label, kTitle, 200);
  const int whole = label.fontMetrics().horizontalAdvance(kTitle);
  for (const int width : {whole - 1, whole / 2}) {
    const QString shown = widgets::OneLine(kTitle, label.fontMetrics(), width);
    ASSERT_TRUE(shown.endsWith(QChar(0x2026)));
    EXPECT_EQ(Picture(kTitle, width), Picture<QLabel>(shown, width));
    EXPECT_NE(Picture(kTitle, width), Picture<QLabel>(kTitle, width)) << "cut mid-letter";
  }
  EXPECT_EQ(Picture(kTitle, whole), Picture<QLabel>(kTitle, whole));
}

TEST(ElidedLabel, KeepsItsWholeTextAndShowsMarkupAsItStands) {
  ElidedLabel label(QStringLiteral("<b>午后</b>"));
  label.setTextFormat(Qt::PlainText);
  label.resize(20, 28);
  label.grab();
  EXPECT_EQ(label.text(), QStringLiteral("<b>午后</b>"));
  EXPECT_EQ(Picture(QStringLiteral("<b>a</b>"), 90),
            Picture<QLabel>(QStringLiteral("<b>a</b>"), 90));
}

}  // namespace
