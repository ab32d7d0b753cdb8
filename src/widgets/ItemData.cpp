#include "widgets/ItemData.h"

#include <QDataStream>
#include <QModelIndex>

QDataStream& operator<<(QDataStream& stream, const ItemData& record) {
  return stream << record.text << record.visible << record.kind;
}

QDataStream& operator>>(QDataStream& stream, ItemData& record) {
  return stream >> record.text >> record.visible >> record.kind;
}

namespace widgets {

ItemData RecordOf(const QModelIndex& index) {
  return index.data(kItemDataRole).value<ItemData>();
}

void RegisterItemData() {
  qRegisterMetaType<ItemData>("ItemData");
  qRegisterMetaTypeStreamOperators<ItemData>("ItemData");
}

}  // namespace widgets
