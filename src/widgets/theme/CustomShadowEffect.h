// The soft shadow behind every frameless dialog: the dialog's shape, blurred, in one colour.
//
// Flow: a graphics effect set on a widget; Qt calls draw on each repaint. The members are set by
// the owner, who then calls updateBoundingRect. Lengths are in pixels. A repaint that leaves the
// dialog its shape costs no new shadow.
//
// Ownership: a widget owns the effect that is set on it. One that stands on the stack is declared
// after its dialog, so that it goes first.
//
// Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_THEME_CUSTOMSHADOWEFFECT_H
#define ORVANE_WIDGETS_THEME_CUSTOMSHADOWEFFECT_H

#include <QColor>
#include <QGraphicsEffect>

#include "widgets/theme/ShadowCache.h"

class CustomShadowEffect : public QGraphicsEffect {
  Q_OBJECT

 public:
  explicit CustomShadowEffect(QObject* parent = nullptr);

  QRectF boundingRectFor(const QRectF& rect) const override;

  using QGraphicsEffect::updateBoundingRect;

  double distance = 4.0;
  double blurRadius = 10.0;
  QColor color = QColor(0, 0, 0, 80);

 protected:
  void draw(QPainter* painter) override;

 private:
  theme::ShadowCache m_shadow;
};

// The recipe that every dialog of the program shares: blur 20, distance 2, black at alpha 80; the
// dialog fills its own background. The dialog owns the effect from here on.
void ApplyDialogShadow(QWidget* dialog, CustomShadowEffect* effect);

// The same for the first dialog of several that come here with one pointer. The effect goes with
// that dialog and the pointer stays set, dangling: it only tells that the one shadow has been
// given.
void ShadowOnce(QWidget* dialog, CustomShadowEffect** effect, QObject* owner);

#endif
