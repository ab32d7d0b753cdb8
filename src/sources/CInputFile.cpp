// Opening and closing, and the pace thread. The read thread is in CInputFileRead.cpp.
#include "sources/CInputFile.h"

#include <SDL_timer.h>
#include <QDebug>

#include <cstdio>
#include <utility>

#include "media/NodeKind.h"
#include "media/ffmpeg/ErrorText.h"
#include "sources/Decoder.h"
#include "sources/MediaFile.h"

namespace {

constexpr int kNoSoundMs = 5;
constexpr std::size_t kAudioBufferSamples = 10240;

}  // namespace

CInputFile::CInputFile(std::string path)
    : CSrcInterface(media::kMediaFile, 1),
      m_path(std::move(path)),
      m_decoded(av_frame_alloc()),
      m_audioQueue(0),
      m_videoQueue(0),
      m_packet(av_packet_alloc()) {}

CInputFile::~CInputFile() {
  CloseFile();
  av_frame_free(&m_decoded);
  av_packet_free(&m_packet);
}

int CInputFile::Start() {
  if (m_running) {
    std::printf("is already started");
    return 0;
  }
  if (m_readThread.IsOver() || Open() < 0) {
    return -1;
  }
  m_running = true;
  if (!m_readThread.Start(
          "file-read", [this] { Read(); }, media::WorkerRole::kPrepare) ||
      !m_paceThread.Start("file-pace", [this] { Pace(); })) {
    m_running = false;
    m_deadline.Raise();
    m_readThread.Join();
    return Fail("no thread to play it");
  }
  return 0;
}

int CInputFile::Open() {
  if (m_decoded == nullptr || m_packet == nullptr) {
    return Fail("there is no memory");
  }
  CloseFile();
  m_deadline.Arm();
  std::string cause;
  if (sources::OpenMediaFile(m_path, m_deadline.Callback(), 0, &m_file, &cause) < 0) {
    std::printf("Couldn't open input stream.\n");
    return Fail(cause);
  }
  const int found = sources::FindStreamInfo(m_file, sources::kMaxMovingPixels);
  if (found < 0) {
    std::printf("Couldn't find stream information.\n");
    return Fail(ffmpeg::ErrorText(found));
  }
  if (!OpenStream(AVMEDIA_TYPE_AUDIO, &m_audioStream, &m_audioCodec, &cause) ||
      !OpenStream(AVMEDIA_TYPE_VIDEO, &m_videoStream, &m_videoCodec, &cause)) {
    return Fail(cause);
  }
  m_audioBuffer.resize(kAudioBufferSamples * sources::kSoundFrameBytes);
  m_deadline.Disarm();
  return 0;
}

bool CInputFile::OpenStream(AVMediaType medium, int* index, AVCodecContext** codec,
                            std::string* cause) {
  const bool picture = medium == AVMEDIA_TYPE_VIDEO;
  *index = av_find_best_stream(m_file, medium, -1, -1, nullptr, 0);
  if (*index < 0) {
    m_lacksSound = !picture;
    *cause = picture ? "it has no picture" : "it has no sound";
    return false;
  }
  const AVStream* stream = m_file->streams[*index];
  const int result =
      sources::OpenDecoder(stream->codecpar, stream->time_base,
                           picture ? sources::DecoderThreads::Auto : sources::DecoderThreads::One,
                           sources::kMaxMovingPixels, codec);
  if (result < 0) {
    *cause = std::string(picture ? "its picture" : "its sound") +
             " can't be decoded: " + ffmpeg::ErrorText(result);
  }
  return result >= 0;
}

std::string CInputFile::Whose() const {
  return "media file \"" + m_path + "\"";
}

int CInputFile::Fail(const std::string& cause) {
  av_log(nullptr, AV_LOG_ERROR, "%s: %s\n", Whose().c_str(), cause.c_str());
  SetFailure(cause);
  CloseFile();
  return -1;
}

int CInputFile::Stop() {
  if (!m_running) {
    return 0;
  }
  m_running = false;
  m_deadline.Raise();  // ends a search between two reads
  m_readThread.Join();
  m_paceThread.Join();
  std::vector<std::uint8_t>().swap(m_audioBuffer);
  av_frame_free(&m_decoded);
  m_stereo.Reset();
  return 0;
}

void CInputFile::CloseFile() {
  m_keptSound.Clear();
  m_keptPictures.Clear();
  avcodec_free_context(&m_audioCodec);
  avcodec_free_context(&m_videoCodec);
  sources::CloseMediaFile(&m_file);
  m_audioStream = -1;
  m_videoStream = -1;
}

void CInputFile::Pace() {
  sources::FilePace pace;
  while (m_running) {
    PaceTurn(&pace);
  }
}

void CInputFile::PaceTurn(sources::FilePace* pace) {
  const std::uint64_t now = SDL_GetTicks64();
  pace->BeginTurn(now);
  auto* sound = static_cast<AVFrame*>(m_audioQueue.Peek());
  if (sound == nullptr) {
    SDL_Delay(kNoSoundMs);
    return;
  }
  const std::uint32_t delay = pace->DelayBefore(sound->pts, now);
  if (delay > 0) {
    SDL_Delay(delay);
    return;
  }
  const std::int64_t soundPts = sound->pts;
  sound->pts = pace->Release(soundPts, sound->nb_samples);
  qDebug("t1-t2 = %d", pace->Drift());
  PushAudio(sound, 0);
  m_audioQueue.Pop();
  av_frame_free(&sound);

  auto* picture = static_cast<AVFrame*>(m_videoQueue.Peek());
  while (picture != nullptr && picture->pts < soundPts) {
    picture->pts = pace->PictureStamp(picture->pts);
    PushVideo(picture, 0);
    m_videoQueue.Pop();
    av_frame_free(&picture);
    picture = static_cast<AVFrame*>(m_videoQueue.Peek());
  }
}
