#include "widgets/theme/CustomShadowEffect.h"

#include <QImage>
#include <QPainter>
#include <QPixmap>
#include <QWidget>

QT_BEGIN_NAMESPACE
// Qt Widgets exports its blur for its own effects and declares it in no public header.
extern Q_WIDGETS_EXPORT void qt_blurImage(QPainter* painter, QImage& blurImage, qreal radius,
                                          bool quality, bool alphaOnly, int transposed = 0);
QT_END_NAMESPACE

namespace {

// The shape of source, enlarged to size and filled with colour, its edge blurred.
QImage ShadowOf(const QPixmap& source, const QSize& size, double distance, double radius,
                const QColor& color) {
  QImage shape(size, QImage::Format_ARGB32_Premultiplied);
  shape.fill(0);
  const QPixmap scaled = source.scaled(size, Qt::IgnoreAspectRatio, Qt::FastTransformation);
  QPainter shapePainter(&shape);
  shapePainter.setCompositionMode(QPainter::CompositionMode_Source);
  shapePainter.drawPixmap(QPointF(-distance, -distance), scaled);
  shapePainter.end();

  QImage shadow(size, QImage::Format_ARGB32_Premultiplied);
  shadow.fill(0);
  QPainter shadowPainter(&shadow);
  qt_blurImage(&shadowPainter, shape, radius, false, true);
  shadowPainter.end();

  shadowPainter.begin(&shadow);
  shadowPainter.setCompositionMode(QPainter::CompositionMode_SourceIn);
  shadowPainter.fillRect(shadow.rect(), color);
  shadowPainter.end();
  return shadow;
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
  const QSize size(static_cast<int>(source.width() + 2 * distance),
                   static_cast<int>(source.height() + 2 * distance));
  painter->drawImage(offset, ShadowOf(source, size, distance, blurRadius, color));
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
