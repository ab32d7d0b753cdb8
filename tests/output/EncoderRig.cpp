#include "output/EncoderRig.h"

#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <fstream>
#include <sstream>

#include "media/ffmpeg/Scoped.h"

namespace support {

namespace {

constexpr int kPicturesPerSecond = 25;
constexpr int kSamplesPerPicture = 48000 / kPicturesPerSecond;
constexpr double kPi = 3.14159265358979323846;

}  // namespace

AVFrame* NewCanvas(int number, int width, int height) {
  AVFrame* canvas = av_frame_alloc();
  canvas->width = width;
  canvas->height = height;
  canvas->format = AV_PIX_FMT_YUV420P;
  av_frame_get_buffer(canvas, 1);
  const auto luma = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  std::memset(canvas->data[0], 100, luma);
  std::memset(canvas->data[1], 128, luma / 4);
  std::memset(canvas->data[2], 128, luma / 4);
  const int barWidth = width / kPicturesPerSecond;
  const int left = number % kPicturesPerSecond * barWidth;
  for (int y = height / 2; y < height; ++y) {
    std::memset(canvas->data[0] + static_cast<std::ptrdiff_t>(y) * canvas->linesize[0] + left, 220,
                static_cast<std::size_t>(barWidth));
  }
  return canvas;
}

AVFrame* NewSine(std::int64_t firstSample, int samples, double hertz) {
  AVFrame* sound = av_frame_alloc();
  av_channel_layout_default(&sound->ch_layout, 2);
  sound->sample_rate = 48000;
  sound->format = AV_SAMPLE_FMT_S16;
  sound->nb_samples = samples;
  sound->pts = firstSample * 1000 / 48000;
  av_frame_get_buffer(sound, 1);
  auto* data = reinterpret_cast<std::int16_t*>(sound->data[0]);
  for (int i = 0; i < samples; ++i) {
    const double phase = 2 * kPi * hertz * static_cast<double>(firstSample + i) / 48000;
    data[2 * i] = static_cast<std::int16_t>(std::lround(8000 * std::sin(phase)));
    data[2 * i + 1] = data[2 * i];
  }
  return sound;
}

AVPacket* NewPacket(std::int64_t ptsMs, bool key, int size) {
  AVPacket* packet = av_packet_alloc();
  av_new_packet(packet, size);
  // One H.264 unit behind its start code: the muxer looks for them. To sound it is any bytes.
  std::memset(packet->data, 0x55, static_cast<std::size_t>(size));
  const std::uint8_t head[] = {0, 0, 0, 1, static_cast<std::uint8_t>(key ? 0x65 : 0x41)};
  std::memcpy(packet->data, head, sizeof head);
  packet->pts = ptsMs;
  packet->dts = ptsMs;
  packet->flags = key ? AV_PKT_FLAG_KEY : 0;
  return packet;
}

std::vector<std::int64_t> TakePts(CMyQueue* packets) {
  std::vector<std::int64_t> pts;
  while (void* entry = packets->Pop()) {
    ffmpeg::ScopedPacket packet(static_cast<AVPacket*>(entry));
    pts.push_back(packet->pts);
  }
  return pts;
}

Feeder::Feeder(CSrcInterface* encoder, What what) : m_encoder(encoder), m_what(what) {
  for (int i = 0; i < kPicturesPerSecond; ++i) {
    m_canvases.push_back(NewCanvas(i));
  }
  m_thread = std::thread(&Feeder::Feed, this);
}

Feeder::~Feeder() {
  m_stop = true;
  m_thread.join();
  for (AVFrame* canvas : m_canvases) {
    av_frame_free(&canvas);
  }
}

void Feeder::Feed() {
  const auto begin = std::chrono::steady_clock::now();
  for (std::int64_t number = 0; !m_stop; ++number) {
    std::this_thread::sleep_until(begin + std::chrono::milliseconds(number * 40));
    const AVFrame* canvas = m_canvases[static_cast<std::size_t>(number % kPicturesPerSecond)];
    // The sound first: the encoder takes what comes at once, and measures the picture by it.
    if (m_what == What::kBoth) {
      m_encoder->EnqueueAudio(0, NewSine(number * kSamplesPerPicture, kSamplesPerPicture));
    }
    m_encoder->EnqueueVideo(0, av_frame_clone(canvas));
  }
}

std::string Describe(const CEncoder& encoder) {
  const EncoderStatistics figures = encoder.Statistics();
  std::ostringstream text;
  text << "state " << static_cast<int>(figures.status.state) << ", tries " << figures.status.tries
       << ", connections " << figures.connections << ", cause '" << figures.cause
       << "'; pictures taken " << figures.videoFramesTaken << ", dropped "
       << figures.videoFramesDropped << ", encoded " << figures.videoPacketsEncoded << ", sent "
       << figures.videoPacketsSent << ", lost " << figures.videoPacketsDropped << "; sound taken "
       << figures.audioFramesTaken << ", encoded " << figures.audioPacketsEncoded << ", sent "
       << figures.audioPacketsSent << ", lost " << figures.audioPacketsDropped << "; queued "
       << figures.queuedMs << " ms\n";
  return text.str();
}

std::int64_t ResidentBytes() {
  std::ifstream file("/proc/self/statm");
  std::int64_t total = 0;
  std::int64_t resident = 0;
  file >> total >> resident;
  return resident * sysconf(_SC_PAGESIZE);
}

}  // namespace support
