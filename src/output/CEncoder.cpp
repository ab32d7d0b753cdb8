// Life of the encoder: its codecs are opened here and its threads started and ended.
#include "output/CEncoder.h"

#include <QtGlobal>
#include <cerrno>
#include <cstdio>

#include "media/NodeKind.h"
#include "media/ffmpeg/ErrorText.h"
#include "media/ffmpeg/Scoped.h"
#include "output/PublishConnection.h"
#include "output/PublishRules.h"
#include "output/StreamCodecs.h"
#include "sources/DeviceCatalogue.h"

CEncoder::CEncoder(int width, int height)
    : CSrcInterface(media::kNoSource, 1),
      m_started(false),
      m_catalogue(DeviceCatalogue::Instance()),
      m_fifo(nullptr),
      m_audioContext(nullptr),
      m_videoContext(nullptr),
      m_videoParameters(nullptr),
      m_audioStream(nullptr),
      m_videoStream(nullptr),
      m_audioPackets(1),
      m_videoPackets(1),
      m_width(width),
      m_height(height),
      m_scaler(nullptr),
      m_resampler(nullptr),
      m_scaledFrame(nullptr),
      m_streamTimeBase{1, 1000},
      m_protocols(output::kPublishProtocols),
      m_connection(nullptr),
      m_bytesHanded(0),
      m_keyDue(false),
      m_stopDeadline(std::make_shared<output::Deadline>()) {}

CEncoder::~CEncoder() {
  CloseCodecs();
}

void CEncoder::SetUrl(const std::string& url) {
  m_url = url;
}

EncoderStatistics CEncoder::Statistics() const {
  EncoderStatistics statistics = m_counters.Copy();
  statistics.width = m_width;
  statistics.height = m_height;
  return statistics;
}

void CEncoder::SetPacketOutput(output::PacketOutput* packetOutput) {
  const platform::Lock lock(m_packetOutputMutex);
  m_packetOutput = packetOutput;
}

int CEncoder::CopyParameters(AVCodecParameters* sound, AVCodecParameters* picture) const {
  if (m_audioContext == nullptr || m_videoParameters == nullptr) {
    return AVERROR(EINVAL);
  }
  if (sound == nullptr || picture == nullptr) {
    return AVERROR(ENOMEM);
  }
  const int error = avcodec_parameters_from_context(sound, m_audioContext);
  return error < 0 ? error : avcodec_parameters_copy(picture, m_videoParameters);
}

void CEncoder::EnqueueAudio(int index, void* media) {
  if (m_started) {
    CSrcInterface::EnqueueAudio(index, media);
    m_input.Ring();
  } else {
    const ffmpeg::ScopedFrame refused(static_cast<AVFrame*>(media));
  }
}

void CEncoder::EnqueueVideo(int index, void* media) {
  if (m_started) {
    CSrcInterface::EnqueueVideo(index, media);
    m_input.Ring();
  } else {
    const ffmpeg::ScopedFrame refused(static_cast<AVFrame*>(media));
  }
}

int CEncoder::Start() {
  if (m_started) {
    qDebug("encoder has started");
    return -1;
  }
  CloseCodecs();  // of an earlier Start that failed
  if (OpenCodecs() < 0) {
    return -1;
  }
  return StartThreads();
}

int CEncoder::StartThreads() {
  m_stopDeadline->Clear();
  m_counters.effort = 0;
  Report(PublishState::kWaiting);  // before anybody can look
  m_started = true;
  if (m_encodeThread.Start("encode", [this] { Encode(); }) &&
      m_publishThread.Start("publish", [this] { Publish(); })) {
    return 0;
  }
  av_log(nullptr, AV_LOG_ERROR, "no thread for the encoder\n");
  Stop();
  return -1;
}

int CEncoder::Stop() {
  m_stopDeadline->SetIn(output::kFarewellMs);
  m_started = false;
  m_input.Ring();
  m_encodeThread.Join();
  m_publishThread.Join();
  CloseCodecs();
  // A publish thread that ended by itself left them to the encoders.
  m_audioPackets.Clear();
  m_videoPackets.Clear();
  m_audioPackets.HandOver();  // to the next run's thread
  m_videoPackets.HandOver();
  m_counters.newestVideoPts = m_counters.leftVideoPts.load();
  Report(PublishState::kStopped);
  return 0;
}

void CEncoder::CloseCodecs() {
  avcodec_free_context(&m_audioContext);
  avcodec_free_context(&m_videoContext);
  avcodec_parameters_free(&m_videoParameters);
  av_audio_fifo_free(m_fifo);
  m_fifo = nullptr;
  swr_free(&m_resampler);
  av_frame_free(&m_scaledFrame);
  sws_freeContext(m_scaler);
  m_scaler = nullptr;
}

int CEncoder::OpenCodecs() {
  if (OpenAudio() < 0 || OpenVideo() < 0 || OpenResampler() < 0) {
    return -1;
  }
  return OpenScaler();
}

