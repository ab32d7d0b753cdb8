#include "widgets/theme/CustomShadowEffect.h"

#include <gtest/gtest.h>

#include <QDialog>
#include <QImage>
#include <QLabel>
#include <memory>

// A dialog that is made anew for each use has a shadow at its first use alone.
TEST(CustomShadowEffect, OfSeveralDialogsTheFirstGetsItAndNoLaterOne) {
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
  // As black as the recipe's blur and alpha make it.
  EXPECT_NEAR(near, 227, 3);
  EXPECT_EQ(far, 254);
  EXPECT_EQ(picture.pixelColor(2, 2), QColor(Qt::white));
}
