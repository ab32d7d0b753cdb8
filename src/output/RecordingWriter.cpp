#include "output/RecordingWriter.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "output/PublishRules.h"
#include "output/StreamCodecs.h"

namespace output {

namespace {

// While the machine is slow pictures come out of the encoder up to 15 steps behind their sound.
// What is further apart than this is no longer put into order.
constexpr std::int64_t kInterleaveUs = 1'000'000;
constexpr AVRational kMilliseconds = {1, 1000};

}  // namespace

RecordingWriter::RecordingWriter(RecordingPlace place)
    : m_place(std::move(place)),
      m_sound(avcodec_parameters_alloc()),
      m_picture(avcodec_parameters_alloc()),
      m_early(1) {}

RecordingWriter::~RecordingWriter() {
  Close();
}

int RecordingWriter::Open() {
  return m_file.Open(m_place);
}

int RecordingWriter::Write(AVPacket* taken) {
  ffmpeg::ScopedPacket packet(taken);
  const int error = Take(&packet);
  m_failed = m_failed || error < 0;
  if (m_begun) {
    m_bytes = avio_tell(m_file.Bytes());
  }
  return std::min(error, 0);
}

int RecordingWriter::Take(ffmpeg::ScopedPacket* packet) {
  AVPacket& taken = *packet->Get();
  const bool isSound = taken.stream_index == kAudioStream;
  if (!isSound) {
    taken.pts += kVideoLagMs;
    taken.dts += kVideoLagMs;
  }
  if (m_begun) {
    return Add(&taken);
  }
  if (isSound) {
    KeepEarly(packet);
    return 0;
  }
  if ((taken.flags & AV_PKT_FLAG_KEY) == 0) {
    return 0;
  }
  int error = Begin(taken);
  if (error >= 0) {
    error = Add(&taken);
  }
  return error < 0 ? error : WriteEarly();
}

// The sound may be ahead of its picture by what waits for the encoder.
void RecordingWriter::KeepEarly(ffmpeg::ScopedPacket* sound) {
  m_early.PushBack(sound->Release());
  if (m_early.Size() > kAudioPacketsAlone) {
    const ffmpeg::ScopedPacket oldest(static_cast<AVPacket*>(m_early.Pop()));
  }
}

int RecordingWriter::WriteEarly() {
  int error = 0;
  while (void* entry = m_early.Pop()) {
    const ffmpeg::ScopedPacket sound(static_cast<AVPacket*>(entry));
    if (error >= 0) {
      error = Add(sound.Get());
    }
  }
  return error;
}

int RecordingWriter::Begin(const AVPacket& key) {
  if (Sound() == nullptr || Picture() == nullptr) {
    return AVERROR(ENOMEM);
  }
  TakeHeader(key, Picture());
  // It goes on in the middle of a stream: nothing of its sound is the encoder's running in, which a
  // player would leave out.
  Sound()->initial_padding = 0;
  int error = avformat_alloc_output_context2(m_context.Address(), nullptr, "matroska", nullptr);
  if (error >= 0) {
    error = AddStream(Sound());
  }
  if (error >= 0) {
    error = AddStream(Picture());
  }
  if (error >= 0) {
    m_context->streams[kVideoStream]->avg_frame_rate = {kPicturesPerSecond, 1};
    error = WriteHeader();
  }
  if (error >= 0) {
    m_begun = true;
    m_beginMs = key.pts;
  }
  return error;
}

int RecordingWriter::AddStream(const AVCodecParameters* parameters) {
  AVStream* stream = avformat_new_stream(m_context.Get(), nullptr);
  if (stream == nullptr) {
    return AVERROR(ENOMEM);
  }
  stream->time_base = kMilliseconds;
  return avcodec_parameters_copy(stream->codecpar, parameters);
}

int RecordingWriter::WriteHeader() {
  m_context->pb = m_file.Bytes();
  // What is complete goes to the system with the packet that completes it.
  m_context->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_FLUSH_PACKETS;
  m_context->max_interleave_delta = kInterleaveUs;
  ffmpeg::ScopedDictionary options;
  av_dict_set_int(options.Address(), "cluster_time_limit", kClusterMs, 0);
  return avformat_write_header(m_context.Get(), options.Address());
}

int RecordingWriter::Add(AVPacket* packet) {
  if (packet->pts < m_beginMs) {
    return 0;
  }
  packet->pts -= m_beginMs;
  packet->dts -= m_beginMs;
  m_lengthMs = std::max(m_lengthMs, packet->pts);
  // The file has one header; what follows it stands in the key frames themselves.
  av_packet_free_side_data(packet);
  av_packet_rescale_ts(packet, kMilliseconds, m_context->streams[packet->stream_index]->time_base);
  return av_interleaved_write_frame(m_context.Get(), packet);
}

int RecordingWriter::Sync() {
  if (m_syncedBytes == m_bytes) {
    return 0;
  }
  m_syncedBytes = m_bytes;
  const int error = m_file.Sync();
  m_failed = m_failed || error < 0;
  return error;
}

int RecordingWriter::Close() {
  int error = 0;
  if (m_begun && !m_failed) {
    error = av_write_trailer(m_context.Get());
    m_bytes = avio_tell(m_file.Bytes());
  }
  m_context.Reset();
  if (!m_begun) {
    m_file.Discard();
    return 0;
  }
  m_begun = false;
  const int closed = m_file.Close();
  return std::min(error < 0 ? error : closed, 0);
}

}  // namespace output