int CEncoder::OpenAudio() {
  m_audioContext = output::NewAudioEncoder();
  const int error = m_audioContext != nullptr
                        ? avcodec_open2(m_audioContext, m_audioContext->codec, nullptr)
                        : AVERROR_ENCODER_NOT_FOUND;
  if (error >= 0) {
    m_fifo = av_audio_fifo_alloc(m_audioContext->sample_fmt, 2, 1);
  }
  if (m_fifo != nullptr) {
    return 0;
  }
  av_log(nullptr, AV_LOG_ERROR, "the sound encoder can't be used: %s\n",
         ffmpeg::ErrorText(error < 0 ? error : AVERROR(ENOMEM)).c_str());
  avcodec_free_context(&m_audioContext);
  return -1;
}

int CEncoder::OpenVideo() {
  bool sizeRefused = false;
  for (const char* encoder : {output::kHardwareEncoder, output::kSoftwareEncoder}) {
    if (OpenVideoWith(encoder, &sizeRefused) == 0) {
      m_videoParameters = avcodec_parameters_alloc();
      return m_videoParameters != nullptr &&
                     avcodec_parameters_from_context(m_videoParameters, m_videoContext) >= 0
                 ? 0
                 : -1;
    }
    if (sizeRefused) {
      return -1;
    }
    avcodec_free_context(&m_videoContext);
  }
  avcodec_free_context(&m_audioContext);
  return -1;
}

int CEncoder::OpenVideoWith(const char* encoder, bool* sizeRefused) {
  m_videoContext = output::NewVideoEncoder(encoder, m_width, m_height);
  const std::int64_t bitRate = output::VideoBitRate(m_width, m_height);
  if (bitRate == 0) {
    av_log(nullptr, AV_LOG_ERROR, "a picture of %d x %d can't be published\n", m_width, m_height);
    *sizeRefused = true;
    return -1;
  }
  int error = AVERROR_ENCODER_NOT_FOUND;
  if (m_videoContext != nullptr) {
    output::SetBitRate(m_videoContext, bitRate);
    error = output::OpenVideoEncoder(m_videoContext);
  }
  if (error >= 0) {
    return 0;
  }
  av_log(nullptr, AV_LOG_ERROR, "the picture encoder %s can't be used: %s\n", encoder,
         ffmpeg::ErrorText(error).c_str());
  return -1;
}

// The new one is opened before the old one goes: without it the broadcast goes on as it is.
void CEncoder::ChangeEffort(int level) {
  AVCodecContext* next = output::NewVideoEncoder(output::kSoftwareEncoder, m_width, m_height);
  int error = AVERROR_ENCODER_NOT_FOUND;
  if (next != nullptr) {
    output::SetBitRate(next, output::VideoBitRate(m_width, m_height));
    error = output::OpenVideoEncoder(next, output::Effort::Preset(level));
  }
  if (error < 0) {
    av_log(nullptr, AV_LOG_ERROR, "x264 can't go on with preset %s: %s\n",
           output::Effort::Name(level), ffmpeg::ErrorText(error).c_str());
    avcodec_free_context(&next);
    return;
  }
  av_log(nullptr, AV_LOG_INFO, "x264 goes on with preset %s instead of %s\n",
         output::Effort::Name(level), output::Effort::Name(m_counters.effort));
  // At zero latency it holds no picture back.
  avcodec_free_context(&m_videoContext);
  m_videoContext = next;
  m_counters.effort = level;
  ++m_counters.effortSteps;
}

int CEncoder::OpenResampler() {
  if (m_audioContext->sample_fmt == AV_SAMPLE_FMT_S16) {
    return 0;
  }
  AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
  if (swr_alloc_set_opts2(&m_resampler, &stereo, m_audioContext->sample_fmt, output::kSampleRate,
                          &stereo, AV_SAMPLE_FMT_S16, output::kSampleRate, 0, nullptr) < 0 ||
      swr_init(m_resampler) < 0) {
    std::printf("swr_init failed");
    return -1;
  }
  return 0;
}

int CEncoder::OpenScaler() {
  const int canvasWidth = m_catalogue->renderWidth;
  const int canvasHeight = m_catalogue->renderHeight;
  const AVPixelFormat format = m_videoContext->pix_fmt;
  if (format == AV_PIX_FMT_YUV420P && canvasWidth == m_width && canvasHeight == m_height) {
    return 0;
  }
  m_scaler = sws_getCachedContext(m_scaler, canvasWidth, canvasHeight, AV_PIX_FMT_YUV420P, m_width,
                                  m_height, format, SWS_FAST_BILINEAR, nullptr, nullptr, nullptr);
  m_scaledFrame = av_frame_alloc();
  if (m_scaler == nullptr || m_scaledFrame == nullptr) {
    return -1;
  }
  m_scaledFrame->width = m_width;
  m_scaledFrame->height = m_height;
  m_scaledFrame->format = format;
  return av_frame_get_buffer(m_scaledFrame, 1) < 0 ? -1 : 0;
}
