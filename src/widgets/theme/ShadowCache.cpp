#include "widgets/theme/ShadowCache.h"

#include <QtWidgets/qtwidgetsglobal.h>
#include <QPainter>

QT_BEGIN_NAMESPACE
// Qt Widgets exports its blur for its own effects and declares it in no public header.
extern Q_WIDGETS_EXPORT void qt_blurImage(QPainter* painter, QImage& blurImage, qreal radius,
                                          bool quality, bool alphaOnly, int transposed = 0);
QT_END_NAMESPACE

namespace theme {

namespace {

constexpr QRgb kOpacity = 0xFF000000;

bool SameShape(const QImage& a, const QImage& b) {
  if (a.isNull() || a.size() != b.size() || a.format() != b.format() ||
      a.devicePixelRatio() != b.devicePixelRatio() || a.depth() != 32) {
    return false;
  }
  for (int y = 0; y < a.height(); ++y) {
    const auto* p = reinterpret_cast<const QRgb*>(a.constScanLine(y));
    const auto* q = reinterpret_cast<const QRgb*>(b.constScanLine(y));
    QRgb different = 0;
    for (int x = 0; x < a.width(); ++x) {
      different |= p[x] ^ q[x];
    }
    if ((different & kOpacity) != 0) {
      return false;
    }
  }
  return true;
}

// The shape of source, enlarged to size and filled with colour, its edge blurred.
QImage ShadowOf(const QPixmap& source, const QSize& size, const ShadowLook& look) {
  QImage shape(size, QImage::Format_ARGB32_Premultiplied);
  shape.fill(0);
  const QPixmap scaled = source.scaled(size, Qt::IgnoreAspectRatio, Qt::FastTransformation);
  QPainter shapePainter(&shape);
  shapePainter.setCompositionMode(QPainter::CompositionMode_Source);
  shapePainter.drawPixmap(QPointF(-look.distance, -look.distance), scaled);
  shapePainter.end();

  QImage shadow(size, QImage::Format_ARGB32_Premultiplied);
  shadow.fill(0);
  QPainter shadowPainter(&shadow);
  qt_blurImage(&shadowPainter, shape, look.blurRadius, false, true);
  shadowPainter.end();

  shadowPainter.begin(&shadow);
  shadowPainter.setCompositionMode(QPainter::CompositionMode_SourceIn);
  shadowPainter.fillRect(shadow.rect(), look.color);
  shadowPainter.end();
  return shadow;
}

}  // namespace

const QImage& ShadowCache::Get(const QPixmap& source, const ShadowLook& look) {
  const QImage picture = source.toImage();
  if (m_shadow.isNull() || !(m_look == look) || !SameShape(m_source, picture)) {
    const QSize size(static_cast<int>(source.width() + 2 * look.distance),
                     static_cast<int>(source.height() + 2 * look.distance));
    m_shadow = ShadowOf(source, size, look);
    m_look = look;
    m_source = picture;
  }
  return m_shadow;
}

}  // namespace theme
