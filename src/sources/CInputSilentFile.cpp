#include "sources/CInputSilentFile.h"

#include <SDL_timer.h>

#include <utility>

#include "media/NodeKind.h"
#include "media/ffmpeg/ErrorText.h"
#include "sources/Decoder.h"
#include "sources/MediaFile.h"

namespace {

constexpr int kIdleMs = 10;
constexpr AVRational kMilliseconds{1, 1000};

}  // namespace

CInputSilentFile::CInputSilentFile(std::string path)
    : CSrcInterface(media::kMediaFile, 1),
      m_path(std::move(path)),
      m_packet(av_packet_alloc()),
      m_decoded(av_frame_alloc()) {}

CInputSilentFile::~CInputSilentFile() {
  CloseFile();
  av_packet_free(&m_packet);
  av_frame_free(&m_decoded);
}

int CInputSilentFile::Start() {
  if (m_running) {
    return 0;
  }
  if (m_thread.IsOver() || Open() < 0) {
    return -1;
  }
  m_running = true;
  if (!m_thread.Start(
          "film", [this] { Run(); }, media::WorkerRole::kPrepare)) {
    m_running = false;
    return Fail("no thread to play it");
  }
  return 0;
}

int CInputSilentFile::Open() {
  if (m_packet == nullptr || m_decoded == nullptr) {
    return Fail("there is no memory");
  }
  CloseFile();
  m_deadline.Arm();
  std::string cause;
  if (sources::OpenMediaFile(m_path, m_deadline.Callback(), 0, &m_file, &cause) < 0) {
    return Fail(cause);
  }
  int result = sources::FindStreamInfo(m_file, sources::kMaxMovingPixels);
  if (result < 0) {
    return Fail(ffmpeg::ErrorText(result));
  }
  m_stream = av_find_best_stream(m_file, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (m_stream < 0) {
    return Fail("it has no picture");
  }
  const AVStream* stream = m_file->streams[m_stream];
  result = sources::OpenDecoder(stream->codecpar, stream->time_base, sources::DecoderThreads::Auto,
                                sources::kMaxMovingPixels, &m_codec);
  if (result < 0) {
    return Fail("its picture can't be decoded: " + ffmpeg::ErrorText(result));
  }
  m_deadline.Disarm();
  return 0;
}

std::string CInputSilentFile::Whose() const {
  return "media file \"" + m_path + "\"";
}

int CInputSilentFile::Fail(const std::string& cause) {
  av_log(nullptr, AV_LOG_ERROR, "%s: %s\n", Whose().c_str(), cause.c_str());
  SetFailure(cause);
  CloseFile();
  return -1;
}

int CInputSilentFile::Stop() {
  if (!m_running) {
    return 0;
  }
  m_running = false;
  m_deadline.Raise();  // ends a search between two reads
  m_thread.Join();
  CloseFile();
  return 0;
}

void CInputSilentFile::CloseFile() {
  av_frame_free(&m_next);
  avcodec_free_context(&m_codec);
  sources::CloseMediaFile(&m_file);
  m_stream = -1;
  m_film.Reset();
  m_nextPts = 0;
  m_ended = false;
}

void CInputSilentFile::Run() {
  sources::FilePace pace;
  while (m_running) {
    Turn(&pace);
  }
}

void CInputSilentFile::Turn(sources::FilePace* pace) {
  const std::uint64_t now = SDL_GetTicks64();
  pace->BeginTurn(now);
  if (m_next == nullptr) {
    if (m_ended) {
      SDL_Delay(kIdleMs);
    } else {
      DecodeNext();
    }
    return;
  }
  const std::uint32_t delay = pace->DelayBefore(m_next->pts, now);
  if (delay > 0) {
    SDL_Delay(delay);
    return;
  }
  m_next->pts = pace->PictureStamp(m_next->pts);
  PushVideo(m_next, 0);
  av_frame_free(&m_next);
}

// One packet at most, so that a file of other streams without end can be stopped.
void CInputSilentFile::DecodeNext() {
  const int result = avcodec_receive_frame(m_codec, m_decoded);
  if (result == AVERROR(EAGAIN)) {
    if (!FeedDecoder()) {
      avcodec_send_packet(m_codec, nullptr);  // gives out what it still holds
    }
    return;
  }
  if (result < 0) {
    m_ended = true;
    return;
  }
  const AVRational base = m_file->streams[m_stream]->time_base;
  const std::int64_t best = m_decoded->best_effort_timestamp;
  m_decoded->pts = best == AV_NOPTS_VALUE ? m_nextPts : av_rescale_q(best, base, kMilliseconds);
  m_nextPts = static_cast<std::int64_t>(
      static_cast<std::uint64_t>(m_decoded->pts) +
      static_cast<std::uint64_t>(av_rescale_q(m_decoded->pkt_duration, base, kMilliseconds)));
  int error = 0;
  m_next = m_film.Convert(m_decoded, &error);
  if (m_next == nullptr) {
    m_fault.Tell(Whose(), "a picture can't be converted", error);
  }
  av_frame_unref(m_decoded);
}

// False at the end of what can be read.
bool CInputSilentFile::FeedDecoder() {
  const int result = av_read_frame(m_file, m_packet);
  if (result == AVERROR(EAGAIN)) {
    SDL_Delay(kIdleMs);
    return true;
  }
  if (result < 0) {
    if (result != AVERROR_EOF && m_running) {
      m_fault.Tell(Whose(), "can't be read on", result);
    }
    return false;
  }
  if (m_packet->stream_index == m_stream) {
    avcodec_send_packet(m_codec, m_packet);
  }
  av_packet_unref(m_packet);
  return true;
}
