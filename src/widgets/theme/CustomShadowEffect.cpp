#include "widgets/theme/CustomShadowEffect.h"

#include <QApplication>
#include <QBackingStore>
#include <QPainter>
#include <QPixmap>
#include <QWidget>

namespace {

// Whether the painter paints the window that has the effect, and not a picture of it or another
// window around it.
bool PaintsItsWindow(const QGraphicsEffect* effect, const QPainter* painter) {
  for (const QWidget* window : QApplication::topLevelWidgets()) {
    if (window->graphicsEffect() == effect) {
      QBackingStore* store = window->backingStore();
      return store != nullptr && store->paintDevice() == painter->device();
    }
  }
  return false;
}

}  // namespace

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
  // Qt clears what has to be painted, but lets an effect paint the whole rectangle around it. There
  // the shadow has to replace the one that it finds, or the margin grows darker each time.
  const bool alone = PaintsItsWindow(this, painter);
  painter->setCompositionMode(alone ? QPainter::CompositionMode_Source
                                    : QPainter::CompositionMode_SourceOver);
  painter->drawImage(offset, m_shadow.Get(source, {distance, blurRadius, color}));
  painter->setCompositionMode(QPainter::CompositionMode_SourceOver);
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

void ShadowOnce(QWidget* dialog, CustomShadowEffect** effect, QObject* owner) {
  if (*effect == nullptr) {
    *effect = new CustomShadowEffect(owner);
    ApplyDialogShadow(dialog, *effect);
  }
}
