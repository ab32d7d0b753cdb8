#include "sources/StereoConvert.h"

#include <cstddef>
#include <vector>

extern "C" {
#include <libavutil/error.h>
#include <libavutil/mathematics.h>
#include <libavutil/samplefmt.h>
}

#include "media/ffmpeg/Scoped.h"

namespace sources {

namespace {

// Outside of this a rate is a damaged header, and one frame would grow into minutes of sound.
constexpr int kMinRate = 2000;
constexpr int kMaxRate = 768000;

}  // namespace

bool IsGraphSound(const AVFrame* frame) {
  return frame->format == AV_SAMPLE_FMT_S16 && frame->sample_rate == kSoundRate &&
         frame->ch_layout.nb_channels == kSoundChannels;
}

void CompleteLayout(AVFrame* frame) {
  if (frame->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC && frame->ch_layout.nb_channels > 0) {
    const int channels = frame->ch_layout.nb_channels;
    av_channel_layout_default(&frame->ch_layout, channels);
  }
}

AVFrame* NewGraphSound(int samples) {
  ffmpeg::ScopedFrame frame(av_frame_alloc());
  if (!frame) {
    return nullptr;
  }
  frame->format = AV_SAMPLE_FMT_S16;
  frame->sample_rate = kSoundRate;
  frame->nb_samples = samples;
  av_channel_layout_default(&frame->ch_layout, kSoundChannels);
  return av_frame_get_buffer(frame.Get(), 1) < 0 ? nullptr : frame.Release();
}

StereoConvert::~StereoConvert() {
  Reset();
}

void StereoConvert::Reset() {
  swr_free(&m_resampler);
  av_channel_layout_uninit(&m_layout);
  m_format = AV_SAMPLE_FMT_NONE;
  m_rate = 0;
}

int StereoConvert::Prepare(const AVFrame* frame) {
  if (m_resampler != nullptr && frame->format == m_format && frame->sample_rate == m_rate &&
      av_channel_layout_compare(&frame->ch_layout, &m_layout) == 0) {
    return 0;
  }
  Reset();
  if (frame->sample_rate < kMinRate || frame->sample_rate > kMaxRate) {
    return AVERROR_INVALIDDATA;
  }
  int result = av_channel_layout_copy(&m_layout, &frame->ch_layout);
  if (result < 0) {
    return result;
  }
  AVChannelLayout stereo{};
  av_channel_layout_default(&stereo, kSoundChannels);
  ffmpeg::ScopedSwr made;
  result = swr_alloc_set_opts2(made.Address(), &stereo, AV_SAMPLE_FMT_S16, kSoundRate, &m_layout,
                               static_cast<AVSampleFormat>(frame->format), frame->sample_rate, 0,
                               nullptr);
  if (result >= 0) {
    result = swr_init(made.Get());
  }
  if (result < 0) {
    return result;
  }
  m_format = frame->format;
  m_rate = frame->sample_rate;
  m_resampler = made.Release();
  return 0;
}

int StereoConvert::Expected(const AVFrame* frame) {
  const int prepared = Prepare(frame);
  if (prepared < 0) {
    return prepared;
  }
  return static_cast<int>(
      av_rescale_rnd(frame->nb_samples + swr_get_delay(m_resampler, frame->sample_rate), kSoundRate,
                     frame->sample_rate, AV_ROUND_UP));
}

int StereoConvert::Convert(const AVFrame* frame, std::uint8_t* target, int room) {
  if (frame != nullptr) {
    const int prepared = Prepare(frame);
    if (prepared < 0) {
      return prepared;
    }
    const auto** samples = const_cast<const std::uint8_t**>(frame->extended_data);
    return swr_convert(m_resampler, &target, room, samples, frame->nb_samples);
  }
  if (m_resampler == nullptr) {
    return 0;
  }
  // No samples in, but planes all the same: null planes would mean the end of the sound.
  static const std::uint8_t nothing[1] = {};
  std::vector<const std::uint8_t*> planes(static_cast<std::size_t>(m_layout.nb_channels), nothing);
  return swr_convert(m_resampler, &target, room, planes.data(), 0);
}

}  // namespace sources
