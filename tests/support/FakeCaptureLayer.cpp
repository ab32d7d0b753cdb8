#include "support/FakeCaptureLayer.h"

#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <utility>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/imgutils.h>
#include <libavutil/intreadwrite.h>
#include <libswscale/swscale.h>
}

namespace support {

using platform::CaptureKind;
using platform::OpenFailure;
using platform::OpenResult;

// What the node under test holds; all it does is done by the device.
class FakeStream : public platform::CaptureStream {
 public:
  FakeStream(FakeDevice* device, bool streamless)
      : m_device(device), m_parameters(avcodec_parameters_alloc()), m_streamless(streamless) {}
  ~FakeStream() override {
    m_device.load()->Close();
    avcodec_parameters_free(&m_parameters);
  }

  bool FindStream(CaptureKind kind, platform::StreamInfo* info) const override {
    if (m_streamless || kind != m_device.load()->Kind()) {
      return false;
    }
    info->index = 0;
    info->parameters = m_parameters;
    info->timeBase = AVRational{1, 1000000};
    return true;
  }
  int Read(AVPacket* packet) override { return m_device.load()->Read(packet); }
  std::string EndCause() const override { return m_device.load()->EndCause(); }
  bool LacksSharing() const override { return m_device.load()->IsUnshared(); }
  bool IsFiller() const override { return m_device.load()->IsFiller(); }
  bool HasOpened() const override { return m_device.load()->IsAllowed(); }
  bool SwitchTo(const std::string& name) override {
    FakeDevice* next = m_device.load()->Successor(name);
    if (next == nullptr) {
      return false;
    }
    m_device.exchange(next)->Close();
    return true;
  }

  AVCodecParameters* Parameters() { return m_parameters; }

 private:
  std::atomic<FakeDevice*> m_device;
  AVCodecParameters* m_parameters;
  bool m_streamless;
};

FakeDevice::FakeDevice(CaptureKind kind, std::string name)
    : m_kind(kind), m_name(std::move(name)) {}

FakeDevice::~FakeDevice() {
  for (Step& step : m_script) {
    av_packet_free(&step.packet);
  }
}

void FakeDevice::Pictures(const FakePictures& pictures) {
  m_pictures = pictures;
  m_toldWidth = pictures.width;
  m_toldHeight = pictures.height;
}

void FakeDevice::Sound(const FakeSound& sound) {
  m_sound = sound;
}

void FakeDevice::Give(int packets) {
  std::lock_guard<std::mutex> lock(m_mutex);
  for (int i = 0; i < packets; ++i) {
    m_script.push_back({0, Generate(), ""});
  }
}

void FakeDevice::GiveNothing(int reads) {
  std::lock_guard<std::mutex> lock(m_mutex);
  for (int i = 0; i < reads; ++i) {
    m_script.push_back({AVERROR(EAGAIN), nullptr, ""});
  }
}

void FakeDevice::GiveError(int error, const std::string& cause) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_script.push_back({error, nullptr, cause});
}

void FakeDevice::GivePacket(const AVPacket* packet) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_script.push_back({0, av_packet_clone(packet), ""});
}

void FakeDevice::RunFree() {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_free = true;
  m_due = std::chrono::steady_clock::now();
}

void FakeDevice::Freeze() {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_frozen = true;
}

void FakeDevice::Thaw() {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_frozen = false;
  m_due = std::chrono::steady_clock::now();
}

void FakeDevice::Unplug() {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_unplugged = true;
  m_ended = NeverRunsDry() ? 0 : AVERROR(ENODEV);
}

void FakeDevice::SetBusy(bool busy) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_busy = busy;
}

void FakeDevice::SetFormatUnknown(bool unknown) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_formatUnknown = unknown;
}

void FakeDevice::SetUnshared(const std::string& cause) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_unshared = cause;
  if (m_open && !cause.empty()) {
    m_ended = AVERROR(EIO);
    m_endCause = cause;
  }
}

void FakeDevice::Ask() {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_asking = true;
}

void FakeDevice::Allow() {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_asking = false;
  m_due = std::chrono::steady_clock::now();
}

void FakeDevice::SetStreamless(bool streamless) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_streamless = streamless;
}

void FakeDevice::SetCodec(AVCodecID codec) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_codec = codec;
}

void FakeDevice::ChangeSize(int width, int height) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_pictures.width = width;
  m_pictures.height = height;
  m_sizeChanged = true;
}

bool FakeDevice::Unplugged() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_unplugged;
}

bool FakeDevice::IsOpen() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_open;
}

int FakeDevice::OpenCount() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_openCount;
}

int FakeDevice::Unread() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return static_cast<int>(m_script.size());
}

unsigned FakeDevice::NextNumber() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_number;
}

