#include "support/portal/StreamEntry.h"

#include <QDBusMetaType>

namespace support {

QDBusArgument& operator<<(QDBusArgument& argument, const StreamEntry& entry) {
  argument.beginStructure();
  argument << entry.node << entry.properties;
  argument.endStructure();
  return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, StreamEntry& entry) {
  argument.beginStructure();
  argument >> entry.node >> entry.properties;
  argument.endStructure();
  return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const PixelPair& pair) {
  argument.beginStructure();
  argument << pair.x << pair.y;
  argument.endStructure();
  return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PixelPair& pair) {
  argument.beginStructure();
  argument >> pair.x >> pair.y;
  argument.endStructure();
  return argument;
}

void RegisterStreamEntries() {
  qDBusRegisterMetaType<StreamEntry>();
  qDBusRegisterMetaType<QList<StreamEntry>>();
  qDBusRegisterMetaType<PixelPair>();
}

}  // namespace support
