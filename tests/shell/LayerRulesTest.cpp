#include "shell/LayerRules.h"

#include <gtest/gtest.h>

#include <QRegularExpression>

using namespace shell;

TEST(LayerRules, RowsCountFromTheTopAndTheOrderFromTheBottom) {
  EXPECT_EQ(PositionOfRow(1, 0), 0);
  EXPECT_EQ(PositionOfRow(3, 0), 2);
  EXPECT_EQ(PositionOfRow(3, 1), 1);
  EXPECT_EQ(PositionOfRow(3, 2), 0);
  EXPECT_EQ(PositionOfRow(10, 9), 0);
}

TEST(LayerRules, NoRowIsThePositionPastTheEnd) {
  EXPECT_EQ(PositionOfRow(3, -1), 3);
}

TEST(LayerRules, AtTenLayersAndNotBefore) {
  EXPECT_FALSE(SceneIsFull(0));
  EXPECT_FALSE(SceneIsFull(9));
  EXPECT_TRUE(SceneIsFull(10));
  EXPECT_TRUE(SceneIsFull(11));
  EXPECT_TRUE(SceneIsFullText().contains("10"));
}

// As QFileDialog takes a filter apart.
QStringList PatternsOf(const QString& filter) {
  const QRegularExpressionMatch match =
      QRegularExpression(QStringLiteral("^(.*)\\(([^()]*)\\)$")).match(filter);
  return match.captured(2).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

TEST(LayerRules, EveryPatternOfThePicturesStandsAlone) {
  EXPECT_EQ(PictureQuestion().caption, QString("打开图片文件"));
  EXPECT_EQ(PatternsOf(PictureQuestion().filter), QStringList({"*.png", "*.jpg", "*.bmp"}));
  EXPECT_TRUE(PictureQuestion().filter.startsWith("图片文件("));
}

TEST(LayerRules, EveryPatternOfTheMediaFilesStandsAlone) {
  EXPECT_EQ(MediaQuestion().caption, QString("打开视频文件"));
  EXPECT_EQ(PatternsOf(MediaQuestion().filter),
            QStringList({"*.mp4", "*.rm", "*.rmvb", "*.avi", "*.mkv", "*.flv", "*.3gp", "*.mpg",
                         "*.mov", "*.ts", "*.mp3"}));
  EXPECT_TRUE(MediaQuestion().filter.startsWith("视频文件("));
}

TEST(LayerRules, OnlyTheFirstOfTheFilesCounts) {
  EXPECT_EQ(FirstPath({}), "");
  EXPECT_EQ(FirstPath({"/a", "/b"}), "/a");
}

TEST(LayerRules, AnyNameGoesOnInUtf8) {
  EXPECT_EQ(FirstPath({QString("/图 \"片\"'s\n%03d:[x].png")}), "/图 \"片\"'s\n%03d:[x].png");
  EXPECT_EQ(FirstPath({QString::fromUcs4(U"/\U0001F600.png")}), "/\xF0\x9F\x98\x80.png");
}

TEST(LayerRules, MenusOpenAboveTheirButtonAndPanelsAboveTheMouse) {
  EXPECT_EQ(MenuPlace({600, 700}), QPoint(550, 570));
  EXPECT_EQ(PanelPlace({600, 700}), QPoint(450, 586));
  EXPECT_EQ(PanelPlace({0, 0}), QPoint(-150, -114));
}

TEST(LayerRules, AreNamedAfterWhatTheyShow) {
  EXPECT_EQ(DeskName(), QString("全屏桌面"));
  EXPECT_EQ(CameraName(), QString("摄像头"));
  EXPECT_EQ(WindowName(), QString("窗口捕获"));
  EXPECT_EQ(PictureName(), QString("图片"));
  EXPECT_EQ(FileName(), QString("视频文件"));
}

TEST(LayerRules, TheTipLiesBesideItsRow) {
  const QSize tip(183, 114);
  const QRect screen(0, 0, 1920, 1080);
  const QPoint mouse(1400, 400);
  const QRect row(1300, 380, 280, 40);
  // Of no row: above the mouse.
  EXPECT_EQ(shell::TipPlace(mouse, tip, QRect(), screen), QPoint(1250, 286));
  EXPECT_EQ(shell::TipPlace(mouse, tip, row, screen), QPoint(1250, 266));
  EXPECT_FALSE(QRect(QPoint(1250, 266), tip).intersects(row));
  // At the upper edge of the screen: below.
  EXPECT_EQ(shell::TipPlace(QPoint(1400, 100), tip, QRect(1300, 90, 280, 40), screen),
            QPoint(1250, 130));
  EXPECT_EQ(shell::TipPlace(QPoint(1400, 130), tip, QRect(1300, 114, 280, 40), screen),
            QPoint(1250, 0));
}
