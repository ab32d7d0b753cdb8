// The publish thread: packets to the address.
#include <SDL.h>

#include <QtGlobal>
#include <algorithm>
#include <limits>

#include "media/ffmpeg/ErrorText.h"
#include "media/ffmpeg/Scoped.h"
#include "output/CEncoder.h"
#include "output/PublishConnection.h"
#include "output/PublishRules.h"
#include "output/StreamCodecs.h"

namespace {

constexpr std::uint32_t kPollMs = 10;
// The muxer puts packets into order and for that waits, 10 s unless told otherwise, until it has
// one of each stream. They come in order; but where one stream is behind the other, after a lost
// connection on a machine that could not encode every picture, that wait would keep the server
// without a byte for so long that it drops the publisher.
constexpr std::int64_t kInterleaveUs = 2 * output::kVideoLagMs * 1000;

AVStream* AddStream(AVFormatContext* context, AVRational timeBase) {
  AVStream* stream = avformat_new_stream(context, nullptr);
  if (stream != nullptr) {
    stream->time_base = timeBase;
  }
  return stream;
}

std::uint64_t FreeAll(CMyQueue* queue) {
  std::uint64_t count = 0;
  while (void* entry = queue->Pop()) {
    ffmpeg::ScopedPacket packet(static_cast<AVPacket*>(entry));
    ++count;
  }
  return count;
}

}  // namespace

void CEncoder::Publish() {
  if (!AwaitFirstPackets()) {
    LosePackets();
    return;
  }
  while (PublishOnce() && AwaitRetry()) {
  }
}

bool CEncoder::AwaitFirstPackets() {
  while (m_started) {
    if (HasFirstPackets()) {
      return true;
    }
    SDL_Delay(kPollMs);
  }
  return false;
}

// Without one of the two that may be never, and hours of the other would wait for it.
bool CEncoder::HasFirstPackets() {
  // Nobody misses them: there is no connection yet.
  SkipStalePackets();
  while (m_videoPackets.Size() == 0 && m_audioPackets.Size() > output::kAudioPacketsAlone) {
    const ffmpeg::ScopedPacket sound(static_cast<AVPacket*>(m_audioPackets.Pop()));
  }
  return m_audioPackets.Size() > 0 && m_videoPackets.Size() > 0;
}

// In short steps, so that a stopped broadcast doesn't hold the window up.
bool CEncoder::AwaitRetry() {
  const std::uint32_t begin = SDL_GetTicks();
  while (m_started && !output::RetryDue(SDL_GetTicks() - begin)) {
    SDL_Delay(kPollMs);
  }
  return m_started;
}

bool CEncoder::PublishOnce() {
  AVFormatContext* allocated = nullptr;
  int error = avformat_alloc_output_context2(&allocated, nullptr, "flv", m_url.c_str());
  const ffmpeg::ScopedOutput context(allocated);
  if (error >= 0) {
    error = AddStreams(context.Get());
  }
  if (error < 0) {
    ReportFailure(PublishState::kEnded, PublishFault::kContext, error);
    return false;
  }
  output::PublishConnection connection(
      m_url, m_stopDeadline, m_protocols,
      output::SendBufferBytes(output::VideoBitRate(m_width, m_height)));
  bool again = false;
  m_connection = &connection;
  m_bytesHanded = m_counters.bytesSent;
  if (Connect(context.Get(), &connection, &again)) {
    again = SendUntilTheEnd(context.Get());
    connection.FinishWithin(output::kFarewellMs);
    if (av_write_trailer(context.Get()) < 0) {
      av_log(nullptr, AV_LOG_ERROR, "av_write_trailer error\n");
    }
  }
  m_connection = nullptr;
  connection.Close();
  LosePackets();
  return again;
}

// Stream 0 is sound and stream 1 the picture: that is the order of making.
int CEncoder::AddStreams(AVFormatContext* context) {
  context->max_interleave_delta = kInterleaveUs;
  m_audioStream = AddStream(context, m_streamTimeBase);
  m_videoStream = m_audioStream != nullptr ? AddStream(context, m_streamTimeBase) : nullptr;
  if (m_videoStream == nullptr) {
    return AVERROR(ENOMEM);
  }
  return CopyParameters(m_audioStream->codecpar, m_videoStream->codecpar);
}

// The header of the key frame that the connection begins with: the effort may have changed since
// the first.
void CEncoder::TakeHeader() {
  const auto* head = static_cast<const AVPacket*>(m_videoPackets.Peek());
  if (head != nullptr) {
    output::TakeHeader(*head, m_videoStream->codecpar);
  }
}

// True with the header written. Otherwise *again tells whether a new try may help.
bool CEncoder::Connect(AVFormatContext* context, output::PublishConnection* connection,
                       bool* again) {
  Report(PublishState::kConnecting);
  const output::PublishConnection::Result opened = connection->Open(m_started);
  if (opened.fault != PublishFault::kNone) {
    *again = true;
    if (m_started) {
      av_log(nullptr, AV_LOG_ERROR, "avio_open error, path='%s'", m_url.c_str());
      av_log(nullptr, AV_LOG_ERROR, ": %s\n",
             output::CauseText(opened.fault, opened.error).c_str());
      ReportFailure(PublishState::kRetrying, opened.fault, opened.error);
    }
    return false;
  }
  context->pb = connection->Bytes();
  BeginWithPicture();
  TakeHeader();
  const int error = avformat_write_header(context, nullptr);
  if (error < 0) {
    *again = false;
    av_log(nullptr, AV_LOG_ERROR, "avformat_write_header, error\n");
    av_log(nullptr, AV_LOG_ERROR, "'%s': %s\n", m_url.c_str(), ffmpeg::ErrorText(error).c_str());
    ReportFailure(PublishState::kEnded, PublishFault::kHeader, error);
    return false;
  }
  ++m_counters.connections;
  PublishStatus well;
  well.state = PublishState::kPublishing;
  m_counters.status = well;
  return true;
}