OpenResult FakeDevice::Open() {
  std::lock_guard<std::mutex> lock(m_mutex);
  if (m_unplugged) {
    return {nullptr, OpenFailure::CannotOpen, m_name + ": No such device"};
  }
  if (m_busy || m_open) {
    return {nullptr, OpenFailure::CannotOpen, m_name + ": Device or resource busy"};
  }
  if (m_formatUnknown) {
    return {nullptr, OpenFailure::NoStreamFormat, m_name + ": no stream format in time"};
  }
  if (!m_unshared.empty()) {
    return {nullptr, OpenFailure::NoSharing, m_unshared};
  }
  if (m_script.empty()) {
    m_toldWidth = m_pictures.width;
    m_toldHeight = m_pictures.height;
    m_sizeChanged = false;
  }
  auto stream = std::make_unique<FakeStream>(this, m_streamless);
  TellParameters(stream->Parameters());
  m_open = true;
  m_ended = 0;
  m_endCause.clear();
  ++m_openCount;
  m_due = std::chrono::steady_clock::now();
  return {std::move(stream), OpenFailure::None, ""};
}

void FakeDevice::Close() {
  if (m_onClose) {
    m_onClose();
  }
  std::lock_guard<std::mutex> lock(m_mutex);
  m_open = false;
}

FakeDevice* FakeDevice::Successor(const std::string& name) const {
  const bool microphone = m_kind == CaptureKind::Audio && m_name != platform::kSystemSoundName;
  return microphone && name != platform::kSystemSoundName ? m_layer->TakeUp(name) : nullptr;
}

void FakeDevice::BeTakenUp() {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_open = true;
  ++m_openCount;
  m_due = std::chrono::steady_clock::now();
}

int FakeDevice::Read(AVPacket* packet) {
  std::lock_guard<std::mutex> lock(m_mutex);
  if (m_ended != 0) {
    return m_ended;
  }
  if (m_frozen && !NeverRunsDry()) {
    return AVERROR(EAGAIN);
  }
  if (m_asking && !EndIsNext()) {
    return AVERROR(EAGAIN);
  }
  m_filler = NeverRunsDry() && (m_frozen || m_unplugged);
  return m_script.empty() ? ReadByClock(packet) : ReadScript(packet);
}

bool FakeDevice::IsFiller() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_filler;
}

bool FakeDevice::IsAllowed() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return !m_asking;
}

bool FakeDevice::IsUnshared() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return !m_unshared.empty();
}

std::string FakeDevice::EndCause() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_endCause;
}

bool FakeDevice::EndIsNext() const {
  return !m_script.empty() && m_script.front().packet == nullptr &&
         m_script.front().result != AVERROR(EAGAIN);
}

int FakeDevice::ReadScript(AVPacket* packet) {
  Step step = m_script.front();
  m_script.pop_front();
  if (step.packet != nullptr) {
    av_packet_move_ref(packet, step.packet);
    av_packet_free(&step.packet);
  } else if (step.result != AVERROR(EAGAIN)) {
    m_ended = step.result;
    m_endCause = step.cause;
  }
  return step.result;
}

int FakeDevice::ReadByClock(AVPacket* packet) {
  if (!m_free || std::chrono::steady_clock::now() < m_due) {
    return AVERROR(EAGAIN);
  }
  const std::int64_t microseconds =
      m_kind == CaptureKind::Video
          ? 1000000 / m_pictures.framesPerSecond
          : static_cast<std::int64_t>(m_sound.blockSamples) * 1000000 / m_sound.sampleRate;
  m_due += std::chrono::microseconds(microseconds);
  AVPacket* made = Generate();
  av_packet_move_ref(packet, made);
  av_packet_free(&made);
  return 0;
}

AVPacket* FakeDevice::Generate() {
  AVPacket* packet = m_kind == CaptureKind::Video ? GeneratePicture() : GenerateSound();
  packet->pts = packet->dts = static_cast<std::int64_t>(m_number) * 1000;
  packet->flags |= AV_PKT_FLAG_KEY;
  ++m_number;
  return packet;
}

AVPacket* FakeDevice::GeneratePicture() {
  const int width = m_pictures.width;
  const int height = m_pictures.height;
  std::vector<std::uint8_t> rgb(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                                3);
  PaintCameraPicture(rgb.data(), static_cast<std::size_t>(width) * 3, width, height, m_number,
                     m_pictures.background);
  AVPacket* packet = av_packet_alloc();
  av_new_packet(packet, av_image_get_buffer_size(m_pictures.format, width, height, 1));
  std::uint8_t* planes[4];
  int strides[4];
  av_image_fill_arrays(planes, strides, packet->data, m_pictures.format, width, height, 1);
  const std::uint8_t* source[4] = {rgb.data(), nullptr, nullptr, nullptr};
  const int sourceStrides[4] = {width * 3, 0, 0, 0};
  SwsContext* context =
      sws_getContext(width, height, AV_PIX_FMT_RGB24, width, height, m_pictures.format,
                     SWS_POINT | SWS_ACCURATE_RND, nullptr, nullptr, nullptr);
  sws_scale(context, source, sourceStrides, 0, height, planes, strides);
  sws_freeContext(context);
  if (m_sizeChanged) {
    std::uint8_t* change = av_packet_new_side_data(packet, AV_PKT_DATA_PARAM_CHANGE, 12);
    AV_WL32(change, AV_SIDE_DATA_PARAM_CHANGE_DIMENSIONS);
    AV_WL32(change + 4, width);
    AV_WL32(change + 8, height);
    m_sizeChanged = false;
  }
  return packet;
}

