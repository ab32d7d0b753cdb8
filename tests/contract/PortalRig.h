// A session of a test's own with a portal in it, and the desktop as the program takes it from
// there. What hangs ends the test program, instead of its patience.
//
// Threads: the test's own.
#ifndef ORVANE_TESTS_CONTRACT_PORTALRIG_H
#define ORVANE_TESTS_CONTRACT_PORTALRIG_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/CaptureLayer.h"
#include "platform/linux/portal/PortalSettings.h"
#include "support/StreamReader.h"
#include "support/portal/FakePortal.h"
#include "support/portal/PrivateSession.h"

namespace support {

class PortalRig {
 public:
  static constexpr int kPatienceMs = 60000;

  // The session, with a portal in it. Expects success.
  explicit PortalRig(const std::vector<std::string>& switches = {});

  platform::PortalSettings Settings() const;
  // The desktop; expects that there is a stream, whatever becomes of it.
  std::unique_ptr<platform::CaptureStream> Open() const;
  std::unique_ptr<platform::CaptureStream> Open(const platform::PortalSettings& settings) const;

  PrivateSession session;
  FakePortal portal;
};

// In the time that a closing may take, whatever it closes.
void CloseInTime(const std::function<void()>& close);
template <typename Closed>
void CloseInTime(std::unique_ptr<Closed>* closed) {
  CloseInTime([closed] { closed->reset(); });
}

// Reads to the end; why it ended, with what the last read gave. Empty when it doesn't end.
std::string EndOf(platform::CaptureStream* stream);
// Expects an end that is told in words and for good.
void ExpectEnd(platform::CaptureStream* stream);
// Expects a picture of CameraPattern; its number, or -1.
int ExpectPicture(platform::CaptureStream* stream);
// Reads on until a picture is as it should be; false when none is in time.
bool Shows(StreamReader* reader, const std::function<bool(const RgbPicture& picture)>& right);
// A picture of that size that is whole.
bool ShowsSize(StreamReader* reader, int width, int height);
// No packet for a moment. One that is already on its way may take its time.
bool RunsDry(StreamReader* reader);

}  // namespace support

#endif
