#include "platform/linux/DeviceClock.h"

#include <algorithm>
#include <cmath>

#include "platform/SoundFormat.h"

namespace platform {

namespace {

constexpr double kNominalPeriodUs = 1e6 / kSoundRate;
// Three or more blocks of 10 ms: one of them was punctual.
constexpr std::int64_t kSettleUs = 30'000;
// A line found anew so close to the old one means that the device never stopped: the rest is jitter
// of the few blocks' arrivals.
constexpr double kSameLineUs = 10'000;
constexpr std::int64_t kErrorsUs = 500'000;
constexpr std::int64_t kAgesUs = 2'000'000;
constexpr std::size_t kMinBlocks = 8;
constexpr double kJumpUs = 25'000;
// A second-order loop, critically damped, that follows a new rate within 20 s and lets a jitter of
// a millisecond through as 10 ppm.
constexpr double kPositionGain = 0.1;
constexpr double kRateGain = kPositionGain * kPositionGain / (2 - kPositionGain);
// Crystals are within 100 ppm, cheap ones within 300.
constexpr double kMaxDriftPpm = 500;

double Quantile(std::vector<double> values, double share) {
  const auto index = static_cast<std::size_t>(share * static_cast<double>(values.size()));
  const auto nth = values.begin() + static_cast<std::ptrdiff_t>(index);
  std::nth_element(values.begin(), nth, values.end());
  return *nth;
}

}  // namespace

double DeviceClock::PeriodUs() const {
  return kNominalPeriodUs / (1 + m_driftPpm * 1e-6);
}

double DeviceClock::TimeOf(double frame) const {
  return m_anchorUs + (frame - m_anchorFrame) * PeriodUs();
}

double DeviceClock::FrameAt(double timeUs) const {
  return m_anchorFrame + (timeUs - m_anchorUs) / PeriodUs();
}

void DeviceClock::Observe(std::int64_t endFrame, int frames, std::int64_t arrivalUs,
                          std::int64_t captureOffsetUs) {
  const auto end = static_cast<double>(endFrame);
  const auto takenUs = static_cast<double>(arrivalUs + captureOffsetUs);
  ObserveAge(frames, arrivalUs, captureOffsetUs);
  if (!m_settled) {
    ObserveUnsettled(end, takenUs, arrivalUs);
    return;
  }
  if (m_errorsUs.empty()) {
    m_errorsStartUs = arrivalUs;
  }
  m_errorsUs.push_back(takenUs - TimeOf(end));
  if (arrivalUs - m_errorsStartUs >= kErrorsUs && m_errorsUs.size() >= kMinBlocks) {
    // The line is anchored here, so that a new rate turns it about the present.
    m_anchorUs = TimeOf(end);
    m_anchorFrame = end;
    EvaluateErrors();
  }
}

void DeviceClock::ObserveAge(int frames, std::int64_t arrivalUs, std::int64_t captureOffsetUs) {
  if (m_agesUs.empty()) {
    m_agesStartUs = arrivalUs;
  }
  m_agesUs.push_back(frames * PeriodUs() - static_cast<double>(captureOffsetUs));
  if (arrivalUs - m_agesStartUs >= kAgesUs && m_agesUs.size() >= kMinBlocks) {
    m_usualAgeUs = Quantile(m_agesUs, 0.5);
    m_agesUs.clear();
  }
}

void DeviceClock::ObserveUnsettled(double end, double takenUs, std::int64_t arrivalUs) {
  if (!m_hasCandidate) {
    m_settleStartUs = arrivalUs;
  }
  if (!m_hasCandidate || takenUs < m_candidateUs + (end - m_candidateFrame) * PeriodUs()) {
    m_hasCandidate = true;
    m_candidateFrame = end;
    m_candidateUs = takenUs;
  }
}

void DeviceClock::EvaluateErrors() {
  const double errorUs = Quantile(m_errorsUs, 0.1);
  m_errorsUs.clear();
  if (std::abs(errorUs) > kJumpUs) {
    m_anchorUs += errorUs;
    m_jumped = true;
    return;
  }
  m_anchorUs += kPositionGain * errorUs;
  // A line that has to move later stands for a device slower than thought.
  m_driftPpm -= kRateGain * errorUs / static_cast<double>(kErrorsUs) * 1e6;
  m_driftPpm = std::clamp(m_driftPpm, -kMaxDriftPpm, kMaxDriftPpm);
}

bool DeviceClock::TryLock(std::int64_t nowUs) {
  if (m_settled || !m_hasCandidate || nowUs - m_settleStartUs < kSettleUs) {
    return m_settled;
  }
  const bool same = m_hasLine && std::abs(m_candidateUs - TimeOf(m_candidateFrame)) < kSameLineUs;
  if (!same) {
    m_anchorFrame = m_candidateFrame;
    m_anchorUs = m_candidateUs;
  }
  m_hasLine = true;
  m_settled = true;
  return true;
}

void DeviceClock::LoseLock() {
  m_settled = false;
  m_hasCandidate = false;
  m_jumped = false;
  m_errorsUs.clear();
}

void DeviceClock::Reset() {
  *this = DeviceClock();
}

bool DeviceClock::TakeDiscontinuity() {
  const bool jumped = m_jumped;
  m_jumped = false;
  return jumped;
}

}  // namespace platform
