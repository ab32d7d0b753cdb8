#include "widgets/ItemData.h"

#include <QDataStream>

QDataStream& operator<<(QDataStream& stream, const ItemData& record) {
  return stream << record.text << record.visible << record.kind;
}

QDataStream& operator>>(QDataStream& stream, ItemData& record) {
  return stream >> record.text >> record.visible >> record.kind;
}

namespace widgets {

void RegisterItemData() {
  qRegisterMetaType<ItemData>("ItemData");
  qRegisterMetaTypeStreamOperators<ItemData>("ItemData");
}

}  // namespace widgets
