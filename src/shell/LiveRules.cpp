#include "shell/LiveRules.h"

namespace shell {

QSize StreamSize(int quality) {
  switch (quality) {
    case 0:
      return {960, 540};
    case 1:
      return {1280, 720};
    default:
      return {1920, 1080};
  }
}

QString ClockText(const QTime& time) {
  return time.toString(QStringLiteral("hh:mm:ss"));
}

}  // namespace shell
