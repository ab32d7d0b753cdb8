// The shadow of a shape, kept until the shape changes.
//
// Flow: a picture in, the blurred shape of it in one colour out. Blurring a whole dialog takes
// several times as long as painting it, and each repaint of anything inside asks for the shadow
// again, while hardly any changes the dialog's shape: so the last shadow is given again when all
// that it depends on is the same, which is the opacity of the picture and not its colours.
//
// Ownership: a value, which keeps the last picture and its shadow. Threads: user interface thread
// only, as for every pixmap.
#ifndef ORVANE_WIDGETS_THEME_SHADOWCACHE_H
#define ORVANE_WIDGETS_THEME_SHADOWCACHE_H

#include <QColor>
#include <QImage>
#include <QPixmap>

namespace theme {

struct ShadowLook {
  double distance;
  double blurRadius;
  QColor color;

  bool operator==(const ShadowLook& other) const {
    return distance == other.distance && blurRadius == other.blurRadius && color == other.color;
  }
};

class ShadowCache {
 public:
  // As large as the source and twice the distance, cut to whole pixels.
  const QImage& Get(const QPixmap& source, const ShadowLook& look);

 private:
  QImage m_source;
  ShadowLook m_look{};
  QImage m_shadow;
};

}  // namespace theme

#endif