// True when the connection broke, false when the node was stopped.
bool CEncoder::SendUntilTheEnd(AVFormatContext* context) {
  while (m_started) {
    switch (PublishTurn(context)) {
      case Sent::kPacket:
        break;
      case Sent::kNothing:
        SDL_Delay(kPollMs);
        break;
      case Sent::kFailed:
        return true;
    }
  }
  return false;
}

CEncoder::Sent CEncoder::PublishTurn(AVFormatContext* context) {
  if (!output::MaySend(m_audioPackets.Peek() != nullptr, m_videoPackets.Size())) {
    return Sent::kNothing;
  }
  Drop(SkipStalePackets());
  const auto* audio = static_cast<const AVPacket*>(m_audioPackets.Peek());
  const auto* video = static_cast<const AVPacket*>(m_videoPackets.Peek());
  if (audio == nullptr || video == nullptr) {
    return Sent::kNothing;
  }
  const bool sound = output::ChooseNext(audio->pts, video->pts) == output::NextPacket::kAudio;
  const int error = sound ? SendSound(context) : SendPicture(context);
  if (error >= 0) {
    return Sent::kPacket;
  }
  av_log(nullptr, AV_LOG_ERROR, "av_write_frame error\n");
  av_log(nullptr, AV_LOG_ERROR, "'%s': %s\n", m_url.c_str(), ffmpeg::ErrorText(error).c_str());
  ReportFailure(PublishState::kRetrying, PublishFault::kWrite, error);
  return Sent::kFailed;
}

int CEncoder::SendSound(AVFormatContext* context) {
  ffmpeg::ScopedPacket packet(static_cast<AVPacket*>(m_audioPackets.Pop()));
  packet->stream_index = output::kAudioStream;
  qDebug("send audio pts = %d", static_cast<int>(packet->pts));
  return Write(context, packet.Get(), &m_counters.audioPacketsSent);
}

// The picture goes out 100 ms behind the sound.
int CEncoder::SendPicture(AVFormatContext* context) {
  ffmpeg::ScopedPacket packet(static_cast<AVPacket*>(m_videoPackets.Pop()));
  m_counters.leftVideoPts = packet->pts;
  packet->stream_index = output::kVideoStream;
  packet->pts += output::kVideoLagMs;
  packet->dts += output::kVideoLagMs;
  qDebug("send video pts = %d", static_cast<int>(packet->pts));
  return Write(context, packet.Get(), &m_counters.videoPacketsSent);
}

// As sent counts what the other side took: what lies in the socket here, half a minute of a quiet
// scene, would hide a server that has fallen silent.
int CEncoder::Write(AVFormatContext* context, AVPacket* packet,
                    std::atomic<std::uint64_t>* packetsSent) {
  const int size = packet->size;
  const int error = av_interleaved_write_frame(context, packet);
  if (error >= 0) {
    m_bytesHanded += static_cast<std::uint64_t>(size);
    const auto untaken =
        static_cast<std::uint64_t>(m_connection != nullptr ? m_connection->Untaken() : 0);
    const std::uint64_t taken = m_bytesHanded - std::min(m_bytesHanded, untaken);
    m_counters.bytesSent = std::max<std::uint64_t>(m_counters.bytesSent, taken);
    ++*packetsSent;
  }
  return error;
}

output::Skipped CEncoder::SkipStalePackets() {
  const output::Skipped skipped = output::SkipStale(&m_videoPackets, &m_audioPackets);
  NoteHead(skipped);
  return skipped;
}

// What waits from the first key frame on; what is before it nobody could show.
void CEncoder::BeginWithPicture() {
  const output::Skipped skipped = output::SkipToKey(&m_videoPackets, &m_audioPackets);
  NoteHead(skipped);
  Drop(skipped);
  if (m_videoPackets.Size() == 0) {
    m_keyDue = true;
  }
}

// The delay is that of what waits still.
void CEncoder::NoteHead(const output::Skipped& skipped) {
  if (skipped.video > 0) {
    const auto* head = static_cast<const AVPacket*>(m_videoPackets.Peek());
    m_counters.leftVideoPts = head != nullptr ? head->pts : m_counters.newestVideoPts.load();
  }
}

void CEncoder::Drop(const output::Skipped& skipped) {
  m_counters.videoPacketsDropped += static_cast<std::uint64_t>(skipped.video);
  m_counters.audioPacketsDropped += static_cast<std::uint64_t>(skipped.audio);
}

// All that waits: its connection is gone. What the next one will begin with is encoded as a key
// frame.
void CEncoder::LosePackets() {
  m_counters.audioPacketsDropped += FreeAll(&m_audioPackets);
  m_counters.videoPacketsDropped += FreeAll(&m_videoPackets);
  m_counters.leftVideoPts = m_counters.newestVideoPts.load();
  m_keyDue = true;
}

void CEncoder::Report(PublishState state) {
  PublishStatus status = m_counters.status;
  status.state = state;
  m_counters.status = status;
}

void CEncoder::ReportFailure(PublishState state, PublishFault fault, int error) {
  PublishStatus status = m_counters.status;
  status.state = state;
  status.fault = fault;
  status.error = error;
  if (status.tries < std::numeric_limits<std::uint16_t>::max()) {
    ++status.tries;
  }
  m_counters.status = status;
}
