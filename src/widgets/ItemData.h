// The record of one row of the layer list: what the list knows of a layer.
//
// Flow: it stands as a QVariant under kItemDataRole in the row's item. The list writes it, the
// delegate reads it, and a drag of the row streams it. A variant that holds something else reads as
// an empty record.
//
// Threads: user interface thread only; RegisterItemData before the application object exists.
#ifndef ORVANE_WIDGETS_ITEMDATA_H
#define ORVANE_WIDGETS_ITEMDATA_H

#include <QMetaType>
#include <QSize>
#include <QString>
#include <cstdint>

#include "widgets/theme/LayerKind.h"

class QDataStream;
class QModelIndex;

struct ItemData {
  QString text;           // the layer's name, as the row shows it
  bool visible = false;   // the layer is drawn in the scene
  std::int32_t kind = 0;  // kTextLayer or kOtherLayer
};
Q_DECLARE_METATYPE(ItemData)

// In the order of the fields, with no header.
QDataStream& operator<<(QDataStream& stream, const ItemData& record);
QDataStream& operator>>(QDataStream& stream, ItemData& record);

namespace widgets {

inline constexpr int kItemDataRole = Qt::UserRole + 1;
// Why the layer's source could not be opened, a QString; none while it could.
inline constexpr int kFailureRole = Qt::UserRole + 2;

inline constexpr QSize kRowSize(280, 40);

ItemData RecordOf(const QModelIndex& index);

// Makes "ItemData" known by name and able to be streamed: without, no row can be dragged, since the
// model streams all that the item holds. A second call changes nothing.
void RegisterItemData();

}  // namespace widgets

#endif
