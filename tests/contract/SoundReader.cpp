#include "contract/SoundReader.h"

#include <algorithm>

#include "support/GivenTime.h"
#include "support/SoundServer.h"

namespace platform {

namespace {

constexpr int kHearMs = 100;

std::int64_t NowUs() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::microseconds>(now).count();
}

}  // namespace

SoundReader::SoundReader(std::unique_ptr<CaptureStream> stream, std::int64_t beforeUs,
                         std::int64_t afterUs)
    : m_stream(std::move(stream)),
      m_beforeUs(beforeUs),
      m_afterUs(afterUs),
      m_drainStartUs(afterUs),
      m_drainEndUs(afterUs),
      m_thread([this] { Run(); }) {}

SoundReader::~SoundReader() {
  Close();
}

int SoundReader::Close() {
  m_stop = true;
  if (m_thread.joinable()) {
    m_thread.join();
  }
  return support::TimeGiven([this] { m_stream.reset(); });
}

void SoundReader::Run() {
  while (!m_stop && m_error == 0) {
    Drain();
    // The sound of a real server comes in real time.
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

void SoundReader::Drain() {
  std::vector<std::int16_t> samples;
  const std::int64_t startUs = NowUs();
  AVPacket* packet = av_packet_alloc();
  int result = m_stream->Read(packet);
  for (; result >= 0; result = m_stream->Read(packet)) {
    const auto* data = reinterpret_cast<const std::int16_t*>(packet->data);
    samples.insert(samples.end(), data, data + packet->size / 2);
    av_packet_unref(packet);
  }
  av_packet_free(&packet);
  m_error = result == AVERROR(EAGAIN) ? 0 : result;
  const std::lock_guard<std::mutex> locked(m_lock);
  m_samples.insert(m_samples.end(), samples.begin(), samples.end());
  m_drainStartUs = startUs;
  m_drainEndUs = NowUs();
}

std::vector<std::int16_t> SoundReader::Last(int ms) const {
  const std::lock_guard<std::mutex> locked(m_lock);
  const std::size_t count = std::min(m_samples.size(), static_cast<std::size_t>(ms) * kRate / 500);
  return {m_samples.end() - static_cast<std::ptrdiff_t>(count), m_samples.end()};
}

bool SoundReader::IsSilent(int ms) const {
  const std::vector<std::int16_t> samples = Last(ms);
  return std::all_of(samples.begin(), samples.end(), [](std::int16_t s) { return s == 0; });
}

bool SoundReader::Hears(double hertz) const {
  const std::vector<std::int16_t> samples = Last(kHearMs);
  return support::ToneLevel(samples.data(), samples.size() / 2, hertz) > 0.1;
}

std::int64_t SoundReader::Frames() const {
  const std::lock_guard<std::mutex> locked(m_lock);
  return static_cast<std::int64_t>(m_samples.size() / 2);
}

::testing::AssertionResult SoundReader::IsComplete() const {
  const std::lock_guard<std::mutex> locked(m_lock);
  const auto frames = static_cast<std::int64_t>(m_samples.size() / 2);
  const std::int64_t least = (m_drainStartUs - m_afterUs) * kRate / 1'000'000 - kRate / 100;
  const std::int64_t most = (m_drainEndUs - m_beforeUs) * kRate / 1'000'000;
  if (frames >= least && frames <= most) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure()
         << frames << " frames instead of " << least << " to " << most;
}

}  // namespace platform
