// A viewer of the stream: subscribes to an RTMP address, decodes each picture as it comes, reads
// from the stage's clock strip in it when it was drawn, and prints the time from there to now.
//
//   subscriber ADDRESS X,Y SECONDS      X,Y: where the strip stands in the 1920 x 1080 scene
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <vector>

#include "media/ffmpeg/Scoped.h"
#include "support/StageJudge.h"

namespace {

std::int64_t NowMs() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return std::int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1000000;
}

class Subscriber {
 public:
  bool Open(const char* address) {
    ffmpeg::ScopedDictionary options;
    // Nothing of the player's own may add to the delay.
    av_dict_set(options.Address(), "fflags", "nobuffer", 0);
    // A server may begin with sound alone, until the next key frame.
    av_dict_set(options.Address(), "analyzeduration", "4000000", 0);
    av_dict_set(options.Address(), "rtmp_live", "live", 0);
    if (avformat_open_input(m_input.Address(), address, nullptr, options.Address()) < 0 ||
        avformat_find_stream_info(m_input.Get(), nullptr) < 0) {
      return false;
    }
    m_stream = av_find_best_stream(m_input.Get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (m_stream < 0) {
      return false;
    }
    const AVCodecParameters* parameters = m_input->streams[m_stream]->codecpar;
    const AVCodec* codec = avcodec_find_decoder(parameters->codec_id);
    m_decoder.Reset(avcodec_alloc_context3(codec));
    avcodec_parameters_to_context(m_decoder.Get(), parameters);
    m_decoder->thread_count = 1;
    m_decoder->flags |= AV_CODEC_FLAG_LOW_DELAY;
    return avcodec_open2(m_decoder.Get(), codec, nullptr) >= 0;
  }

  // Delays of the pictures of so many seconds, the first two of them left out: what the server
  // kept comes there in a burst.
  std::vector<double> Watch(int x, int y, double seconds) {
    std::vector<double> delays;
    const std::int64_t start = NowMs();
    ffmpeg::ScopedPacket packet(av_packet_alloc());
    ffmpeg::ScopedFrame picture(av_frame_alloc());
    while (NowMs() - start < seconds * 1000 && av_read_frame(m_input.Get(), packet.Get()) >= 0) {
      if (packet->stream_index == m_stream &&
          avcodec_send_packet(m_decoder.Get(), packet.Get()) >= 0) {
        while (avcodec_receive_frame(m_decoder.Get(), picture.Get()) >= 0) {
          const std::int64_t now = NowMs();
          const std::int64_t drawn = support::SceneClock(*picture.Get(), x, y);
          if (drawn >= 0 && now - start > 2000) {
            delays.push_back(static_cast<double>((now & 0xFFFFFFFF) - drawn));
          }
        }
      }
      av_packet_unref(packet.Get());
    }
    return delays;
  }

 private:
  ffmpeg::ScopedInput m_input;
  ffmpeg::ScopedCodec m_decoder;
  int m_stream = -1;
};

}  // namespace

int main(int argc, char** argv) {
  int x = 0;
  int y = 0;
  if (argc != 4 || std::sscanf(argv[2], "%d,%d", &x, &y) != 2) {
    std::fprintf(stderr, "subscriber ADDRESS X,Y SECONDS\n");
    return 2;
  }
  Subscriber subscriber;
  if (!subscriber.Open(argv[1])) {
    std::fprintf(stderr, "subscriber: nothing to watch at %s\n", argv[1]);
    return 1;
  }
  std::vector<double> delays = subscriber.Watch(x, y, std::atof(argv[3]));
  if (delays.empty()) {
    std::fprintf(stderr, "subscriber: no picture shows the clock\n");
    return 1;
  }
  std::sort(delays.begin(), delays.end());
  std::printf("pictures=%zu latency_median_ms=%.0f latency_min_ms=%.0f latency_max_ms=%.0f\n",
              delays.size(), support::Median(delays), delays.front(), delays.back());
  return 0;
}
