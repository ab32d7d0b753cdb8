// The shadow of a dialog is blurred anew when it has to be, and only then.
#include "widgets/theme/ShadowCache.h"

#include <gtest/gtest.h>

#include <QBackingStore>
#include <QDialog>
#include <QLabel>
#include <QPainter>
#include <QTest>
#include <QWidget>

#include "widgets/theme/CustomShadowEffect.h"

namespace {

using theme::ShadowCache;
using theme::ShadowLook;

const ShadowLook kLook{2.0, 20.0, QColor(0, 0, 0, 80)};

// A box of that colour and size on nothing.
QPixmap Box(const QColor& color, const QRect& box = QRect(20, 20, 60, 40)) {
  QPixmap picture(100, 80);
  picture.fill(Qt::transparent);
  QPainter(&picture).fillRect(box, color);
  return picture;
}

QImage Fresh(const QPixmap& source, const ShadowLook& look = kLook) {
  return ShadowCache().Get(source, look);
}

}  // namespace

TEST(ShadowCache, IsGivenAgainWhileOnlyColoursChange) {
  ShadowCache kept;
  const qint64 first = kept.Get(Box(Qt::red), kLook).cacheKey();
  EXPECT_EQ(kept.Get(Box(Qt::red), kLook).cacheKey(), first);
  EXPECT_EQ(kept.Get(Box(Qt::darkCyan), kLook).cacheKey(), first);
  EXPECT_EQ(kept.Get(Box(Qt::black), kLook), Fresh(Box(Qt::black)));
}

TEST(ShadowCache, IsMadeAnewForAnotherShape) {
  ShadowCache kept;
  kept.Get(Box(Qt::red), kLook);
  QPixmap half(200, 160);
  half.setDevicePixelRatio(2);
  half.fill(Qt::transparent);
  const QPixmap shapes[] = {Box(QColor(255, 0, 0, 254)),
                            Box(QColor(255, 0, 0, 100)),
                            Box(Qt::red, QRect(20, 20, 61, 40)),
                            Box(Qt::red, QRect(99, 79, 1, 1)),
                            Box(Qt::red, QRect()),
                            Box(Qt::red).copy(0, 0, 100, 79),
                            Box(Qt::red).scaled(200, 160),
                            half};
  for (const QPixmap& shape : shapes) {
    const qint64 before = kept.Get(Box(Qt::red), kLook).cacheKey();
    const QImage shadow = kept.Get(shape, kLook);
    EXPECT_NE(shadow.cacheKey(), before);
    EXPECT_EQ(shadow, Fresh(shape));
    EXPECT_EQ(shadow.size(), shape.size() + QSize(4, 4));
  }
}

TEST(ShadowCache, IsMadeAnewForAnotherLook) {
  const ShadowLook looks[] = {
      {3.0, 20.0, QColor(0, 0, 0, 80)}, {2.0, 5.0, QColor(0, 0, 0, 80)}, {2.0, 20.0, Qt::red}};
  for (const ShadowLook& look : looks) {
    ShadowCache kept;
    kept.Get(Box(Qt::red), kLook);
    EXPECT_EQ(kept.Get(Box(Qt::red), look), Fresh(Box(Qt::red), look));
    EXPECT_NE(Fresh(Box(Qt::red), look), Fresh(Box(Qt::red)));
  }
}

// What the operator sees is no other than with an effect that has drawn nothing before.
TEST(ShadowCache, AnEffectThatDrewOtherStatesLooksLikeANewOne) {
  QWidget parent;
  parent.resize(200, 160);
  parent.setStyleSheet(QStringLiteral("background:#FFFFFF"));
  QWidget box(&parent);
  box.setGeometry(50, 50, 80, 60);
  QLabel text(QStringLiteral("a"), &box);
  text.setGeometry(10, 10, 30, 30);
  ApplyDialogShadow(&box, new CustomShadowEffect);
  const auto looksLikeNew = [&] {
    const QImage kept = parent.grab().toImage();
    ApplyDialogShadow(&box, new CustomShadowEffect);
    return kept == parent.grab().toImage();
  };
  parent.grab();
  text.setText(QStringLiteral("b"));
  text.setStyleSheet(QStringLiteral("background:#20A0FF"));
  EXPECT_TRUE(looksLikeNew());
  parent.grab();
  box.resize(90, 30);
  EXPECT_TRUE(looksLikeNew());
  parent.grab();
  box.setMask(QRegion(0, 0, 40, 30));
  EXPECT_TRUE(looksLikeNew());
}

// The rectangle around two controls that are painted anew crosses the margin, which nobody clears.
TEST(ShadowCache, RepaintsOfAWindowLeaveTheMarginAsItIs) {
  QDialog dialog;
  dialog.setAttribute(Qt::WA_TranslucentBackground);
  dialog.setWindowFlags(dialog.windowFlags() | Qt::FramelessWindowHint);
  dialog.resize(200, 160);
  QWidget body(&dialog);
  body.setGeometry(40, 40, 120, 80);
  body.setStyleSheet(QStringLiteral("background:#282A30"));
  auto* effect = new CustomShadowEffect;
  ApplyDialogShadow(&dialog, effect);
  effect->color = QColor(255, 0, 0, 80);
  dialog.show();
  ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
  QCoreApplication::processEvents();
  ASSERT_EQ(dialog.backingStore()->paintDevice()->devType(), int{QInternal::Image});
  const auto* screen = static_cast<const QImage*>(dialog.backingStore()->paintDevice());
  const QImage before = screen->copy();
  EXPECT_NE(before.pixelColor(100, 36).red(), before.pixelColor(100, 60).red());
  for (int i = 0; i < 5; ++i) {
    dialog.repaint();
  }
  EXPECT_EQ(screen->copy(), before);
}
