// The read thread of CInputFile: one packet at a time from the file into the private queues.
#include <SDL_timer.h>

#include <algorithm>
#include <cstring>

#include "media/ffmpeg/Scoped.h"
#include "sources/CInputFile.h"

namespace {

constexpr int kIdleMs = 10;
constexpr AVRational kMilliseconds{1, 1000};

// A damaged file's time stamps may exceed 64 bits: they wrap.
std::int64_t Plus(std::int64_t stamp, std::int64_t duration) {
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(stamp) +
                                   static_cast<std::uint64_t>(duration));
}

// Time stamp of a decoded frame in milliseconds. Where the file gives none it goes on from the
// frame before: the pace rule could make nothing of a missing one.
std::int64_t StampOf(const AVFrame* frame, AVRational timeBase, std::int64_t* next,
                     std::int64_t duration) {
  const std::int64_t best = frame->best_effort_timestamp;
  const std::int64_t stamp =
      best == AV_NOPTS_VALUE ? *next : av_rescale_q(best, timeBase, kMilliseconds);
  *next = Plus(stamp, duration);
  return stamp;
}

std::int64_t SoundDuration(const AVFrame* sound) {
  return sound->sample_rate > 0 ? sound->nb_samples * INT64_C(1000) / sound->sample_rate : 0;
}

}  // namespace

void CInputFile::Read() {
  while (m_running) {
    ReadTurn();
  }
}

sources::Ahead CInputFile::SoundAhead() {
  sources::Ahead ahead;
  ahead.decoded = m_audioQueue.Size();
  ahead.kept = m_keptSound.Count();
  ahead.keptBytes = m_keptSound.Bytes();
  return ahead;
}

sources::Ahead CInputFile::PictureAhead() {
  sources::Ahead ahead;
  ahead.decoded = m_videoQueue.Size();
  ahead.decodedBytes = m_film.Bytes() * ahead.decoded;
  ahead.kept = m_keptPictures.Count();
  ahead.keptBytes = m_keptPictures.Bytes();
  return ahead;
}

void CInputFile::ReadTurn() {
  switch (sources::NextReadStep(SoundAhead(), PictureAhead())) {
    case sources::ReadStep::DecodeKeptSound:
      m_keptSound.TakeFirst(m_packet);
      Decode(m_audioStream, m_packet);
      break;
    case sources::ReadStep::DecodeKeptPicture:
      m_keptPictures.TakeFirst(m_packet);
      Decode(m_videoStream, m_packet);
      break;
    case sources::ReadStep::Wait:
      SDL_Delay(kIdleMs);
      break;
    case sources::ReadStep::Read:
      ReadPacket();
      break;
  }
  av_packet_unref(m_packet);
}

void CInputFile::ReadPacket() {
  const int result = av_read_frame(m_file, m_packet);
  if (result < 0) {
    av_packet_unref(m_packet);
    HandleReadError(result);
    SDL_Delay(kIdleMs);
    return;
  }
  m_atEnd = false;
  if (m_drained) {
    // The file has grown, or can be read again behind a damaged place.
    avcodec_flush_buffers(m_audioStream == 0 ? m_audioCodec : m_videoCodec);
    m_drained = false;
  }
  TakePacket(m_packet);
}

void CInputFile::HandleReadError(int error) {
  if (error == AVERROR(EAGAIN)) {
    return;
  }
  if (error != AVERROR_EOF && m_running) {
    m_readFault.Tell(Whose(), "can't be read on", error);
  }
  DrainFirstStream();
  m_atEnd = m_keptSound.Count() == 0;
}

// The end is told to the decoder of stream 0 only, as it always was: of a film whose picture comes
// second the last ones, which its decoder still holds, are not shown.
void CInputFile::DrainFirstStream() {
  const bool sound = m_audioStream == 0;
  if (m_drained || (!sound && m_videoStream != 0)) {
    return;
  }
  if ((sound ? m_keptSound : m_keptPictures).Count() > 0) {
    return;
  }
  m_drained = true;
  Decode(0, m_packet);
}

