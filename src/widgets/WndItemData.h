// One row of the list of windows, kept in the row's item under role Qt::UserRole + 1.
// A plain value; any thread.
#ifndef ORVANE_WIDGETS_WNDITEMDATA_H
#define ORVANE_WIDGETS_WNDITEMDATA_H

#include <QMetaType>
#include <QSize>
#include <QString>

struct WndItemData {
  QString title;
  bool check = false;  // false: the row shows its title and nothing else, hovered or selected
};

Q_DECLARE_METATYPE(WndItemData)

namespace widgets {

inline constexpr int kWndItemDataRole = Qt::UserRole + 1;
inline constexpr QSize kWndRowSize(460, 30);

}  // namespace widgets

#endif
