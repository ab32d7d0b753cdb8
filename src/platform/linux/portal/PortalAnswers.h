// What the portal's answers say, whatever they hold: every value may be of any type, or missing.
//
// Pure; any thread. Unpacked alone reads what came over the bus, and checks its signature first.
#ifndef ORVANE_PLATFORM_LINUX_PORTAL_PORTALANSWERS_H
#define ORVANE_PLATFORM_LINUX_PORTAL_PORTALANSWERS_H

#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <cstdint>
#include <optional>
#include <string>

class QDBusMessage;

namespace platform {

// How a request ended: the number that its Response begins with.
struct PortalResponse {
  static constexpr std::uint32_t kDone = 0;
  static constexpr std::uint32_t kCancelled = 1;  // by the operator
  std::uint32_t code = kDone;
  QVariantMap results;
};

// Null when the arguments of the signal are not those of a Response.
std::optional<PortalResponse> ReadResponse(const QDBusMessage& message);

// The streams of an answer, a(ua{sv}), as a list of lists of a number and a map; invalid when they
// are of another type.
QVariant Unpacked(const QVariant& streams);

// The session that was made; empty when the answer names none, or nothing that is an object's path.
QString SessionPath(const QVariantMap& results);

// The node of the first stream of an unpacked list; the portal was asked for one.
std::optional<std::uint32_t> FirstNode(const QVariant& streams);

// Empty when there is none. Not judged.
std::string RestoreTokenOf(const QVariantMap& results);

// A number of a property, or nothing when it is none.
std::optional<std::uint32_t> NumberOf(const QVariant& property);

}  // namespace platform

#endif