AVPacket* FakeDevice::GenerateSound() {
  const bool real = m_sound.codec == AV_CODEC_ID_PCM_F32LE;
  const int sampleBytes = real ? 4 : 2;
  AVPacket* packet = av_packet_alloc();
  av_new_packet(packet, m_sound.blockSamples * m_sound.channels * sampleBytes);
  std::uint8_t* sample = packet->data;
  const double level = m_frozen || m_unplugged ? 0 : 0.5;
  for (int i = 0; i < m_sound.blockSamples; ++i, ++m_samples) {
    const double angle =
        2 * M_PI * m_sound.hertz * static_cast<double>(m_samples) / m_sound.sampleRate;
    const float value = static_cast<float>(level * std::sin(angle));
    const auto whole = static_cast<std::int16_t>(std::lround(value * 32767));
    for (int channel = 0; channel < m_sound.channels; ++channel, sample += sampleBytes) {
      if (real) {
        std::memcpy(sample, &value, sizeof value);
      } else {
        std::memcpy(sample, &whole, sizeof whole);
      }
    }
  }
  return packet;
}

void FakeDevice::TellParameters(AVCodecParameters* parameters) const {
  if (m_kind == CaptureKind::Video) {
    parameters->codec_type = AVMEDIA_TYPE_VIDEO;
    parameters->codec_id = AV_CODEC_ID_RAWVIDEO;
    parameters->format = m_pictures.format;
    parameters->codec_tag = avcodec_pix_fmt_to_codec_tag(m_pictures.format);
    parameters->width = m_toldWidth;
    parameters->height = m_toldHeight;
  } else {
    parameters->codec_type = AVMEDIA_TYPE_AUDIO;
    parameters->codec_id = m_sound.codec;
    parameters->sample_rate = m_sound.sampleRate;
    if (m_sound.layoutKnown) {
      av_channel_layout_default(&parameters->ch_layout, m_sound.channels);
    } else {
      parameters->ch_layout.order = AV_CHANNEL_ORDER_UNSPEC;
      parameters->ch_layout.nb_channels = m_sound.channels;
    }
  }
  if (m_codec != AV_CODEC_ID_NONE) {
    parameters->codec_id = m_codec;
  }
}

FakeCaptureLayer::FakeCaptureLayer() = default;
FakeCaptureLayer::~FakeCaptureLayer() = default;

FakeDevice* FakeCaptureLayer::AddCamera(const std::string& name, const FakePictures& pictures) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_devices.push_back(std::make_unique<FakeDevice>(CaptureKind::Video, name));
  m_devices.back()->m_layer = this;
  m_devices.back()->Pictures(pictures);
  return m_devices.back().get();
}

FakeDevice* FakeCaptureLayer::AddMicrophone(const std::string& name, const FakeSound& sound) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_devices.push_back(std::make_unique<FakeDevice>(CaptureKind::Audio, name));
  m_devices.back()->m_layer = this;
  m_devices.back()->Sound(sound);
  return m_devices.back().get();
}

std::vector<std::string> FakeCaptureLayer::ListDevices(CaptureKind kind) {
  std::lock_guard<std::mutex> lock(m_mutex);
  std::vector<std::string> names;
  for (const auto& device : m_devices) {
    const bool fixed =
        device->Name() == platform::kDesktopName || device->Name() == platform::kSystemSoundName;
    if (device->Kind() == kind && !fixed && !device->Unplugged()) {
      names.push_back(device->Name());
    }
  }
  return names;
}

OpenResult FakeCaptureLayer::Open(CaptureKind kind, const std::string& name) {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_opened.push_back(name);
  for (const auto& device : m_devices) {
    if (device->Kind() == kind && device->Name() == name && !device->Unplugged()) {
      return device->Open();
    }
  }
  return {nullptr, OpenFailure::CannotOpen, name + ": No such device"};
}

FakeDevice* FakeCaptureLayer::TakeUp(const std::string& name) {
  std::lock_guard<std::mutex> lock(m_mutex);
  for (const auto& device : m_devices) {
    if (device->Kind() == CaptureKind::Audio && device->Name() == name) {
      m_opened.push_back(name);
      device->BeTakenUp();
      return device.get();
    }
  }
  return nullptr;
}

std::vector<std::string> FakeCaptureLayer::Opened() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_opened;
}

}  // namespace support
