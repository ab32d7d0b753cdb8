// The capture stream of one sound source of the server: PulseRecorder hears, ContinuousSound keeps
// it continuous, this cuts packets. Contract in PulseCapture.h.
//
// A source that had not answered when it was opened gives nothing for a second. If what comes by
// then is a refusal, the system's sound ends: on a busy machine that of a server which isn't there
// takes its time too, and a broadcast must not begin with the silence of a device that nobody has.
// A microphone is silent instead, as after the second: it is mixed with the system's sound, and the
// mix waits for both.
#ifndef ORVANE_PLATFORM_LINUX_PULSESTREAM_H
#define ORVANE_PLATFORM_LINUX_PULSESTREAM_H

#include <cstdint>
#include <optional>
#include <string>

#include "platform/CaptureLayer.h"
#include "platform/linux/ContinuousSound.h"
#include "platform/linux/PulseRecorder.h"
#include "platform/linux/SoundInbox.h"

namespace platform {

class PulseStream : public CaptureStream {
 public:
  // Arguments as of PulseRecorder.
  PulseStream(const std::string& label, const std::string& source);
  ~PulseStream() override;
  PulseStream(const PulseStream&) = delete;
  PulseStream& operator=(const PulseStream&) = delete;

  // Once, before all else; as PulseRecorder's. The stream's time begins when it returns true.
  bool Open(int waitMs, std::string* cause);

  bool FindStream(CaptureKind kind, StreamInfo* info) const override;
  int Read(AVPacket* packet) override;
  bool IsFiller() const override { return m_sound->IsFiller(); }
  bool HasOpened() const override { return m_recorder.HasOpened(); }
  // A microphone for another one; the system's sound stays what it is.
  bool SwitchTo(const std::string& name) override;

 private:
  AVCodecParameters* m_parameters;
  SoundInbox m_inbox;
  bool m_isMicrophone;
  PulseRecorder m_recorder;
  std::optional<ContinuousSound> m_sound;
  std::int64_t m_silentUntilUs = 0;  // unless it opens before; 0: it may be read
};

}  // namespace platform

#endif
