#include "sources/CInputDev.h"

#include <SDL_timer.h>

#include <algorithm>
#include <cstdio>
#include <utility>
#include <vector>

#include "media/NodeKind.h"
#include "media/ffmpeg/ErrorText.h"
#include "media/ffmpeg/PackedRows.h"
#include "media/ffmpeg/Scoped.h"
#include "sources/Decoder.h"
#include "sources/DeviceCatalogue.h"

namespace {

constexpr int kNoPacketMs = 10;

platform::CaptureKind Kind(bool isAudio) {
  return isAudio ? platform::CaptureKind::Audio : platform::CaptureKind::Video;
}

}  // namespace

CInputDev::CInputDev(bool isAudio, std::string deviceName, int width, int height, int pixelFormat)
    : CSrcInterface(isAudio ? media::kSoundDevice : media::kPictureDevice, 1),
      m_isAudio(isAudio),
      m_deviceName(std::move(deviceName)),
      m_pixelFormat(pixelFormat),
      m_decoded(av_frame_alloc()),
      m_spareQueue(0),
      m_width(width),
      m_height(height),
      m_packet(av_packet_alloc()) {}

CInputDev::~CInputDev() {
  CloseDevice();
  av_frame_free(&m_decoded);
  av_frame_free(&m_spare);
  av_packet_free(&m_packet);
}

int CInputDev::Start() {
  if (m_running) {
    return 0;
  }
  if (m_thread.IsOver()) {
    return -1;
  }
  if (Open() < 0) {
    CloseDevice();
    return -1;
  }
  m_running = true;
  if (!m_thread.Start("capture", [this] { Capture(); })) {
    m_running = false;
    CloseDevice();
    return -1;
  }
  if (IsCamera()) {
    DeviceCatalogue::Instance()->usedVideoDevices.push_back(QString::fromStdString(DeviceName()));
  }
  return 0;
}

int CInputDev::Open() {
  if (m_decoded == nullptr || m_packet == nullptr) {
    return Fail("there is no memory");
  }
  platform::OpenResult opened =
      platform::CaptureLayer::Current().Open(Kind(m_isAudio), DeviceName());
  m_lacksSharing = opened.failure == platform::OpenFailure::NoSharing;
  if (opened.stream == nullptr) {
    std::printf(opened.failure == platform::OpenFailure::NoStreamFormat
                    ? "Couldn't find stream information.\n"
                    : "Couldn't open input stream.\n");
    return Fail(opened.cause);
  }
  m_device = std::move(opened.stream);
  platform::StreamInfo stream;
  if (!m_device->FindStream(Kind(m_isAudio), &stream)) {
    return Fail(m_isAudio ? "the device sends no sound" : "the device sends no picture");
  }
  const int result =
      sources::OpenDecoder(stream.parameters, stream.timeBase,
                           m_isAudio ? sources::DecoderThreads::One : sources::DecoderThreads::Auto,
                           sources::kMaxMovingPixels, &m_codec);
  if (result < 0) {
    return Fail("no decoder: " + ffmpeg::ErrorText(result));
  }
  m_streamIndex = stream.index;
  return 0;
}

std::string CInputDev::DeviceName() const {
  const platform::Lock lock(m_nameLock);
  return m_deviceName;
}

bool CInputDev::SwitchTo(const std::string& deviceName) {
  if (!m_running || !m_isAudio || !m_device->SwitchTo(deviceName)) {
    return false;
  }
  const platform::Lock lock(m_nameLock);
  m_deviceName = deviceName;
  return true;
}

std::string CInputDev::Whose() const {
  return "capture of \"" + DeviceName() + "\"";
}

int CInputDev::Fail(const std::string& cause) {
  av_log(nullptr, AV_LOG_ERROR, "%s: %s\n", Whose().c_str(), cause.c_str());
  SetFailure(cause);
  return -1;
}

int CInputDev::Stop() {
  if (!m_running) {
    return 0;
  }
  m_running = false;
  m_thread.Join();
  CloseDevice();
  av_frame_free(&m_decoded);
  av_frame_free(&m_spare);

  delete m_firstAudioQueue;
  delete m_firstVideoQueue;
  m_firstAudioQueue = nullptr;
  m_firstVideoQueue = nullptr;
  m_audioQueues.clear();
  m_videoQueues.clear();

  if (IsCamera()) {
    std::vector<QString>& used = DeviceCatalogue::Instance()->usedVideoDevices;
    const auto mine = std::find(used.begin(), used.end(), QString::fromStdString(DeviceName()));
    if (mine != used.end()) {
      used.erase(mine);
    }
  }
  return 0;
}

bool CInputDev::IsAsking() const {
  return !m_isAudio && m_device != nullptr && !m_device->HasOpened() && Failure().empty();
}

bool CInputDev::IsCamera() const {
  return !m_isAudio && DeviceName().find(platform::kDesktopName) == std::string::npos;
}