void CInputFile::TakePacket(AVPacket* packet) {
  const bool sound = packet->stream_index == m_audioStream;
  if (!sound && packet->stream_index != m_videoStream) {
    return;
  }
  if (!sound && m_skipToKey && (packet->flags & AV_PKT_FLAG_KEY) == 0) {
    return;  // it refers to a picture that was left out
  }
  switch (sound ? sources::UseOfSound(SoundAhead()) : sources::UseOfPicture(PictureAhead())) {
    case sources::PacketUse::Decode:
      Decode(packet->stream_index, packet);
      break;
    case sources::PacketUse::Keep:
      if (!(sound ? m_keptSound : m_keptPictures).Keep(packet)) {
        m_skipToKey = m_skipToKey || !sound;
        return;
      }
      break;
    case sources::PacketUse::Drop:
      m_skipToKey = true;
      m_dropFault.Tell(Whose(), "pictures too far ahead of the sound are left out",
                       AVERROR(ENOBUFS));
      return;
  }
  m_skipToKey = m_skipToKey && sound;
}

void CInputFile::Decode(int streamIndex, const AVPacket* packet) {
  const bool sound = streamIndex == m_audioStream;
  AVCodecContext* codec = sound ? m_audioCodec : m_videoCodec;
  const AVRational timeBase = m_file->streams[streamIndex]->time_base;
  avcodec_send_packet(codec, packet);
  while (avcodec_receive_frame(codec, m_decoded) >= 0) {
    if (sound) {
      m_decoded->pts = StampOf(m_decoded, timeBase, &m_nextSoundPts, SoundDuration(m_decoded));
      HandleAudio();
    } else {
      m_decoded->pts = StampOf(m_decoded, timeBase, &m_nextPicturePts,
                               av_rescale_q(m_decoded->pkt_duration, timeBase, kMilliseconds));
      HandleVideo();
    }
    av_frame_unref(m_decoded);
  }
}

void CInputFile::HandleVideo() {
  int error = 0;
  if (AVFrame* picture = m_film.Convert(m_decoded, &error)) {
    m_videoQueue.PushBack(picture);
  } else {
    m_pictureFault.Tell(Whose(), "a picture can't be converted", error);
  }
}

void CInputFile::HandleAudio() {
  sources::CompleteLayout(m_decoded);
  if (sources::IsGraphSound(m_decoded)) {
    m_decoded->linesize[0] = m_decoded->nb_samples * sources::kSoundFrameBytes;
    // Without memory the frame is left out: a null at the head of the queue would stay there.
    if (AVFrame* clone = av_frame_clone(m_decoded)) {
      m_audioQueue.PushBack(clone);
    }
    return;
  }
  const int room = static_cast<int>(m_audioBuffer.size()) / sources::kSoundFrameBytes;
  std::int64_t before = 0;  // samples of this frame that are queued
  int samples = m_stereo.Convert(m_decoded, m_audioBuffer.data(), room);
  while (samples > 0) {
    QueueSound(samples, Plus(m_decoded->pts, before * 1000 / sources::kSoundRate));
    before += samples;
    // A full buffer may have left a rest.
    samples = samples == room ? m_stereo.Convert(nullptr, m_audioBuffer.data(), room) : 0;
  }
  if (samples < 0) {
    m_soundFault.Tell(Whose(), "its sound can't be converted", samples);
  }
}

void CInputFile::QueueSound(int samples, std::int64_t pts) {
  ffmpeg::ScopedFrame sound(sources::NewGraphSound(samples));
  if (!sound) {
    return;
  }
  const int bytes = samples * sources::kSoundFrameBytes;
  std::memcpy(sound->data[0], m_audioBuffer.data(), static_cast<std::size_t>(bytes));
  sound->linesize[0] = bytes;
  sound->pts = pts;
  m_audioQueue.PushBack(sound.Release());
}
