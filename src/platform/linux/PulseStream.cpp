#include "platform/linux/PulseStream.h"

#include <algorithm>

#include "platform/linux/MonotonicClock.h"
#include "platform/linux/PulseCapture.h"

namespace platform {

namespace {

constexpr std::int64_t kAnswerUs = 1'000'000;

AVCodecParameters* NewParameters() {
  AVCodecParameters* parameters = avcodec_parameters_alloc();
  if (parameters != nullptr) {
    parameters->codec_type = AVMEDIA_TYPE_AUDIO;
    parameters->codec_id = AV_CODEC_ID_PCM_S16LE;
    parameters->format = AV_SAMPLE_FMT_S16;
    parameters->sample_rate = ContinuousSound::kRate;
    parameters->bits_per_coded_sample = 16;
    parameters->block_align = 2 * ContinuousSound::kChannels;
    parameters->bit_rate = 16LL * ContinuousSound::kChannels * ContinuousSound::kRate;
    av_channel_layout_default(&parameters->ch_layout, ContinuousSound::kChannels);
  }
  return parameters;
}

}  // namespace

PulseStream::PulseStream(const std::string& label, const std::string& source)
    : m_parameters(NewParameters()),
      m_isMicrophone(!source.empty()),
      m_recorder(label, source, &m_inbox) {}

PulseStream::~PulseStream() {
  avcodec_parameters_free(&m_parameters);
}

bool PulseStream::Open(int waitMs, std::string* cause) {
  if (m_parameters == nullptr) {
    *cause = "out of memory";
    return false;
  }
  if (!m_recorder.Open(waitMs, cause)) {
    return false;
  }
  const std::int64_t nowUs = MonotonicUs();
  m_sound.emplace(nowUs);
  m_silentUntilUs = m_recorder.HasOpened() ? 0 : nowUs + kAnswerUs;
  return true;
}

bool PulseStream::FindStream(CaptureKind kind, StreamInfo* info) const {
  if (kind != CaptureKind::Audio) {
    return false;
  }
  info->index = 0;
  info->parameters = m_parameters;
  info->timeBase = AVRational{1, ContinuousSound::kRate};
  return true;
}

int PulseStream::Read(AVPacket* packet) {
  if (m_silentUntilUs != 0) {
    const bool refused = m_recorder.WasRefused();
    if (refused && !m_isMicrophone) {
      return AVERROR(ECONNREFUSED);
    }
    if (!refused && !m_recorder.HasOpened() && MonotonicUs() < m_silentUntilUs) {
      return AVERROR(EAGAIN);
    }
    m_silentUntilUs = 0;
  }
  for (const SoundBlock& block : m_inbox.TakeAll()) {
    if (block.newDevice) {
      m_sound->NewDevice();
    }
    const auto frames = static_cast<int>(block.samples.size() / ContinuousSound::kChannels);
    m_sound->Put(block.samples.data(), frames, block.arrivalUs, block.captureOffsetUs);
  }
  std::int16_t samples[ContinuousSound::kBlockFrames * ContinuousSound::kChannels];
  const std::int64_t firstFrame = m_sound->FramesTaken();
  if (!m_sound->Take(MonotonicUs(), samples)) {
    return AVERROR(EAGAIN);
  }
  const int result = av_new_packet(packet, sizeof samples);
  if (result < 0) {
    return result;
  }
  std::copy_n(reinterpret_cast<const std::uint8_t*>(samples), sizeof samples, packet->data);
  packet->stream_index = 0;
  packet->pts = firstFrame;
  packet->dts = firstFrame;
  packet->duration = ContinuousSound::kBlockFrames;
  packet->flags |= AV_PKT_FLAG_KEY;
  return 0;
}

bool PulseStream::SwitchTo(const std::string& name) {
  const std::string source = m_isMicrophone ? FindPulseMicrophone(name) : std::string();
  if (source.empty()) {
    return false;
  }
  m_recorder.SwitchTo(name, source);
  return true;
}

}  // namespace platform
