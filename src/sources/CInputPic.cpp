#include "sources/CInputPic.h"

#include <SDL_timer.h>

#include <cstdio>
#include <utility>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include "media/NodeKind.h"
#include "media/ffmpeg/ErrorText.h"
#include "media/ffmpeg/FramePool.h"
#include "media/ffmpeg/PixelConvert.h"
#include "media/ffmpeg/Scoped.h"
#include "sources/Decoder.h"
#include "sources/DeviceCatalogue.h"
#include "sources/MediaFile.h"
#include "sources/OpenDeadline.h"
#include "sources/StillSize.h"

namespace {

constexpr std::int64_t kMaxBytes = 256LL * 1024 * 1024;

using ScopedFile = ffmpeg::Scoped<AVFormatContext, sources::CloseMediaFile>;

// Fills packet with the file's first one and gives its picture; null with *cause on failure.
AVFrame* DecodeFirst(AVFormatContext* file, int stream, AVPacket* packet, std::string* cause) {
  ffmpeg::ScopedCodec codec;
  int result =
      sources::OpenDecoder(file->streams[stream]->codecpar, file->streams[stream]->time_base,
                           sources::DecoderThreads::One, sources::kMaxStillPixels, codec.Address());
  if (result >= 0) {
    result = av_read_frame(file, packet);
  }
  if (result >= 0 && packet->stream_index != stream) {
    *cause = "the file does not begin with its picture";
    return nullptr;
  }
  ffmpeg::ScopedFrame frame(av_frame_alloc());
  if (!frame) {
    result = AVERROR(ENOMEM);
  }
  if (result >= 0) {
    result = avcodec_send_packet(codec.Get(), packet);
  }
  if (result >= 0) {
    result = avcodec_receive_frame(codec.Get(), frame.Get());
  }
  if (result < 0) {
    *cause = ffmpeg::ErrorText(result) + " (damaged, or of more than " +
             std::to_string(sources::kMaxStillPixels) + " pixels)";
    return nullptr;
  }
  return frame.Release();
}

// The same picture in RGB24 with packed rows, at the size at which it is kept.
AVFrame* ToPackedRgb(const AVFrame* decoded, const platform::Size& canvas, std::string* cause) {
  const platform::Size size = sources::KeptSize({decoded->width, decoded->height}, canvas);
  ffmpeg::FramePool once;
  ffmpeg::ScopedFrame picture(once.Get(size.width, size.height, AV_PIX_FMT_RGB24));
  if (!picture) {
    *cause = "no memory for the picture";
    return nullptr;
  }
  ffmpeg::PixelConvert convert;
  const int result = convert.Convert(decoded, picture.Get());
  if (result < 0) {
    *cause = ffmpeg::ErrorText(result);
    return nullptr;
  }
  return picture.Release();
}

}  // namespace

CInputPic::CInputPic(std::string path)
    : CSrcInterface(media::kPicture, 1),
      m_path(std::move(path)),
      m_catalogue(DeviceCatalogue::Instance()) {}

CInputPic::~CInputPic() {
  av_frame_free(&m_picture);
}

int CInputPic::Start() {
  if (m_thread.IsRunning()) {
    return 0;
  }
  if (m_thread.IsOver() || Open() < 0) {
    return -1;
  }
  return m_thread.StartOnce(
      "picture", [this] { Run(); }, media::WorkerRole::kPrepare);
}

int CInputPic::Open() {
  av_frame_free(&m_picture);
  sources::OpenDeadline deadline;
  deadline.Arm();
  std::string cause;
  const auto failed = [&] {
    av_log(nullptr, AV_LOG_ERROR, "picture \"%s\": %s\n", m_path.c_str(), cause.c_str());
    SetFailure(cause);
    return -1;
  };
  ScopedFile file;
  if (sources::OpenMediaFile(m_path, deadline.Callback(), kMaxBytes, file.Address(), &cause) < 0) {
    std::printf("Couldn't open input stream.\n");
    return failed();
  }
  const int found = sources::FindStreamInfo(file.Get(), sources::kMaxStillPixels);
  if (found < 0) {
    std::printf("Couldn't find stream information.\n");
    cause = ffmpeg::ErrorText(found);
    return failed();
  }
  const int stream = av_find_best_stream(file.Get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (stream < 0) {
    cause = "the file holds no picture";
    return failed();
  }
  ffmpeg::ScopedPacket packet(av_packet_alloc());
  if (!packet) {
    cause = "no memory to read it";
    return failed();
  }
  m_catalogue->ResetPacket(packet.Get());
  ffmpeg::ScopedFrame decoded(DecodeFirst(file.Get(), stream, packet.Get(), &cause));
  if (!decoded) {
    return failed();
  }
  m_picture =
      ToPackedRgb(decoded.Get(), {m_catalogue->renderWidth, m_catalogue->renderHeight}, &cause);
  return m_picture != nullptr ? 0 : failed();
}

int CInputPic::Stop() {
  m_thread.StopOnce(&m_stop);
  av_frame_free(&m_picture);
  return 0;
}

void CInputPic::Run() {
  media::PacedTicker ticker(SDL_GetTicks());
  while (!m_stop) {
    PictureTurn(&ticker);
  }
}

void CInputPic::PictureTurn(media::PacedTicker* ticker) {
  const std::uint32_t now = SDL_GetTicks();
  if (!ticker->Due(now)) {
    SDL_Delay(ticker->SleepMs());
    return;
  }
  m_picture->pts = now;
  PushVideo(m_picture, 0);
  ticker->Advance();
}
