// Listens to one sound device for the meter, while nothing is broadcast.
//
// Flow: Open begins to listen to a device of the catalogue; TakeLevel tells how loud what has come
// since the last call would be sent, with the gain that is set and as if it were not muted. A
// device that is not there, or goes and comes back, is heard when it is; nothing is kept
// continuous, and the device may be open elsewhere.
//
// Threads: one, the user interface thread: nothing here waits for a device or a sound server, and
// hearing takes some microseconds. The capture layer has a thread for each watch that is open.
//
// Failure: a name that the capture layer doesn't know leaves the watch closed; of a device that
// can't be opened HasOpened stays false.
#ifndef ORVANE_SOURCES_SOUNDWATCH_H
#define ORVANE_SOURCES_SOUNDWATCH_H

#include <memory>
#include <string>

#include "platform/CaptureLayer.h"
#include "sources/SoundGain.h"
#include "sources/SoundLevel.h"

namespace sources {

class SoundWatch {
 public:
  // Of another device from now on.
  void Open(const std::string& deviceName);
  void Close() { m_listener.reset(); }

  bool IsOpen() const { return m_listener != nullptr; }
  // The device has been, at any time since Open.
  bool HasOpened() const { return IsOpen() && m_listener->HasOpened(); }
  void SetMix(const SoundMix& mix) { m_gain.Set(mix); }
  SoundMeasure TakeLevel();

 private:
  std::unique_ptr<platform::SoundListener> m_listener;
  SoundGain m_gain;
  SoundLevel m_level;
};

}  // namespace sources

#endif
