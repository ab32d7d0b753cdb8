#include "platform/linux/CameraNames.h"

#include <algorithm>

#include "platform/CaptureLayer.h"
#include "platform/linux/Utf8.h"

namespace platform {

namespace {

bool IsTaken(const std::string& name, const std::vector<NamedCamera>& named) {
  return name == kDesktopName ||
         std::any_of(named.begin(), named.end(),
                     [&](const NamedCamera& camera) { return camera.name == name; });
}

std::string FreeName(const std::string& card, const std::vector<NamedCamera>& named) {
  // The interface of the drivers cuts names after 31 bytes, in the middle of a character too.
  const std::string valid = WellFormedUtf8(card, "");
  const std::string base = valid.empty() ? "Camera" : valid;
  std::string name = base;
  for (int number = 2; IsTaken(name, named); ++number) {
    name = base + " (" + std::to_string(number) + ")";
  }
  return name;
}

// "/dev/video2" comes before "/dev/video10".
bool ByNumber(const CameraNode& left, const CameraNode& right) {
  if (left.path.size() != right.path.size()) {
    return left.path.size() < right.path.size();
  }
  return left.path < right.path;
}

}  // namespace

std::vector<NamedCamera> NameCameras(const std::vector<NamedCamera>& previous,
                                     std::vector<CameraNode> present) {
  std::sort(present.begin(), present.end(), ByNumber);
  std::vector<NamedCamera> named;
  for (const NamedCamera& camera : previous) {
    if (std::find(present.begin(), present.end(), camera.node) != present.end()) {
      named.push_back(camera);
    }
  }
  for (const CameraNode& node : present) {
    const bool known = std::any_of(named.begin(), named.end(),
                                   [&](const NamedCamera& camera) { return camera.node == node; });
    if (!known) {
      named.push_back({node, FreeName(node.card, named)});
    }
  }
  std::sort(named.begin(), named.end(), [](const NamedCamera& left, const NamedCamera& right) {
    return ByNumber(left.node, right.node);
  });
  return named;
}

}  // namespace platform
