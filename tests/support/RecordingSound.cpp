#include <algorithm>
#include <cmath>
#include <complex>

#include "support/Recording.h"
#include "support/RecordingReader.h"

namespace support {

namespace {

constexpr int kRate = 48000;
constexpr std::size_t kPerMs = kRate / 1000;
constexpr std::size_t kGapSamples = 50 * kPerMs;
constexpr double kPi = 3.14159265358979323846;

// Amplitude of one frequency in count samples.
double Goertzel(const float* samples, std::size_t count, double hertz) {
  if (count == 0) {
    return 0;
  }
  const double step = 2 * kPi * hertz / kRate;
  const double factor = 2 * std::cos(step);
  double last = 0;
  double beforeLast = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const double now = samples[i] + factor * last - beforeLast;
    beforeLast = last;
    last = now;
  }
  const std::complex<double> sum(last - beforeLast * std::cos(step), beforeLast * std::sin(step));
  return 2 * std::abs(sum) / static_cast<double>(count);
}

}  // namespace

Recording::Sound Recording::DecodeSound() const {
  Sound sound;
  bool first = true;
  RecordingReader reader(m_path);
  reader.Decode(AVMEDIA_TYPE_AUDIO, [&](const AVFrame& frame, std::int64_t ms) {
    if (frame.sample_rate != kRate || frame.format != AV_SAMPLE_FMT_FLTP) {
      return;
    }
    if (first) {
      sound.startMs = ms;
      first = false;
    }
    const auto due =
        static_cast<std::size_t>(std::max<std::int64_t>(0, ms - sound.startMs)) * kPerMs;
    if (due > sound.samples.size() + kGapSamples) {
      sound.samples.resize(due, 0.0F);
    }
    const int channels = frame.ch_layout.nb_channels;
    for (int i = 0; i < frame.nb_samples; ++i) {
      float sum = 0;
      for (int channel = 0; channel < channels; ++channel) {
        sum += reinterpret_cast<const float*>(frame.extended_data[channel])[i];
      }
      sound.samples.push_back(sum / static_cast<float>(channels));
    }
  });
  return sound;
}

double ToneLevel(const Recording::Sound& sound, double hertz, std::int64_t fromMs,
                 std::int64_t lengthMs) {
  const auto begin =
      static_cast<std::size_t>(std::max<std::int64_t>(0, fromMs - sound.startMs)) * kPerMs;
  if (begin >= sound.samples.size()) {
    return 0;
  }
  std::size_t count = sound.samples.size() - begin;
  if (lengthMs > 0) {
    count = std::min(count, static_cast<std::size_t>(lengthMs) * kPerMs);
  }
  return Goertzel(sound.samples.data() + begin, count, hertz);
}

}  // namespace support
