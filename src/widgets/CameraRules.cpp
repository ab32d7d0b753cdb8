#include "widgets/CameraRules.h"

#include <algorithm>

#include "platform/CaptureLayer.h"

namespace widgets {

std::vector<QString> FreeCameras(const std::vector<QString>& devices,
                                 const std::vector<QString>& used) {
  const QString desktop = QString::fromUtf8(platform::kDesktopName);
  std::vector<QString> free;
  for (std::size_t i = 1; i < devices.size(); ++i) {
    const bool inUse = std::find(used.begin(), used.end(), devices[i]) != used.end();
    if (!inUse && !devices[i].contains(desktop)) {
      free.push_back(devices[i]);
    }
  }
  return free;
}

CameraTake TakeOf(int queued) {
  CameraTake take;
  take.show = queued > 0;
  take.pop = queued > 1;
  take.drop = std::max(0, queued - 1 - kCameraBacklog);
  return take;
}

}  // namespace widgets
