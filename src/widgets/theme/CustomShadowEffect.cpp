#include "widgets/theme/CustomShadowEffect.h"

#include <QPainter>
#include <QPixmap>
#include <QWidget>

CustomShadowEffect::CustomShadowEffect(QObject* parent) : QGraphicsEffect(parent) {}

QRectF CustomShadowEffect::boundingRectFor(const QRectF& rect) const {
  const double delta = blurRadius + distance;
  return rect.united(rect.adjusted(-delta, -delta, delta, delta));
}

void CustomShadowEffect::draw(QPainter* painter) {
  if (distance + blurRadius <= 0) {
    drawSource(painter);
    return;
  }
  QPoint offset;
  const QPixmap source =
      sourcePixmap(Qt::DeviceCoordinates, &offset, QGraphicsEffect::PadToEffectiveBoundingRect);
  if (source.isNull()) {
    return;
  }
  const QTransform transform = painter->worldTransform();
  painter->setWorldTransform(QTransform());
  painter->drawImage(offset, m_shadow.Of(source, {distance, blurRadius, color}));
  painter->drawPixmap(offset, source);
  painter->setWorldTransform(transform);
}

void ApplyDialogShadow(QWidget* dialog, CustomShadowEffect* effect) {
  effect->blurRadius = 20.0;
  effect->distance = 2.0;
  effect->color = QColor(0, 0, 0, 80);
  dialog->setAutoFillBackground(true);
  dialog->setGraphicsEffect(effect);
}
