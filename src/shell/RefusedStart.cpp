#include "shell/RefusedStart.h"

namespace shell {

StreamHealth WithRefusal(StreamHealth health, const std::optional<QString>& message) {
  if (!message) {
    return health;
  }
  const QString said = message->simplified();
  const QString words =
      said.isEmpty() ? QStringLiteral("服务器没有接受这场直播") : QStringLiteral("服务器：") + said;
  if (health.light == StreamLight::kGreen) {
    health.light = StreamLight::kAmber;
    health.words = words;
    health.state = words;
  }
  health.details += QLatin1Char('\n') + words;
  return health;
}

}  // namespace shell
