#include "platform/linux/portal/PortalDesktop.h"

#include <chrono>
#include <memory>
#include <string>
#include <utility>

#include "platform/linux/MonotonicClock.h"
#include "platform/linux/SizeChange.h"
#include "platform/linux/portal/ScreenCast.h"

extern "C" {
#include <libavutil/buffer.h>
#include <libavutil/error.h>
}

namespace platform {

namespace {

constexpr std::chrono::milliseconds kReadLimit(80);
// What decoders are opened with until the first packet tells the size.
constexpr Size kForeseen{1920, 1080};

struct FreeParameters {
  void operator()(AVCodecParameters* parameters) const { avcodec_parameters_free(&parameters); }
};

class PortalDesktop : public CaptureStream {
 public:
  explicit PortalDesktop(const PortalSettings& settings);

  bool Start(std::string* cause);

  bool FindStream(CaptureKind kind, StreamInfo* info) const override;
  int Read(AVPacket* packet) override;
  std::string EndCause() const override;
  bool LacksSharing() const override;
  bool HasOpened() const override { return m_cast.IsShared(); }

 private:
  int Fill(CastPictureRef picture, AVPacket* packet);

  ScreenCast m_cast;
  std::unique_ptr<AVCodecParameters, FreeParameters> m_parameters{avcodec_parameters_alloc()};
  Size m_size;  // of the packet before; 0 x 0 before the first
};

// The packet's reference to the picture.
void Drop(void* reference, std::uint8_t* /*data*/) {
  delete static_cast<CastPictureRef*>(reference);
}

PortalDesktop::PortalDesktop(const PortalSettings& settings) : m_cast(settings, CastKind::Monitor) {
  if (m_parameters != nullptr) {
    m_parameters->codec_type = AVMEDIA_TYPE_VIDEO;
    m_parameters->codec_id = AV_CODEC_ID_RAWVIDEO;
    m_parameters->format = AV_PIX_FMT_BGR0;
    m_parameters->width = kForeseen.width;
    m_parameters->height = kForeseen.height;
  }
}

bool PortalDesktop::Start(std::string* cause) {
  if (m_parameters == nullptr) {
    *cause = "out of memory";
    return false;
  }
  return m_cast.Start(cause);
}

bool PortalDesktop::FindStream(CaptureKind kind, StreamInfo* info) const {
  if (kind != CaptureKind::Video) {
    return false;
  }
  info->index = 0;
  info->parameters = m_parameters.get();
  info->timeBase = {1, 1'000'000};
  return true;
}

int PortalDesktop::Read(AVPacket* packet) {
  if (CastPictureRef picture = m_cast.Await(kReadLimit)) {
    return Fill(std::move(picture), packet);
  }
  if (const ScreenCast::End* end = m_cast.Ended()) {
    return end->wasClosed ? AVERROR_EOF : AVERROR(EIO);
  }
  return AVERROR(EAGAIN);
}

int PortalDesktop::Fill(CastPictureRef picture, AVPacket* packet) {
  const Size size = picture->size;
  std::uint8_t* data = picture->data;
  const std::size_t bytes = picture->bytes;
  auto reference = std::make_unique<CastPictureRef>(std::move(picture));
  packet->buf = av_buffer_create(data, bytes + AV_INPUT_BUFFER_PADDING_SIZE, Drop, reference.get(),
                                 AV_BUFFER_FLAG_READONLY);
  if (packet->buf == nullptr) {
    return AVERROR(ENOMEM);
  }
  static_cast<void>(reference.release());
  packet->data = data;
  packet->size = static_cast<int>(bytes);
  packet->stream_index = 0;
  packet->flags |= AV_PKT_FLAG_KEY;
  packet->pts = packet->dts = MonotonicUs();
  if (size != m_size && !TellSize(packet, size)) {
    av_packet_unref(packet);
    return AVERROR(EAGAIN);
  }
  m_size = size;
  // For a decoder that is opened in the middle.
  m_parameters->width = size.width;
  m_parameters->height = size.height;
  return 0;
}

std::string PortalDesktop::EndCause() const {
  const ScreenCast::End* end = m_cast.Ended();
  return end != nullptr ? end->cause : std::string();
}

bool PortalDesktop::LacksSharing() const {
  const ScreenCast::End* end = m_cast.Ended();
  return end != nullptr && end->isUnshared;
}

}  // namespace

OpenResult OpenPortalDesktop(const PortalSettings& settings) {
  auto stream = std::make_unique<PortalDesktop>(settings);
  OpenResult result;
  if (stream->Start(&result.cause)) {
    result.stream = std::move(stream);
  } else {
    result.failure = OpenFailure::CannotOpen;
    result.cause = std::string(kDesktopName) + ": " + result.cause;
  }
  return result;
}

}  // namespace platform
