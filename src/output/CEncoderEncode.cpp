// The encode thread: frames into packets.
#include <SDL.h>

#include <QtGlobal>
#include <algorithm>

#include "media/ffmpeg/ErrorText.h"
#include "media/ffmpeg/Scoped.h"
#include "output/CEncoder.h"
#include "output/PublishRules.h"
#include "output/StreamCodecs.h"
#include "sources/DeviceCatalogue.h"

namespace {

constexpr int kAudioStream = 0;
constexpr int kVideoStream = 1;

// Sound in the encoder's format with room for that many samples; null when it can't be had.
AVFrame* NewSound(const AVCodecContext* context, int samples, std::int64_t pts) {
  ffmpeg::ScopedFrame sound(av_frame_alloc());
  if (!sound) {
    return nullptr;
  }
  av_channel_layout_default(&sound->ch_layout, 2);
  sound->sample_rate = output::kSampleRate;
  sound->format = context->sample_fmt;
  sound->nb_samples = samples;
  sound->pts = pts;
  if (av_frame_get_buffer(sound.Get(), 0) < 0) {
    return nullptr;
  }
  return sound.Release();
}

}  // namespace

void* CEncoder::EncodeEntry(void* node) {
  static_cast<CEncoder*>(node)->Encode();
  return nullptr;
}

void CEncoder::Encode() {
  EncodeClock clock;
  while (m_started) {
    if (!EncodeTurn(&clock)) {
      SDL_Delay(1);
    }
  }
}

// One picture a turn, not all that wait: an encoder slower than the pictures come would never be
// done with them, would never come back to the sound, and would never drop one.
bool CEncoder::EncodeTurn(EncodeClock* clock) {
  const bool sound = EncodeSound(clock);
  const bool picture = EncodePicture(clock);
  return sound || picture;
}

bool CEncoder::EncodeSound(EncodeClock* clock) {
  const int frameSize = m_audioContext->frame_size;
  bool any = false;
  while (m_started) {
    while (av_audio_fifo_size(m_fifo) < frameSize) {
      auto* frame = static_cast<AVFrame*>(m_firstAudioQueue->Pop());
      if (frame == nullptr) {
        return any;
      }
      any = true;
      ++m_counters.audioFramesTaken;
      QueueSamples(frame, clock->samples);
    }
    while (av_audio_fifo_size(m_fifo) >= frameSize) {
      EncodeSamples(clock);
    }
  }
  return any;
}

// Takes frame over.
void CEncoder::QueueSamples(AVFrame* frame, std::int64_t pts) {
  ffmpeg::ScopedFrame sound(frame);
  if (sound->format != m_audioContext->sample_fmt) {
    ffmpeg::ScopedFrame converted(NewSound(m_audioContext, sound->nb_samples, pts));
    const int error = !converted || m_resampler == nullptr
                          ? AVERROR(ENOMEM)
                          : swr_convert(m_resampler, converted->data, converted->nb_samples,
                                        const_cast<const std::uint8_t**>(sound->extended_data),
                                        sound->nb_samples);
    if (error < 0) {
      av_log(nullptr, AV_LOG_ERROR, "sound lost before the encoder: %s\n",
             ffmpeg::ErrorText(error).c_str());
      return;
    }
    sound.Reset(converted.Release());
  }
  if (av_audio_fifo_realloc(m_fifo, av_audio_fifo_size(m_fifo) + m_audioContext->frame_size) < 0) {
    qDebug("Could not reallocate FIFO\n");
  }
  void** data = reinterpret_cast<void**>(sound->extended_data);
  if (av_audio_fifo_write(m_fifo, data, sound->nb_samples) < sound->nb_samples) {
    qDebug("Could not write data to FIFO\n");
  }
}

void CEncoder::EncodeSamples(EncodeClock* clock) {
  const int frameSize = m_audioContext->frame_size;
  clock->samples += frameSize;
  ffmpeg::ScopedFrame sound(NewSound(m_audioContext, frameSize, clock->samples));
  if (!sound) {
    av_log(nullptr, AV_LOG_ERROR, "no memory for the sound encoder\n");
    av_audio_fifo_drain(m_fifo, frameSize);
    return;
  }
  if (av_audio_fifo_read(m_fifo, reinterpret_cast<void**>(sound->data), frameSize) < frameSize) {
    qDebug("av_audio_fifo_read  fail");
  }
  int error = avcodec_send_frame(m_audioContext, sound.Get());
  if (error >= 0) {
    error = TakePackets(m_audioContext, kAudioStream, &m_audioPackets);
  }
  if (error < 0) {
    av_log(nullptr, AV_LOG_ERROR, "avcodec_encode_audio2 error\n");
    av_log(nullptr, AV_LOG_ERROR, "sound encoder: %s\n", ffmpeg::ErrorText(error).c_str());
  }
}

