// What the video encoder needs by itself: feeds pictures that live_road --record wrote to it, 25 a
// second, with the settings of a broadcast, and prints CPU seconds per second and how many pictures
// a second it came to: fewer than 25 where the machine is too slow for it. Whatever a live scene
// costs is judged as a multiple of this, measured in the same run.
//
//   encoder_alone PICTURES SECONDS
//
// The file is mapped and read once before the clock starts; pictures are handed over without a
// copy.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "media/ffmpeg/Scoped.h"
#include "output/StreamCodecs.h"

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;
constexpr std::size_t kPictureBytes = std::size_t{kWidth} * kHeight * 3 / 2;
constexpr std::int64_t kBitRate = 2000000;

double CpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

struct Pictures {
  std::uint8_t* data = nullptr;
  std::size_t count = 0;
};

Pictures Map(const char* path) {
  Pictures pictures;
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  struct stat status {};
  if (file < 0 || fstat(file, &status) != 0) {
    return pictures;
  }
  const auto size = static_cast<std::size_t>(status.st_size);
  void* data = mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, file, 0);
  close(file);
  if (data != MAP_FAILED) {
    pictures.data = static_cast<std::uint8_t*>(data);
    pictures.count = size / kPictureBytes;
  }
  return pictures;
}

void KeepBuffer(void* /*opaque*/, std::uint8_t* /*data*/) {}

bool Encode(AVCodecContext* encoder, std::uint8_t* data, std::int64_t number, AVPacket* packet) {
  ffmpeg::ScopedFrame frame(av_frame_alloc());
  frame->width = kWidth;
  frame->height = kHeight;
  frame->format = AV_PIX_FMT_YUV420P;
  frame->pts = number;
  frame->buf[0] =
      av_buffer_create(data, kPictureBytes, KeepBuffer, nullptr, AV_BUFFER_FLAG_READONLY);
  frame->data[0] = data;
  frame->data[1] = data + std::size_t{kWidth} * kHeight;
  frame->data[2] = frame->data[1] + std::size_t{kWidth} * kHeight / 4;
  frame->linesize[0] = kWidth;
  frame->linesize[1] = frame->linesize[2] = kWidth / 2;
  if (avcodec_send_frame(encoder, frame.Get()) < 0) {
    return false;
  }
  while (avcodec_receive_packet(encoder, packet) >= 0) {
    av_packet_unref(packet);
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "encoder_alone PICTURES SECONDS\n");
    return 2;
  }
  const Pictures pictures = Map(argv[1]);
  const auto total = static_cast<std::int64_t>(std::atof(argv[2]) * output::kPicturesPerSecond);
  ffmpeg::ScopedCodec encoder(output::NewVideoEncoder(output::kSoftwareEncoder, kWidth, kHeight));
  if (pictures.count == 0 || total <= 0 || !encoder) {
    std::fprintf(stderr, "encoder_alone: nothing to encode, or nothing to encode it with\n");
    return 1;
  }
  output::SetBitRate(encoder.Get(), kBitRate);
  if (output::OpenVideoEncoder(encoder.Get()) < 0) {
    std::fprintf(stderr, "encoder_alone: the encoder does not open\n");
    return 1;
  }
  ffmpeg::ScopedPacket packet(av_packet_alloc());
  const auto start = std::chrono::steady_clock::now();
  const double cpu = CpuSeconds();
  for (std::int64_t number = 0; number < total; ++number) {
    std::this_thread::sleep_until(start + std::chrono::milliseconds(number * 40));
    const std::size_t at = static_cast<std::size_t>(number) % pictures.count;
    if (!Encode(encoder.Get(), pictures.data + at * kPictureBytes, number, packet.Get())) {
      return 1;
    }
  }
  const double seconds = static_cast<double>(total) / output::kPicturesPerSecond;
  const double took =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::printf("cpu_per_second=%.4f pictures_per_second=%.2f\n", (CpuSeconds() - cpu) / seconds,
              static_cast<double>(total) / std::max(took, seconds));
  return 0;
}
