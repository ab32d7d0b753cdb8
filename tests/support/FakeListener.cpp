// Who only listens to a device in memory.
#include <atomic>
#include <cmath>
#include <utility>

#include "support/FakeCaptureLayer.h"

namespace support {

class FakeListener : public platform::SoundListener {
 public:
  explicit FakeListener(FakeDevice* device) : m_device(device), m_opened(device->CanBeHeard()) {
    m_device->CountListener(1);
  }
  ~FakeListener() override { m_device->CountListener(-1); }

  std::vector<std::int16_t> Take() override {
    m_opened = m_opened || m_device->CanBeHeard();
    return m_device->TakeSaid();
  }
  bool HasOpened() const override { return m_opened; }

 private:
  FakeDevice* m_device;
  std::atomic<bool> m_opened;
};

void FakeDevice::Say(int blocks) {
  std::lock_guard<std::mutex> lock(m_mutex);
  AddSaid(blocks);
}

int FakeDevice::Listeners() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_listeners;
}

void FakeDevice::CountListener(int more) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_listeners += more;
  m_saidDue = std::chrono::steady_clock::now();
}

bool FakeDevice::CanBeHeard() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return !m_busy && !m_unplugged;
}

// A device that runs free also says what is due by the clock.
std::vector<std::int16_t> FakeDevice::TakeSaid() {
  std::lock_guard<std::mutex> lock(m_mutex);
  const auto now = std::chrono::steady_clock::now();
  const auto late = std::chrono::duration_cast<std::chrono::milliseconds>(now - m_saidDue).count();
  if (m_free && !m_frozen && !m_unplugged && !m_busy) {
    AddSaid(static_cast<int>(late / 10));
    m_saidDue += std::chrono::milliseconds(late / 10 * 10);
  } else {
    m_saidDue = now;
  }
  return std::exchange(m_said, {});
}

void FakeDevice::AddSaid(int blocks) {
  constexpr int kFrames = 480;
  for (int i = 0; i < blocks * kFrames; ++i, ++m_saidFrames) {
    const double angle = 2 * M_PI * m_sound.hertz * static_cast<double>(m_saidFrames) / 48000;
    const auto sample = static_cast<std::int16_t>(std::lround(0.5 * std::sin(angle) * 32767));
    m_said.insert(m_said.end(), 2, sample);
  }
}

std::unique_ptr<platform::SoundListener> FakeCaptureLayer::Listen(const std::string& name) {
  std::lock_guard<std::mutex> lock(m_mutex);
  for (const auto& device : m_devices) {
    if (device->Kind() == platform::CaptureKind::Audio && device->Name() == name) {
      return std::make_unique<FakeListener>(device.get());
    }
  }
  return nullptr;
}

}  // namespace support
