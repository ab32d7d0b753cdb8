// The monitor sound: SDL's audio callback.
#include <SDL.h>

#include <QDebug>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/common.h>
#include <libavutil/frame.h>
#include <libavutil/log.h>
#include <libswresample/swresample.h>
}

#include "media/ffmpeg/Scoped.h"
#include "output/CRender.h"
#include "platform/SoundFormat.h"

namespace {

constexpr int kBytesPerSample = platform::kSoundFrameBytes / platform::kSoundChannels;
constexpr std::uint32_t kWaitMs = 10;
// Frames waiting behind the one in hand above which the sound is played faster.
constexpr int kAudioBacklog = 3;
constexpr double kShorterBy = 0.95;
// 1.4 s of sound: more than the mixer ever gives at once.
constexpr int kMaxWaiting = 64;
// An opening takes 20 to 50 ms; one that takes longer goes on behind the scale thread.
constexpr int kOpenMs = 80;

// The payload in bytes as the frame says, and never more than its buffer holds.
int PayloadOf(const AVFrame* frame) {
  if (frame->data[0] == nullptr) {
    return 0;
  }
  int payload = std::max(frame->linesize[0], 0);
  if (const AVBufferRef* buffer = frame->buf[0]) {
    const std::ptrdiff_t rest =
        buffer->data + static_cast<std::ptrdiff_t>(buffer->size) - frame->data[0];
    payload = static_cast<int>(
        std::min(static_cast<std::ptrdiff_t>(payload), std::max(rest, std::ptrdiff_t{0})));
  }
  return payload;
}

AVFrame* NewStereoFrame(int samples, std::int64_t pts) {
  ffmpeg::ScopedFrame frame(av_frame_alloc());
  if (!frame || samples <= 0) {
    return nullptr;
  }
  frame->format = AV_SAMPLE_FMT_S16;
  frame->sample_rate = platform::kSoundRate;
  frame->nb_samples = samples;
  frame->pts = pts;
  av_channel_layout_default(&frame->ch_layout, platform::kSoundChannels);
  if (av_frame_get_buffer(frame.Get(), 1) < 0) {
    return nullptr;
  }
  frame->linesize[0] = samples * platform::kSoundFrameBytes;
  return frame.Release();
}

// What of frame lies behind its first used bytes, as a frame that is not to be shortened again.
AVFrame* RemainderOf(const AVFrame* frame, int payload, int used) {
  const int channels =
      frame->ch_layout.nb_channels > 0 ? frame->ch_layout.nb_channels : platform::kSoundChannels;
  AVFrame* rest = NewStereoFrame((payload - used) / channels / kBytesPerSample, frame->pts);
  if (rest != nullptr) {
    rest->opaque = rest;
    rest->linesize[0] = std::min(rest->linesize[0], payload - used);
    std::memcpy(rest->data[0], frame->data[0] + used, static_cast<std::size_t>(rest->linesize[0]));
  }
  return rest;
}

}  // namespace

int CRender::OpenAudioOutput(AVFrame* frame) {
  if (frame == nullptr) {
    return -1;
  }
  SDL_AudioSpec wanted{};
  wanted.freq = frame->sample_rate;
  wanted.format = AUDIO_S16SYS;
  wanted.channels = static_cast<Uint8>(frame->ch_layout.nb_channels);
  wanted.silence = 0;
  wanted.samples = static_cast<Uint16>(
      std::max(512, 2 << av_log2(static_cast<unsigned>(std::max(wanted.freq, 0)) / 15)));
  std::string error;
  if (!m_device.Open(wanted, AudioCallback, this, kOpenMs, &error)) {
    TellNoDevice(error);
    return -1;
  }
  return 0;
}

void CRender::TellNoDevice(const std::string& error) {
  av_log(nullptr, AV_LOG_ERROR, "Monitor sound: no device: %s\n", error.c_str());
  std::printf("can't open audio.\n");
}

