#include "widgets/ListTextTip.h"

#include <gtest/gtest.h>

#include <QFrame>
#include <QLabel>
#include <QLayout>
#include <QTest>

#include "widgets/TipText.h"

namespace {

using widgets::TipText;

constexpr int kWidePixels = 10;

// As if each unit of text were ten pixels wide.
int TenPixelsEach(const QString& text) {
  return kWidePixels * text.size();
}

QString Latin(int length) {
  QString text;
  for (int i = 0; i < length; ++i) {
    text += QLatin1Char(static_cast<char>('a' + i % 26));
  }
  return text;
}

QLabel* LabelOf(const ListTextTip& tip) {
  return tip.findChild<QLabel*>(QStringLiteral("label"));
}

}  // namespace

TEST(TipText, NameWhoseFirstCharacterIs12PixelsWideIsShownWhole) {
  const auto width = [](const QString& text) { return 12 * text.size(); };
  const QString name = QString(200, QChar(0x56FE));
  EXPECT_EQ(TipText(name, width), name);
}

TEST(TipText, NameWhoseFirstCharacterIsNearly12PixelsWideIsNot) {
  for (const int pixels : {11, 13}) {
    const auto width = [&](const QString& text) { return pixels * text.size(); };
    EXPECT_EQ(TipText(QStringLiteral("图层"), width), QStringLiteral("层")) << pixels;
  }
}

TEST(TipText, LatinNameLosesItsFirstLetter) {
  EXPECT_EQ(TipText(QStringLiteral("Desktop"), TenPixelsEach), QStringLiteral("esktop"));
  EXPECT_EQ(TipText(QStringLiteral("D"), TenPixelsEach), QString());
  EXPECT_EQ(TipText(QString(), TenPixelsEach), QString());
}

TEST(TipText, LatinNameGetsABlankAtEachStepOf160Pixels) {
  const QString name = Latin(60);
  // The blanks are measured too: 16 letters up to the first, 15 up to each later one.
  QString wanted = name.mid(1, 16) + QLatin1Char(' ') + name.mid(17, 15) + QLatin1Char(' ') +
                   name.mid(32, 15) + QLatin1Char(' ') + name.mid(47);
  EXPECT_EQ(TipText(name, TenPixelsEach), wanted);
}

TEST(TipText, WidthExactlyAtTheStepGetsTheBlankAndOnePixelLessDoesNot) {
  EXPECT_EQ(TipText(Latin(16), TenPixelsEach), Latin(16).mid(1));
  EXPECT_EQ(TipText(Latin(17), TenPixelsEach), Latin(17).mid(1) + QLatin1Char(' '));
  const auto onePixelLess = [](const QString& text) { return kWidePixels * text.size() - 1; };
  EXPECT_EQ(TipText(Latin(17), onePixelLess), Latin(17).mid(1));
}

TEST(TipText, LatinNameIsCutBehindTheFifthBlankWithoutAMark) {
  const int shownLetters = 16 + 4 * 15;
  const QString shown = TipText(Latin(1000), TenPixelsEach);
  EXPECT_EQ(shown.size(), shownLetters + 5);
  EXPECT_EQ(shown.count(QLatin1Char(' ')), 5);
  EXPECT_TRUE(shown.endsWith(QLatin1Char(' ')));
  EXPECT_EQ(QString(shown).remove(QLatin1Char(' ')), Latin(1000).mid(1, shownLetters));
  // Up to the fifth blank and not a letter further.
  EXPECT_EQ(TipText(Latin(1 + shownLetters), TenPixelsEach), shown);
}

TEST(TipText, CharacterWiderThanAStepGetsOneBlankOnly) {
  const auto width = [](const QString& text) { return 400 * text.size(); };
  EXPECT_EQ(TipText(QStringLiteral("abcdefgh"), width), QStringLiteral("b c d e f "));
}

// No half of one is left over, and no blank comes between the two.
TEST(TipText, CharacterOfTwoUnitsCountsAsOne) {
  const QString clef = QString::fromUtf8("\xF0\x9D\x84\x9E");
  ASSERT_EQ(clef.size(), 2);
  EXPECT_EQ(TipText(clef + QStringLiteral("x"), TenPixelsEach), QStringLiteral("x"));
  const auto width = [](const QString& text) { return 80 * text.size(); };
  EXPECT_EQ(TipText(QStringLiteral("x") + clef + clef, width),
            clef + QLatin1Char(' ') + clef + QLatin1Char(' '));
}

TEST(TipText, ChineseBookIsCutWhereItCannotBeSeen) {
  const auto width = [](const QString& text) { return 12 * text.size(); };
  EXPECT_EQ(TipText(QString(4096, QChar(0x56FE)), width).size(), 4096);
  EXPECT_EQ(TipText(QString(100000, QChar(0x56FE)), width).size(), 4096);
}

TEST(TipText, TextOfNoWidthIsCutWhereNobodyReadsIt) {
  int measured = 0;
  const auto noWidth = [&](const QString&) { return ++measured, 0; };
  EXPECT_LE(TipText(QString(100000, QChar(0x200B)), noWidth).size(), 1024);
  EXPECT_LE(measured, 1025);
}

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
