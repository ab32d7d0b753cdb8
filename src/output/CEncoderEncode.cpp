// The encode thread: frames into packets.
#include <SDL.h>

#include <QtGlobal>
#include <chrono>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "media/ffmpeg/ErrorText.h"
#include "media/ffmpeg/FrameMarks.h"
#include "media/ffmpeg/Scoped.h"
#include "output/CEncoder.h"
#include "output/PacketOutput.h"
#include "output/PublishRules.h"
#include "output/StreamCodecs.h"
#include "sources/DeviceCatalogue.h"

namespace {

// All that there is to be done comes with a frame, and frames ring.
constexpr std::chrono::milliseconds kMaxIdle(100);

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

void LogPictureError(int error) {
  av_log(nullptr, AV_LOG_ERROR, "avcodec_encode_video2 error msg = %s\n",
         ffmpeg::ErrorText(error).c_str());
}

}  // namespace

void CEncoder::Encode() {
  EncodeClock clock;
  while (m_started) {
    if (!EncodeTurn(&clock)) {
      m_input.Await(kMaxIdle);
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
    error = TakePackets(m_audioContext, output::kAudioStream, &m_audioPackets);
  }
  if (error < 0) {
    av_log(nullptr, AV_LOG_ERROR, "avcodec_encode_audio2 error\n");
    av_log(nullptr, AV_LOG_ERROR, "sound encoder: %s\n", ffmpeg::ErrorText(error).c_str());
  }
}

bool CEncoder::EncodePicture(EncodeClock* clock) {
  int waiting = 0;
  const ffmpeg::ScopedFrame input(static_cast<AVFrame*>(m_firstVideoQueue->Pop(&waiting)));
  if (!input) {
    return false;
  }
  ++m_counters.videoFramesTaken;
  ThinOut(waiting);
  if (!IsCanvas(*input.Get())) {
    ++clock->lost;
    LogPictureError(AVERROR(EINVAL));
    return true;
  }
  const output::PictureClock::Verdict verdict =
      clock->picture.Next(See(clock, *input.Get(), waiting));
  switch (verdict.fate) {
    case output::PictureClock::Fate::kEncode: {
      const std::uint64_t begin = SDL_GetTicks64();
      EncodeAt(verdict.step, PictureToEncode(input.Get()));
      KeepUp(clock, static_cast<std::int64_t>(SDL_GetTicks64() - begin));
      break;
    }
    case output::PictureClock::Fate::kLeaveOut:
      ++m_counters.videoFramesLeftOut;
      break;
    case output::PictureClock::Fate::kTooEarly:
    case output::PictureClock::Fate::kRepeat:
      break;
  }
  return true;
}

// What waits beyond the limit goes, spread over all that waits. So does a picture over which the
// renderer has drawn a later one meanwhile. A picture before which some are missing tells how many
// (repeat_pict, which no encoder looks at).
void CEncoder::ThinOut(int waiting) {
  if (!output::DropsInput(waiting)) {
    return;
  }
  std::vector<AVFrame*> pictures;
  pictures.reserve(static_cast<std::size_t>(waiting));
  for (int i = 0; i < waiting; ++i) {
    pictures.push_back(static_cast<AVFrame*>(m_firstVideoQueue->Pop()));
  }
  std::vector<AVFrame*> kept;
  int lost = 0;
  for (int i = 0; i < waiting; ++i) {
    AVFrame* picture = pictures[static_cast<std::size_t>(i)];
    const AVFrame* next = i + 1 < waiting ? pictures[static_cast<std::size_t>(i) + 1] : nullptr;
    const bool drawnOver =
        next != nullptr && next->data[0] == picture->data[0] && next->pts != picture->pts;
    if (output::KeepsInput(i, waiting) && !drawnOver) {
      picture->repeat_pict += std::exchange(lost, 0);
      kept.push_back(picture);
      continue;
    }
    lost += 1 + picture->repeat_pict;
    av_frame_free(&picture);
    ++m_counters.videoFramesTaken;
    ++m_counters.videoFramesDropped;
  }
  for (auto picture = kept.rbegin(); picture != kept.rend(); ++picture) {
    m_firstVideoQueue->PushFront(*picture);
  }
}

output::PictureClock::Picture CEncoder::See(EncodeClock* clock, const AVFrame& input,
                                            int waiting) const {
  output::PictureClock::Picture seen;
  seen.nowMs = static_cast<std::int64_t>(SDL_GetTicks64());
  const std::int64_t samples = clock->samples + av_audio_fifo_size(m_fifo);
  if (samples > 0) {
    seen.soundMs = samples * 1000 / output::kSampleRate;
  }
  if (const std::optional<std::int64_t> captured = ffmpeg::CaptureMs(&input)) {
    // Stamps are those of the clock of 32 bits.
    const auto stamp = static_cast<std::uint32_t>(*captured);
    seen.capturedMs = seen.nowMs - static_cast<std::int32_t>(SDL_GetTicks() - stamp);
  }
  seen.waiting = waiting;
  seen.lost = std::exchange(clock->lost, 0) + input.repeat_pict;
  seen.repeat = input.pts != AV_NOPTS_VALUE && input.pts == clock->canvasPts;
  clock->canvasPts = input.pts;
  return seen;
}

void CEncoder::EncodeAt(std::int64_t step, AVFrame* picture) {
  int error = AVERROR(ENOMEM);
  if (picture != nullptr) {
    picture->pts = step;
    picture->pict_type = m_keyDue.exchange(false) ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
    error = avcodec_send_frame(m_videoContext, picture);
  }
  if (error >= 0) {
    error = TakePackets(m_videoContext, output::kVideoStream, &m_videoPackets);
  }
  if (error < 0) {
    LogPictureError(error);
  }
}

// Only x264 has presets to choose from.
void CEncoder::KeepUp(EncodeClock* clock, std::int64_t tookMs) {
  if (std::strcmp(m_videoContext->codec->name, output::kSoftwareEncoder) != 0) {
    return;
  }
  const std::uint64_t dropped = m_counters.videoFramesDropped;
  const int level = clock->effort.Next(
      {static_cast<std::int64_t>(SDL_GetTicks64()), tookMs, m_firstVideoQueue->Size(),
       static_cast<int>(dropped - std::exchange(clock->dropped, dropped))});
  if (level != std::exchange(clock->effortLevel, level)) {
    ChangeEffort(level);
  }
}

// One that is not the canvas would be read past its end.
bool CEncoder::IsCanvas(const AVFrame& input) const {
  return input.width == m_catalogue->renderWidth && input.height == m_catalogue->renderHeight &&
         input.format == AV_PIX_FMT_YUV420P;
}

// The picture in the size of the stream; null when there is no memory for it.
AVFrame* CEncoder::PictureToEncode(AVFrame* input) {
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
    const bool sound = stream == output::kAudioStream;
    if (!sound) {
      m_counters.newestVideoPts = packet->pts;
      if ((packet->flags & AV_PKT_FLAG_KEY) != 0) {
        output::AddHeader(*context, packet.Get());
      }
    }
    ShowPacket(*packet.Get());
    queue->PushBack(packet.Release());
    // What is counted has gone into its queue.
    ++(sound ? m_counters.audioPacketsEncoded : m_counters.videoPacketsEncoded);
  }
}

// Before the publisher has it, which writes its own times into it.
void CEncoder::ShowPacket(const AVPacket& packet) {
  const platform::Lock lock(m_packetOutputMutex);
  if (m_packetOutput != nullptr) {
    m_packetOutput->TakePacket(packet);
  }
}
