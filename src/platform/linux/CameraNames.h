// The names under which cameras are listed.
//
// A camera is called by what its driver calls it. Where that name is taken already, by another
// camera of the same model or by one of the layer's fixed names, a number follows it: "Webcam (2)".
// A camera keeps its name for as long as it stays plugged in, whatever comes and goes beside it.
//
// Pure functions, any thread.
#ifndef ORVANE_PLATFORM_LINUX_CAMERANAMES_H
#define ORVANE_PLATFORM_LINUX_CAMERANAMES_H

#include <string>
#include <vector>

namespace platform {

// What tells one camera from another while it stays plugged in.
struct CameraNode {
  std::string path;  // of the device
  std::string card;  // what the driver calls it; any bytes
  std::string bus;   // where it is plugged in
  bool operator==(const CameraNode& other) const {
    return path == other.path && card == other.card && bus == other.bus;
  }
};

struct NamedCamera {
  CameraNode node;
  std::string name;
};

// The cameras now present with their names, in the order of their device numbers; previous is the
// result of the last call.
std::vector<NamedCamera> NameCameras(const std::vector<NamedCamera>& previous,
                                     std::vector<CameraNode> present);

}  // namespace platform

#endif
