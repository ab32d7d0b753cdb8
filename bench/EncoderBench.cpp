// What encoding costs with the settings of a broadcast: H.264 by x264 for one picture of each
// quality, and AAC for one frame of sound. CPU time counts all threads of the process.
#include <benchmark/benchmark.h>

#include <vector>

#include "media/ffmpeg/Scoped.h"
#include "output/EncoderRig.h"
#include "output/PublishRules.h"
#include "output/StreamCodecs.h"

namespace {

// All packets that the encoder has ready; their bytes.
std::int64_t Drain(AVCodecContext* context, AVPacket* packet) {
  std::int64_t bytes = 0;
  while (avcodec_receive_packet(context, packet) >= 0) {
    bytes += packet->size;
    av_packet_unref(packet);
  }
  return bytes;
}

// A second of movement over the whole picture: a fine pattern that scrolls by. The flat canvas of
// the tests would flatter the encoder.
class Movement {
 public:
  Movement(int width, int height) {
    for (int i = 0; i < output::kPicturesPerSecond; ++i) {
      AVFrame* picture = support::NewCanvas(i, width, height);
      for (int y = 0; y < height; ++y) {
        std::uint8_t* row =
            picture->data[0] + static_cast<std::ptrdiff_t>(y) * picture->linesize[0];
        for (int x = 0; x < width; ++x) {
          row[x] = static_cast<std::uint8_t>(64 + ((x / 3 + 4 * i) ^ (y / 5)) * 37 % 128);
        }
      }
      m_pictures.push_back(picture);
    }
  }
  ~Movement() {
    for (AVFrame* picture : m_pictures) {
      av_frame_free(&picture);
    }
  }
  Movement(const Movement&) = delete;
  Movement& operator=(const Movement&) = delete;

  AVFrame* At(std::int64_t number) const {
    return m_pictures[static_cast<std::size_t>(number) % m_pictures.size()];
  }

 private:
  std::vector<AVFrame*> m_pictures;
};

void EncodePicture(benchmark::State& state) {
  const int width = static_cast<int>(state.range(0));
  const int height = static_cast<int>(state.range(1));
  const Movement movement(width, height);
  ffmpeg::ScopedCodec video(output::NewVideoEncoder(output::kSoftwareEncoder, width, height));
  output::SetBitRate(video.Get(), output::VideoBitRate(width, height));
  if (output::OpenVideoEncoder(video.Get()) < 0) {
    state.SkipWithError("x264 does not open");
    return;
  }
  const ffmpeg::ScopedPacket packet(av_packet_alloc());
  std::int64_t number = 0;
  std::int64_t bytes = 0;
  for (auto _ : state) {
    AVFrame* picture = movement.At(number);
    picture->pts = number++;
    avcodec_send_frame(video.Get(), picture);
    bytes += Drain(video.Get(), packet.Get());
  }
  state.counters["kbit/s"] = static_cast<double>(bytes) * 8 / 1000 / static_cast<double>(number) *
                             output::kPicturesPerSecond;
}
BENCHMARK(EncodePicture)
    ->ArgNames({"width", "height"})
    ->Args({960, 540})
    ->Args({1280, 720})
    ->Args({1920, 1080})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

void EncodeSound(benchmark::State& state) {
  ffmpeg::ScopedCodec audio(output::NewAudioEncoder());
  if (avcodec_open2(audio.Get(), audio->codec, nullptr) < 0) {
    state.SkipWithError("AAC does not open");
    return;
  }
  const ffmpeg::ScopedFrame sine(support::NewSine(0, audio->frame_size));
  ffmpeg::ScopedFrame sound(av_frame_alloc());
  av_channel_layout_default(&sound->ch_layout, 2);
  sound->sample_rate = output::kSampleRate;
  sound->format = audio->sample_fmt;
  sound->nb_samples = audio->frame_size;
  ffmpeg::ScopedSwr resampler;
  AVChannelLayout stereo = AV_CHANNEL_LAYOUT_STEREO;
  if (av_frame_get_buffer(sound.Get(), 0) < 0 ||
      swr_alloc_set_opts2(resampler.Address(), &stereo, audio->sample_fmt, output::kSampleRate,
                          &stereo, AV_SAMPLE_FMT_S16, output::kSampleRate, 0, nullptr) < 0 ||
      swr_init(resampler.Get()) < 0) {
    state.SkipWithError("no sound to encode");
    return;
  }
  swr_convert(resampler.Get(), sound->data, sound->nb_samples,
              const_cast<const std::uint8_t**>(sine->extended_data), sine->nb_samples);
  const ffmpeg::ScopedPacket packet(av_packet_alloc());
  for (auto _ : state) {
    sound->pts = sound->pts == AV_NOPTS_VALUE ? 0 : sound->pts + sound->nb_samples;
    avcodec_send_frame(audio.Get(), sound.Get());
    Drain(audio.Get(), packet.Get());
  }
}
BENCHMARK(EncodeSound)->Unit(benchmark::kMillisecond);

// The node's own turn on a canvas: scaling where the quality is not the canvas' size, and x264.
void EncodeTurn(benchmark::State& state) {
  const Movement movement(1920, 1080);
  support::EncoderUnderTest encoder(static_cast<int>(state.range(0)),
                                    static_cast<int>(state.range(1)));
  if (!encoder.Open()) {
    state.SkipWithError("the encoder does not open");
    return;
  }
  std::int64_t number = 0;
  for (auto _ : state) {
    encoder.EnqueueVideo(0, av_frame_clone(movement.At(number++)));
    encoder.Turn();
    encoder.Video().Clear();
  }
}
BENCHMARK(EncodeTurn)
    ->ArgNames({"width", "height"})
    ->Args({960, 540})
    ->Args({1280, 720})
    ->Args({1920, 1080})
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

}  // namespace
