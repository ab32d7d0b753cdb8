// What the grid of activities keeps of one card, in the row's item under role Qt::UserRole + 1.
// A plain value; user interface thread, since it holds a pixmap.
#ifndef ORVANE_WIDGETS_ACTITEMDATA_H
#define ORVANE_WIDGETS_ACTITEMDATA_H

#include <QDateTime>
#include <QMetaType>
#include <QPixmap>
#include <QSize>
#include <QString>

struct ActItemData {
  QString title;
  bool available = false;  // it has an address that can be published to
  QPixmap cover;           // null when there is none
  QDateTime startTime;
  bool selected = false;  // never set
};

Q_DECLARE_METATYPE(ActItemData)

namespace widgets {

inline constexpr int kActItemDataRole = Qt::UserRole + 1;
inline constexpr QSize kActCardSize(215, 167);

}  // namespace widgets

#endif
