#include "widgets/ListTextTip.h"

#include <gtest/gtest.h>

#include <QFrame>
#include <QLabel>
#include <QLayout>
#include <QTest>

#include "widgets/TipText.h"

namespace {

using widgets::TipText;

QLabel* LabelOf(const ListTextTip& tip) {
  return tip.findChild<QLabel*>(QStringLiteral("label"));
}

}  // namespace

TEST(ListTextTip, StandsAsItIsDrawn) {
  const ListTextTip tip;
  EXPECT_EQ(tip.size(), QSize(183, 114));
  EXPECT_EQ(tip.windowTitle(), QStringLiteral("提示"));
  EXPECT_TRUE(tip.windowFlags() & Qt::FramelessWindowHint);
  EXPECT_TRUE(tip.windowFlags() & Qt::WindowStaysOnTopHint);
  EXPECT_TRUE(tip.testAttribute(Qt::WA_TranslucentBackground));
  EXPECT_FALSE(tip.testAttribute(Qt::WA_QuitOnClose));
  EXPECT_TRUE(tip.testAttribute(Qt::WA_ShowWithoutActivating));
  EXPECT_EQ(tip.styleSheet(),
            QStringLiteral("QFrame{border-image:url(:/orvane/qietu/window-add.png);}"
                           "QLabel{color:#B4BECC};"));

  const QLayout* outer = tip.layout();
  ASSERT_NE(outer, nullptr);
  EXPECT_EQ(outer->objectName(), QStringLiteral("verticalLayout"));
  EXPECT_EQ(outer->spacing(), 0);
  EXPECT_EQ(outer->contentsMargins(), QMargins(0, 0, 0, 0));

  const auto* frame = tip.findChild<QFrame*>(QStringLiteral("frame"));
  ASSERT_NE(frame, nullptr);
  EXPECT_EQ(frame->frameShape(), QFrame::StyledPanel);
  EXPECT_EQ(frame->frameShadow(), QFrame::Raised);
  ASSERT_NE(frame->layout(), nullptr);
  EXPECT_EQ(frame->layout()->objectName(), QStringLiteral("verticalLayout_2"));
  EXPECT_EQ(frame->layout()->spacing(), 6);
  EXPECT_EQ(frame->layout()->contentsMargins(), QMargins(11, 11, 11, 11));

  const QLabel* label = LabelOf(tip);
  ASSERT_NE(label, nullptr);
  EXPECT_EQ(label->parentWidget(), frame);
  EXPECT_EQ(label->minimumSize(), QSize(163, 94));
  EXPECT_EQ(label->maximumSize(), QSize(163, 94));
  EXPECT_EQ(label->margin(), 10);
  EXPECT_TRUE(label->wordWrap());
  EXPECT_TRUE(label->testAttribute(Qt::WA_TranslucentBackground));
  EXPECT_EQ(label->text(), QStringLiteral("TextLabel"));
}

// The shell puts it 114 pixels above the mouse: one more, and it would lie under it.
TEST(ListTextTip, KeepsItsSizeWhenShown) {
  ListTextTip tip;
  tip.SetTipText(QStringLiteral("一个很长很长很长很长很长很长很长很长很长的名字"));
  tip.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&tip));
  EXPECT_EQ(tip.size(), QSize(183, 114));
  EXPECT_EQ(LabelOf(tip)->size(), QSize(163, 94));
  tip.close();
  tip.show();
  EXPECT_EQ(tip.size(), QSize(183, 114));
}

TEST(ListTextTip, ChineseNameIsShownWholeAndTheLabelWrapsIt) {
  ListTextTip tip;
  const QString name = QStringLiteral("一个窗口的标题比图层列表的一行长得多所以整个显示在这里");
  tip.SetTipText(name);
  const QLabel* label = LabelOf(tip);
  EXPECT_EQ(label->text(), name);
  EXPECT_GE(label->heightForWidth(163), 2 * label->fontMetrics().height());
  EXPECT_GT(label->fontMetrics().horizontalAdvance(name), 163);
}

// The title of any page of the web: read as markup, its pictures would be files of the operator's.
TEST(ListTextTip, WhatLooksLikeMarkupIsTextAsAnyOther) {
  ListTextTip tip;
  const QString name = QStringLiteral("图<b>层</b><img src='x.png'>&lt;");
  tip.SetTipText(name);
  EXPECT_EQ(LabelOf(tip)->text(), name);
  EXPECT_EQ(LabelOf(tip)->textFormat(), Qt::PlainText);
}

TEST(ListTextTip, LatinNameIsMeasuredInTheTipsFont) {
  ListTextTip tip;
  const QString name = QStringLiteral("Another-window-of-another-program-with-quite-a-long-title");
  tip.SetTipText(name);
  const QFontMetrics metrics(tip.font());
  const auto width = [&](const QString& text) { return metrics.horizontalAdvance(text); };
  EXPECT_EQ(LabelOf(tip)->text(), TipText(name, width));
  tip.show();
  EXPECT_EQ(tip.font().pixelSize(), 12);
  EXPECT_EQ(LabelOf(tip)->fontMetrics().horizontalAdvance(name), width(name));
  EXPECT_TRUE(LabelOf(tip)->text().startsWith(QStringLiteral("nother-window")));
  EXPECT_GE(LabelOf(tip)->text().count(QLatin1Char(' ')), 2);
}

// Its destructor asks for a deletion that must find nobody any more.
TEST(ListTextTip, IsDeletedOnceWhereverItStands) {
  int destroyed = 0;
  const auto count = [&](const ListTextTip& tip) {
    QObject::connect(&tip, &QObject::destroyed, [&] { ++destroyed; });
  };
  {
    const ListTextTip onTheStack;
    count(onTheStack);
  }
  auto* onTheHeap = new ListTextTip;
  count(*onTheHeap);
  delete onTheHeap;
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_EQ(destroyed, 2);
}
