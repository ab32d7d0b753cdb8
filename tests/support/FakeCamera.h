// A camera for tests on machines that have none: a stand-in that speaks the real interface.
//
// A file served through FUSE by a helper program takes the place of /dev/videoN and answers open,
// mmap and the V4L2 ioctls as the driver of a camera would, so that the program under test runs its
// own capture code, libavdevice's unmodified V4L2 input included. What it can't show is the timing
// of a real bus and the oddities of real drivers.
//
// A test program that links this rig runs in a mount namespace of its own with a private /dev, in
// which the cameras stand; it re-executes itself there before main() starts its tests. Whatever it
// starts (the built program too) sees the same cameras, and nothing outside does. As a user this
// takes user namespaces and a /dev/fuse open to all.
//
// The pictures are those of CameraPattern. Threads: one at a time.
#ifndef ORVANE_TESTS_SUPPORT_FAKECAMERA_H
#define ORVANE_TESTS_SUPPORT_FAKECAMERA_H

#include <string>

#include "support/CameraPattern.h"
#include "support/Process.h"

namespace support {

enum class CameraFormat { Yuyv, Rgb24, Mjpeg };

// A camera with one mode, which is its default mode.
struct FakeCameraMode {
  std::string card = "Fake Camera";  // at most 31 bytes, as in the driver's interface
  int width = 640;                   // even
  int height = 480;
  CameraFormat format = CameraFormat::Yuyv;
  int framesPerSecond = 25;
  CameraColour background;
  bool capturesPictures = true;  // false: the second node of a USB camera, which gives metadata
  // Each picture's top tells when it was captured (TimeCode.h, on CLOCK_MONOTONIC) in place of its
  // number, as a stage window's does. At least 1216 pixels wide.
  bool showsClock = false;
};

class FakeCamera {
 public:
  FakeCamera() = default;
  ~FakeCamera();  // Unplug
  FakeCamera(const FakeCamera&) = delete;
  FakeCamera& operator=(const FakeCamera&) = delete;

  // Puts the camera at the first free /dev/videoN, or at the number given. False when it could not
  // be made; Failure tells why.
  bool Plug(const FakeCameraMode& mode = {}, int number = -1);
  // It disappears from /dev, and those who have it open are answered ENODEV.
  void Unplug();
  // No picture comes any more, as with a camera whose bus hangs; every other call is answered.
  bool Freeze();
  bool Thaw();
  // Another program holds the camera: it opens, but gives its format and buffers to nobody.
  bool SetBusy(bool busy);
  // The next pictures arrive damaged, flagged as such by the driver.
  bool Damage(int pictures);

  const std::string& Path() const { return m_path; }  // "/dev/videoN", empty while unplugged
  const std::string& Failure() const { return m_failure; }

 private:
  bool Fail(const std::string& cause);
  bool StartDevice(const FakeCameraMode& mode);
  bool Command(const std::string& command);
  bool Answered();

  TempDir m_directory;
  Process m_helper;
  std::string m_path;  // empty while unplugged
  std::string m_node;  // where the helper's file is mounted
  std::string m_failure;
  std::string m_answer;
  int m_socket = -1;
};

}  // namespace support

#endif
