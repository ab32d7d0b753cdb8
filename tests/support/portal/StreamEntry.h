// What a portal's answer says of a stream, as D-Bus has it: a(ua{sv}), and pairs of pixels, (ii).
#ifndef ORVANE_TESTS_SUPPORT_PORTAL_STREAMENTRY_H
#define ORVANE_TESTS_SUPPORT_PORTAL_STREAMENTRY_H

#include <QDBusArgument>
#include <QList>
#include <QMetaType>
#include <QVariantMap>

namespace support {

struct StreamEntry {
  unsigned node = 0;
  QVariantMap properties;
};

struct PixelPair {
  int x = 0;
  int y = 0;
};

QDBusArgument& operator<<(QDBusArgument& argument, const StreamEntry& entry);
const QDBusArgument& operator>>(const QDBusArgument& argument, StreamEntry& entry);
QDBusArgument& operator<<(QDBusArgument& argument, const PixelPair& pair);
const QDBusArgument& operator>>(const QDBusArgument& argument, PixelPair& pair);

// Before any of them goes over the bus.
void RegisterStreamEntries();

}  // namespace support

Q_DECLARE_METATYPE(support::StreamEntry)
Q_DECLARE_METATYPE(support::PixelPair)

#endif
