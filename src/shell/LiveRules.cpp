#include "shell/LiveRules.h"

namespace shell {

bool CanPublish(const QString& publishUrl) {
  return publishUrl.contains(QLatin1String("rtmp"), Qt::CaseSensitive);
}

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

}  // namespace shell
