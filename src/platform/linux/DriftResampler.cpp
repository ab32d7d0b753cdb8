#include "platform/linux/DriftResampler.h"

#include <algorithm>
#include <cmath>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include "platform/SoundFormat.h"

namespace platform {

namespace {

constexpr int kRate = kSoundRate;
// The compensation is renewed every block; this is only its resolution: 0.2 ppm.
constexpr int kCompensationFrames = 5'000'000;
// Positions are asked for in thousandths of a frame.
constexpr std::int64_t kPositionParts = 1000;

}  // namespace

void DriftResampler::Free::operator()(SwrContext* context) const {
  swr_free(&context);
}

DriftResampler::DriftResampler() {
  SwrContext* context = nullptr;
  AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
  if (swr_alloc_set_opts2(&context, &stereo, AV_SAMPLE_FMT_S16, kRate, &stereo, AV_SAMPLE_FMT_S16,
                          kRate, 0, nullptr) < 0) {
    return;
  }
  m_context.reset(context);
  // Equal rates would pass the samples through: the filter has to be there from the start, with
  // steps between its phases fine enough for a few in a million.
  av_opt_set_int(context, "flags", SWR_FLAG_RESAMPLE, 0);
  av_opt_set_int(context, "exact_rational", 0, 0);
  av_opt_set_int(context, "linear_interp", 1, 0);
  av_opt_set_sample_fmt(context, "internal_sample_fmt", AV_SAMPLE_FMT_FLTP, 0);
}

bool DriftResampler::Reset() {
  m_fed = 0;
  if (!m_context) {
    return false;
  }
  swr_close(m_context.get());
  return swr_init(m_context.get()) >= 0;
}

void DriftResampler::SetAdded(double ppm) {
  const auto delta = static_cast<int>(std::lround(ppm * 1e-6 * kCompensationFrames));
  swr_set_compensation(m_context.get(), delta, kCompensationFrames);
}

int DriftResampler::Convert(SampleQueue* input, std::int16_t* out, int frames) {
  int given = 0;
  while (given < frames) {
    // As much as is missing, and a little when the filter holds back the last ones.
    const int feed = std::min(input->Frames(), std::max(frames - given - kLookahead / 4, 8));
    const auto* in = reinterpret_cast<const std::uint8_t*>(input->Front());
    auto* target = reinterpret_cast<std::uint8_t*>(out + static_cast<std::ptrdiff_t>(given) *
                                                             SampleQueue::kChannels);
    const int got = swr_convert(m_context.get(), &target, frames - given, &in, feed);
    if (got < 0 || (got == 0 && feed == 0)) {
      break;
    }
    input->Drop(feed);
    m_fed += feed;
    given += got;
  }
  return given;
}

double DriftResampler::Position() const {
  const std::int64_t held = swr_get_delay(m_context.get(), kRate * kPositionParts);
  return static_cast<double>(m_fed) - static_cast<double>(held) / kPositionParts;
}

}  // namespace platform