bool CEncoder::EncodePicture(EncodeClock* clock) {
  int waiting = 0;
  ffmpeg::ScopedFrame input(static_cast<AVFrame*>(m_firstVideoQueue->Pop(&waiting)));
  if (!input) {
    return false;
  }
  ++m_counters.videoFramesTaken;
  if (output::DropsInput(waiting)) {
    const ffmpeg::ScopedFrame dropped(static_cast<AVFrame*>(m_firstVideoQueue->Pop()));
    ++m_counters.videoFramesTaken;
    ++m_counters.videoFramesDropped;
  }
  if (IsTooEarly(*clock, input.Get())) {
    ++clock->leftOut;
    return true;
  }
  if (clock->correction < 0) {
    ++clock->correction;
    ++m_counters.videoFramesLeftOut;
    return true;
  }
  AVFrame* picture = PictureToEncode(input.Get());
  Encode(clock, picture);
  KeepStep(clock);
  if (clock->correction > 0 && picture != nullptr) {
    // It costs the encoder next to nothing, and shows what happened: the picture stood still.
    --clock->correction;
    Encode(clock, picture);
  }
  return true;
}

void CEncoder::Encode(EncodeClock* clock, AVFrame* picture) {
  int error = AVERROR(EINVAL);
  if (picture != nullptr) {
    if (clock->pictures == 0) {
      // Those that wait behind it came with that sound too.
      clock->startMs = SoundMs(*clock) - m_firstVideoQueue->Size() * output::PictureServo::kStepMs;
    }
    picture->pts = clock->pictures++;
    error = avcodec_send_frame(m_videoContext, picture);
  }
  if (error >= 0) {
    error = TakePackets(m_videoContext, kVideoStream, &m_videoPackets);
  }
  if (error < 0) {
    char text[1024] = "";
    av_strerror(error, text, sizeof text);
    av_log(nullptr, AV_LOG_ERROR, "avcodec_encode_video2 error msg = %s\n", text);
  }
}

// After each picture, whose own 40 ms have only begun. Those that wait will be encoded still. A
// broadcast without any sound has no other measure than its pictures.
void CEncoder::KeepStep(EncodeClock* clock) {
  if (clock->samples == 0) {
    return;
  }
  // What is ordered already counts as done: while it is, more may get lost.
  const std::int64_t pictures = clock->pictures - 1 + m_firstVideoQueue->Size() + clock->correction;
  const int more = clock->servo.Look(SoundMs(*clock) - clock->startMs -
                                     pictures * output::PictureServo::kStepMs);
  clock->correction += clock->correction > 0 ? std::max(more, 0) : more;
}

std::int64_t CEncoder::SoundMs(const EncodeClock& clock) const {
  return (clock.samples + av_audio_fifo_size(m_fifo)) * 1000 / output::kSampleRate;
}

// Only before the first picture of the stream.
bool CEncoder::IsTooEarly(const EncodeClock& clock, const AVFrame* picture) const {
  if (clock.pictures > 0 || clock.leftOut >= output::kPicturesBeforeTheFirst ||
      picture->best_effort_timestamp == AV_NOPTS_VALUE) {
    return false;
  }
  const std::int64_t age = SDL_GetTicks() - picture->best_effort_timestamp;
  return SoundMs(clock) < output::SoundLeadMs(age);
}

// The picture in the size of the stream. Null for one that is not the canvas, which would be read
// past its end.
AVFrame* CEncoder::PictureToEncode(AVFrame* input) {
  if (input->width != m_catalogue->renderWidth || input->height != m_catalogue->renderHeight ||
      input->format != AV_PIX_FMT_YUV420P) {
    return nullptr;
  }
  if (m_scaler == nullptr) {
    return input;
  }
  // No copy unless an encoder still holds the last one.
  if (av_frame_make_writable(m_scaledFrame) < 0) {
    return nullptr;
  }
  sws_scale(m_scaler, input->data, input->linesize, 0, 1080, m_scaledFrame->data,
            m_scaledFrame->linesize);
  return m_scaledFrame;
}

// Moves what the encoder has ready to queue. 0, or the encoder's error.
int CEncoder::TakePackets(AVCodecContext* context, int stream, CMyQueue* queue) {
  for (;;) {
    ffmpeg::ScopedPacket packet(av_packet_alloc());
    const int error = packet ? avcodec_receive_packet(context, packet.Get()) : AVERROR(ENOMEM);
    if (error == AVERROR(EAGAIN)) {
      return 0;
    }
    if (error < 0) {
      return error;
    }
    if (packet->pts < 0) {
      continue;  // of the encoder's start-up delay
    }
    packet->stream_index = stream;
    av_packet_rescale_ts(packet.Get(), context->time_base, m_streamTimeBase);
    if (packet->pts == 0) {
      qDebug("what happened ??");
    }
    if (stream == kAudioStream) {
      ++m_counters.audioPacketsEncoded;
    } else {
      ++m_counters.videoPacketsEncoded;
      m_counters.newestVideoPts = packet->pts;
    }
    queue->PushBack(packet.Release());
  }
}
