#include "widgets/TipText.h"

#include <gtest/gtest.h>

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
