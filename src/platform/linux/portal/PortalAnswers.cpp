#include "platform/linux/portal/PortalAnswers.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QVariantList>
#include <algorithm>
#include <limits>

namespace platform {

namespace {

constexpr int kMaxPath = 1024;

bool IsObjectPath(const QString& text) {
  const auto isPart = [](QChar c) {
    return c == '/' || c == '_' || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
           (c >= '0' && c <= '9');
  };
  return text.size() > 1 && text.size() <= kMaxPath && text.startsWith('/') &&
         !text.endsWith('/') && !text.contains("//") &&
         std::all_of(text.begin(), text.end(), isPart);
}

}  // namespace

std::optional<PortalResponse> ReadResponse(const QDBusMessage& message) {
  const QVariantList arguments = message.arguments();
  if (message.signature() != "ua{sv}" || arguments.size() != 2) {
    return std::nullopt;
  }
  return PortalResponse{arguments[0].toUInt(), qdbus_cast<QVariantMap>(arguments[1])};
}

QVariant Unpacked(const QVariant& streams) {
  if (streams.userType() != qMetaTypeId<QDBusArgument>()) {
    return {};
  }
  const auto packed = streams.value<QDBusArgument>();
  if (packed.currentSignature() != "a(ua{sv})") {
    return {};
  }
  QVariantList list;
  packed.beginArray();
  while (!packed.atEnd()) {
    std::uint32_t node = 0;
    QVariantMap properties;
    packed.beginStructure();
    packed >> node >> properties;
    packed.endStructure();
    list.append(QVariant(QVariantList{node, properties}));
  }
  packed.endArray();
  return list;
}

QString SessionPath(const QVariantMap& results) {
  // A string by its documentation, though it is a path.
  const QVariant handle = results.value("session_handle");
  QString path;
  if (handle.type() == QVariant::String) {
    path = handle.toString();
  } else if (handle.userType() == qMetaTypeId<QDBusObjectPath>()) {
    path = handle.value<QDBusObjectPath>().path();
  }
  return IsObjectPath(path) ? path : QString();
}

std::optional<std::uint32_t> FirstNode(const QVariant& streams) {
  if (streams.type() != QVariant::List || streams.toList().isEmpty()) {
    return std::nullopt;
  }
  const QVariant first = streams.toList().first();
  if (first.type() != QVariant::List || first.toList().isEmpty()) {
    return std::nullopt;
  }
  const std::optional<std::uint32_t> node = NumberOf(first.toList().first());
  // The highest number stands for any node, which is not what was chosen.
  return node != std::numeric_limits<std::uint32_t>::max() ? node : std::nullopt;
}

std::string RestoreTokenOf(const QVariantMap& results) {
  const QVariant token = results.value("restore_token");
  return token.type() == QVariant::String ? token.toString().toStdString() : std::string();
}

std::optional<std::uint32_t> NumberOf(const QVariant& property) {
  const QVariant plain = property.userType() == qMetaTypeId<QDBusVariant>()
                             ? property.value<QDBusVariant>().variant()
                             : property;
  if (plain.type() != QVariant::UInt) {
    return std::nullopt;
  }
  return plain.toUInt();
}

}  // namespace platform