void CInputDev::CloseDevice() {
  avcodec_free_context(&m_codec);
  m_device.reset();
  m_stereo.Reset();
  m_streamIndex = -1;
}

void CInputDev::Capture() {
  while (m_running && CaptureTurn()) {
  }
}

bool CInputDev::CaptureTurn() {
  const int result = m_device->Read(m_packet);
  if (result < 0) {
    av_packet_unref(m_packet);
    return ReadFailed(result);
  }
  if (m_packet->stream_index == m_streamIndex) {
    HandlePacket(m_packet);
  }
  av_packet_unref(m_packet);
  return true;
}

bool CInputDev::ReadFailed(int error) {
  if (error == AVERROR(EAGAIN)) {
    SDL_Delay(kNoPacketMs);
    return true;
  }
  TellEnd(error);
  return false;
}

// A device that is gone without a word, such as a camera that was unplugged, is told by its picture
// that stands still.
void CInputDev::TellEnd(int error) {
  const std::string told = m_device->EndCause();
  const std::string cause = told.empty() ? ffmpeg::ErrorText(error) : told;
  av_log(nullptr, AV_LOG_ERROR, "%s has ended: %s\n", Whose().c_str(), cause.c_str());
  if (!told.empty() || !m_device->HasOpened()) {
    m_lacksSharing = m_device->LacksSharing();
    SetFailure(cause);
  }
}

void CInputDev::HandlePacket(AVPacket* packet) {
  avcodec_send_packet(m_codec, packet);
  while (avcodec_receive_frame(m_codec, m_decoded) >= 0) {
    HandleFrame();
    av_frame_unref(m_decoded);
  }
}

void CInputDev::HandleFrame() {
  if (!m_device->IsFiller()) {
    ++m_delivered;
  }
  if (m_isAudio) {
    HandleAudio();
  } else {
    HandleVideo();
  }
}

void CInputDev::PushSound(AVFrame* sound) {
  if (m_gain.Begin()) {
    const int result = av_frame_make_writable(sound);
    if (result < 0) {
      // Rather a hole than what was muted.
      m_conversionFault.Tell(Whose(), "its sound can't be changed", result);
      return;
    }
  }
  auto* samples = reinterpret_cast<std::int16_t*>(sound->data[0]);
  m_gain.Amplify(samples, sound->nb_samples);
  m_level.Add(samples, sound->nb_samples * sources::kSoundChannels);
  m_gain.Mute(samples, sound->nb_samples);
  // Demuxers pad, and so does a copy; downstream linesize[0] is the payload.
  sound->linesize[0] = sound->nb_samples * sources::kSoundFrameBytes;
  sound->pts = SDL_GetTicks();
  PushAudio(sound, 0);
}

void CInputDev::HandleAudio() {
  sources::CompleteLayout(m_decoded);
  if (sources::IsGraphSound(m_decoded)) {
    PushSound(m_decoded);
    return;
  }
  const int room = m_stereo.Expected(m_decoded);
  ffmpeg::ScopedFrame sound(room > 0 ? sources::NewGraphSound(room) : nullptr);
  const int samples = sound ? m_stereo.Convert(m_decoded, sound->data[0], room) : room;
  if (samples <= 0) {
    if (samples < 0) {
      m_conversionFault.Tell(Whose(), "its sound can't be converted", samples);
    }
    return;
  }
  sound->nb_samples = samples;
  PushSound(sound.Get());
}

bool CInputDev::IsWanted(const AVFrame* picture) const {
  return picture->format == m_pixelFormat && (m_width == 0 || m_width == picture->width) &&
         (m_height == 0 || m_height == picture->height);
}

void CInputDev::HandleVideo() {
  if (IsWanted(m_decoded) && ffmpeg::HasPackedRows(m_decoded)) {
    m_decoded->pts = SDL_GetTicks();
    PushVideo(m_decoded, 0);
    return;
  }
  PushConvertedPicture();
}

platform::Size CInputDev::OutputSize(const AVFrame* picture) {
  if (IsWanted(picture)) {
    return {picture->width, picture->height};  // only its rows have to be packed
  }
  // The size that the first picture got is kept: consumers have not been told of another one.
  if (m_outputSize == platform::Size{}) {
    m_outputSize.width = m_width != 0 ? m_width : picture->width;
    m_outputSize.height = m_height != 0 ? m_height : picture->height;
  }
  return m_outputSize;
}

void CInputDev::PushConvertedPicture() {
  const platform::Size size = OutputSize(m_decoded);
  ffmpeg::ScopedFrame picture(
      m_pictures.Get(size.width, size.height, static_cast<AVPixelFormat>(m_pixelFormat)));
  if (!picture) {
    return;
  }
  picture->pts = SDL_GetTicks();
  const int result = m_scaler.Convert(m_decoded, picture.Get());
  if (result < 0) {
    m_conversionFault.Tell(Whose(), "its picture can't be converted", result);
    return;
  }
  PushVideo(picture.Get(), 0);
}
