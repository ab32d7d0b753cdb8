// Cameras of Video4Linux.
//
// Every V4L2 node that captures pictures is a camera; a camera opens at its default mode, is
// thinned to 25 pictures a second (see CameraPace.h) and is read without blocking, so that one that
// hangs is a camera without a picture yet. Unplugging is a read error. Threads: as CaptureStream;
// the two functions one at a time.
#ifndef ORVANE_PLATFORM_LINUX_V4L2CAMERA_H
#define ORVANE_PLATFORM_LINUX_V4L2CAMERA_H

#include <string>
#include <vector>

#include "platform/CaptureLayer.h"
#include "platform/linux/CameraNames.h"

namespace platform {

// The cameras now present, in no particular order.
std::vector<CameraNode> FindV4l2Cameras();

// name: what the camera is called in the log.
OpenResult OpenV4l2Camera(const std::string& path, const std::string& name);

}  // namespace platform

#endif
