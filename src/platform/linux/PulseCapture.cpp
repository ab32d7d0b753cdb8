#include "platform/linux/PulseCapture.h"

#include <cstdint>
#include <memory>

extern "C" {
#include <libavutil/log.h>
}

#include "platform/linux/MicrophoneNames.h"
#include "platform/linux/PulseListing.h"
#include "platform/linux/PulseRecorder.h"
#include "platform/linux/PulseStream.h"
#include "platform/linux/SoundInbox.h"

namespace platform {

namespace {

MicrophoneNames& Names() {
  // Never destroyed: workers may run on while the process ends.
  static auto* const names = new MicrophoneNames(kSystemSoundName);
  return *names;
}

OpenResult Failed(const std::string& name, const std::string& cause) {
  OpenResult result;
  result.failure = OpenFailure::CannotOpen;
  result.cause = name + ": " + cause;
  return result;
}

// Never destroyed: what it waits for may outlast the process's static objects.
PulseListing& Listing() {
  static auto* const listing = new PulseListing;
  return *listing;
}

class PulseListener : public SoundListener {
 public:
  PulseListener(const std::string& name, const std::string& source)
      : m_recorder(name, source, &m_inbox, PulseRecorder::Use::kListen) {}

  bool Begin(std::string* cause) { return m_recorder.Begin(cause); }

  std::vector<std::int16_t> Take() override {
    std::vector<std::int16_t> samples;
    for (const SoundBlock& block : m_inbox.TakeAll()) {
      samples.insert(samples.end(), block.samples.begin(), block.samples.end());
    }
    return samples;
  }
  bool HasOpened() const override { return m_recorder.HasOpened(); }

 private:
  SoundInbox m_inbox;
  PulseRecorder m_recorder;
};

// The source of a name, which may come from an earlier run of the program and not yet be known.
bool FindSource(const std::string& name, int waitMs, std::string* source, std::string* cause) {
  *source = Names().Source(name);
  if (source->empty()) {
    std::vector<SoundSource> sources;
    if (!Listing().Take(waitMs, &sources, cause)) {
      return false;
    }
    Names().Names(sources);
    *source = Names().Source(name);
    *cause = "no such microphone";
  }
  return !source->empty();
}

}  // namespace

std::vector<std::string> ListPulseMicrophones(int waitMs) {
  std::vector<SoundSource> sources;
  std::string cause;
  if (!Listing().Take(waitMs, &sources, &cause)) {
    av_log(nullptr, AV_LOG_ERROR, "The microphones can't be listed: %s\n", cause.c_str());
  }
  return Names().Names(sources);
}

void PreparePulseMicrophones() {
  Listing().Begin();
}

std::string FindPulseMicrophone(const std::string& name, int waitMs) {
  std::string source;
  std::string cause;
  return name != kSystemSoundName && FindSource(name, waitMs, &source, &cause) ? source : "";
}

OpenResult OpenPulseStream(const std::string& name, int waitMs) {
  std::string source;
  std::string cause;
  if (name != kSystemSoundName && !FindSource(name, waitMs, &source, &cause)) {
    return Failed(name, cause);
  }
  auto stream = std::make_unique<PulseStream>(name, source);
  if (!stream->Open(waitMs, &cause)) {
    return Failed(name, cause);
  }
  OpenResult result;
  result.stream = std::move(stream);
  return result;
}

std::unique_ptr<SoundListener> ListenToPulse(const std::string& name) {
  std::string source;
  std::string cause;
  if (name == kSystemSoundName || FindSource(name, 0, &source, &cause)) {
    auto listener = std::make_unique<PulseListener>(name, source);
    if (listener->Begin(&cause)) {
      return listener;
    }
  }
  av_log(nullptr, AV_LOG_ERROR, "%s can't be listened to: %s\n", name.c_str(), cause.c_str());
  return nullptr;
}

}  // namespace platform
