#include "sources/SoundWatch.h"

#include <cstdint>
#include <vector>

#include "platform/SoundFormat.h"

namespace sources {

void SoundWatch::Open(const std::string& deviceName) {
  Close();
  m_level.Take();
  m_listener = platform::CaptureLayer::Current().Listen(deviceName);
}

SoundMeasure SoundWatch::TakeLevel() {
  if (m_listener == nullptr) {
    return {};
  }
  std::vector<std::int16_t> samples = m_listener->Take();
  const auto count = static_cast<int>(samples.size());
  m_gain.Begin();
  m_gain.Amplify(samples.data(), count / platform::kSoundChannels);
  m_level.Add(samples.data(), count);
  return m_level.Take();
}

}  // namespace sources
