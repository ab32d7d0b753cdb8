// The capture stream of one sound source of the server: PulseRecorder hears, ContinuousSound keeps
// it continuous, this cuts packets. Contract in PulseCapture.h.
#ifndef ORVANE_PLATFORM_LINUX_PULSESTREAM_H
#define ORVANE_PLATFORM_LINUX_PULSESTREAM_H

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

 private:
  AVCodecParameters* m_parameters;
  SoundInbox m_inbox;
  PulseRecorder m_recorder;
  std::optional<ContinuousSound> m_sound;
};

}  // namespace platform

#endif
