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

LayerRecord Layer(LayerKind kind, const QString& name, const QString& source = QString()) {
  LayerRecord layer;
  layer.kind = kind;
  layer.name = name;
  layer.source = source;
  return layer;
}

TEST(LayerRules, ALayerIsToldOfByItsKindAndWhatItIsMadeFrom) {
  const struct {
    LayerRecord layer;
    const char* label;
  } cases[] = {
      {Layer(LayerKind::kDesk, DeskName()), "全屏桌面"},
      {Layer(LayerKind::kCamera, CameraName(), "Camera 1"), "摄像头“Camera 1”"},
      {Layer(LayerKind::kWindow, "two\nlines"), "窗口“two lines”"},
      {Layer(LayerKind::kText, "直播"), "文本“直播”"},
      {Layer(LayerKind::kText, QString(32, 'x')), "文本“xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx”"},
      {Layer(LayerKind::kText, QString(33, 'x')), "文本“xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx…”"},
      {Layer(LayerKind::kPicture, PictureName(), "/home/me/a b.png"), "图片“a b.png”"},
      {Layer(LayerKind::kFilm, FileName(), "/f.mp4"), "视频文件“f.mp4”"},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(LabelOf(each.layer), QString(each.label));
  }
}

TEST(LayerRules, AnOfferNamesTheLayersFromTheTop) {
  EXPECT_EQ(OfferSummary({Layer(LayerKind::kDesk, DeskName()), Layer(LayerKind::kText, "%1")}),
            QString("上次的2个图层：文本“%1”、全屏桌面"));
}

TEST(LayerRules, WhatHasNotComeBackIsNamedWithTheReason) {
  EXPECT_EQ(LeftOutText({}, {}), QString());
  EXPECT_EQ(LeftOutText({"a", "%1"}, {}), QString("已不存在，未能恢复：a、%1"));
  EXPECT_EQ(LeftOutText({}, {"b"}), QString("图层已满，未能恢复：b"));
  EXPECT_EQ(LeftOutText({"a"}, {"b"}), QString("已不存在，未能恢复：a\n图层已满，未能恢复：b"));
}

TEST(LayerRules, AWindowIsFoundByItsTitleAndEachOnceAsLongAsThereAreMore) {
  const std::map<platform::WindowHandle, QString> windows = {
      {3, "other"}, {5, "same"}, {7, "same"}, {9, QString(20000, 'x')}};
  EXPECT_EQ(WindowOfTitle(windows, "same", {}), 5U);
  EXPECT_EQ(WindowOfTitle(windows, "same", {5}), 7U);
  EXPECT_EQ(WindowOfTitle(windows, "same", {5, 7}), 5U);
  EXPECT_EQ(WindowOfTitle(windows, "other", {5}), 3U);
  EXPECT_EQ(WindowOfTitle(windows, "Same", {}), 0U);
  EXPECT_EQ(WindowOfTitle(windows, "", {}), 0U);
  EXPECT_EQ(WindowOfTitle(windows, QString(16384, 'x'), {}), 9U) << "as it was kept";
}