// Sound that waits for longer than a moment has nobody who asks for it: there is no device, or its
// server is frozen. All but the newest goes, so that what is heard afterwards is of the picture on
// the screen.
void CRender::TrimSound() {
  if (m_firstAudioQueue->Size() <= kMaxWaiting) {
    return;
  }
  m_device.WhileNotAsking([this] {
    while (m_firstAudioQueue->Size() > kAudioBacklog) {
      auto* old = static_cast<AVFrame*>(m_firstAudioQueue->Pop());
      av_frame_free(&old);
    }
    m_firstAudioQueue->HandOver();
  });
}

void CRender::AudioCallback(void* node, std::uint8_t* stream, int length) {
  auto* self = static_cast<CRender*>(node);
  self->FillAudio(stream, length);
  self->m_firstAudioQueue->HandOver();  // to TrimSound, which comes between two calls
}

void CRender::FillAudio(std::uint8_t* stream, int length) {
  std::memset(stream, 0, static_cast<std::size_t>(length));
  if (m_stopped) {
    return;
  }
  if (std::exchange(m_firstCallback, false)) {
    StartAtPicture();
    if (!EnsureResampler()) {
      return;
    }
  }
  int position = 0;
  while (position < length && !m_stopped) {
    int waiting = 0;
    ffmpeg::ScopedFrame frame(static_cast<AVFrame*>(m_firstAudioQueue->Pop(&waiting)));
    if (!frame) {
      SDL_Delay(kWaitMs);
      continue;
    }
    if (waiting > kAudioBacklog && frame->opaque == nullptr) {
      AVFrame* shorter = Shorten(frame.Get());
      if (shorter == nullptr) {
        return;
      }
      frame.Reset(shorter);
    }
    const int payload = PayloadOf(frame.Get());
    const int chunk = std::min(payload, length - position);
    if (payload > chunk) {
      if (AVFrame* rest = RemainderOf(frame.Get(), payload, chunk)) {
        m_firstAudioQueue->PushFront(rest);
      }
    }
    if (chunk > 0) {
      SDL_MixAudioFormat(stream + position, frame->data[0], AUDIO_S16SYS,
                         static_cast<Uint32>(chunk), SDL_MIX_MAXVOLUME);
      position += chunk;
    }
  }
}

// Sound older than the picture on the screen is thrown away.
void CRender::StartAtPicture() {
  while (auto* head = static_cast<AVFrame*>(m_firstAudioQueue->Peek())) {
    if (DisplayedPts() <= head->pts) {
      return;
    }
    m_firstAudioQueue->Pop();
    av_frame_free(&head);
  }
}

std::int64_t CRender::DisplayedPts() {
  output::RenderLocker lock(&m_orderLock);
  return m_displayedPts;
}

bool CRender::EnsureResampler() {
  if (m_resampler != nullptr) {
    return true;
  }
  AVChannelLayout stereo;
  av_channel_layout_default(&stereo, platform::kSoundChannels);
  const int error =
      swr_alloc_set_opts2(&m_resampler, &stereo, AV_SAMPLE_FMT_S16, platform::kSoundRate, &stereo,
                          AV_SAMPLE_FMT_S16, platform::kSoundRate, 0, nullptr);
  if (error < 0 || swr_init(m_resampler) < 0) {
    std::printf("swr_init failed");
    swr_free(&m_resampler);
    return false;
  }
  return true;
}

// The same sound in 5% less time; null, said on standard output, when that fails.
AVFrame* CRender::Shorten(AVFrame* frame) {
  const int samples = static_cast<int>(frame->nb_samples * kShorterBy);
  ffmpeg::ScopedFrame shorter(NewStereoFrame(samples, frame->pts));
  const std::uint8_t* input[] = {frame->data[0]};
  // No more than the payload holds. Stop has taken the resampler with it, so it may be missing.
  const int available = std::min(frame->nb_samples, PayloadOf(frame) / platform::kSoundFrameBytes);
  int converted = -1;
  if (shorter && EnsureResampler()) {
    swr_set_compensation(m_resampler, samples - frame->nb_samples, samples);
    converted = swr_convert(m_resampler, shorter->data, samples, input, available);
  }
  if (converted < 0) {
    std::printf("swr_convert error");
    return nullptr;
  }
  shorter->nb_samples = converted;
  shorter->linesize[0] = converted * platform::kSoundFrameBytes;
  qDebug("----------         not  normal \n");
  return shorter.Release();
}
