#include "output/LibraryFailures.h"

#include <cstdint>
#include <mutex>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libswresample/swresample.h>
}

namespace {

std::mutex g_mutex;
std::set<std::string> g_names;  // guarded by g_mutex

bool Fails(const std::string& name) {
  std::lock_guard<std::mutex> lock(g_mutex);
  return g_names.count(name) != 0;
}

}  // namespace

extern "C" {

const AVCodec* __real_avcodec_find_encoder(AVCodecID id);
const AVCodec* __wrap_avcodec_find_encoder(AVCodecID id);
const AVCodec* __wrap_avcodec_find_encoder(AVCodecID id) {
  return Fails("avcodec_find_encoder") ? nullptr : __real_avcodec_find_encoder(id);
}

const AVCodec* __real_avcodec_find_encoder_by_name(const char* name);
const AVCodec* __wrap_avcodec_find_encoder_by_name(const char* name);
const AVCodec* __wrap_avcodec_find_encoder_by_name(const char* name) {
  return Fails(std::string("encoder:") + name) ? nullptr
                                               : __real_avcodec_find_encoder_by_name(name);
}

AVAudioFifo* __real_av_audio_fifo_alloc(AVSampleFormat format, int channels, int samples);
AVAudioFifo* __wrap_av_audio_fifo_alloc(AVSampleFormat format, int channels, int samples);
AVAudioFifo* __wrap_av_audio_fifo_alloc(AVSampleFormat format, int channels, int samples) {
  return Fails("av_audio_fifo_alloc") ? nullptr
                                      : __real_av_audio_fifo_alloc(format, channels, samples);
}

int __real_av_audio_fifo_realloc(AVAudioFifo* fifo, int samples);
int __wrap_av_audio_fifo_realloc(AVAudioFifo* fifo, int samples);
int __wrap_av_audio_fifo_realloc(AVAudioFifo* fifo, int samples) {
  return Fails("av_audio_fifo_realloc") ? AVERROR(ENOMEM)
                                        : __real_av_audio_fifo_realloc(fifo, samples);
}

int __real_av_audio_fifo_write(AVAudioFifo* fifo, void** data, int samples);
int __wrap_av_audio_fifo_write(AVAudioFifo* fifo, void** data, int samples);
int __wrap_av_audio_fifo_write(AVAudioFifo* fifo, void** data, int samples) {
  return Fails("av_audio_fifo_write") ? 0 : __real_av_audio_fifo_write(fifo, data, samples);
}

int __real_av_audio_fifo_read(AVAudioFifo* fifo, void** data, int samples);
int __wrap_av_audio_fifo_read(AVAudioFifo* fifo, void** data, int samples);
int __wrap_av_audio_fifo_read(AVAudioFifo* fifo, void** data, int samples) {
  const int read = __real_av_audio_fifo_read(fifo, data, samples);
  return Fails("av_audio_fifo_read") ? read - 1 : read;
}

int __real_swr_convert(SwrContext* context, std::uint8_t** output, int room,
                       const std::uint8_t** input, int samples);
int __wrap_swr_convert(SwrContext* context, std::uint8_t** output, int room,
                       const std::uint8_t** input, int samples);
int __wrap_swr_convert(SwrContext* context, std::uint8_t** output, int room,
                       const std::uint8_t** input, int samples) {
  return Fails("swr_convert") ? AVERROR(EINVAL)
                              : __real_swr_convert(context, output, room, input, samples);
}

int __real_swr_init(SwrContext* context);
int __wrap_swr_init(SwrContext* context);
int __wrap_swr_init(SwrContext* context) {
  return Fails("swr_init") ? AVERROR(EINVAL) : __real_swr_init(context);
}

int __real_avformat_alloc_output_context2(AVFormatContext** context, const AVOutputFormat* format,
                                          const char* name, const char* file);
int __wrap_avformat_alloc_output_context2(AVFormatContext** context, const AVOutputFormat* format,
                                          const char* name, const char* file);
int __wrap_avformat_alloc_output_context2(AVFormatContext** context, const AVOutputFormat* format,
                                          const char* name, const char* file) {
  return Fails("avformat_alloc_output_context2")
             ? AVERROR(ENOMEM)
             : __real_avformat_alloc_output_context2(context, format, name, file);
}

AVStream* __real_avformat_new_stream(AVFormatContext* context, const AVCodec* codec);
AVStream* __wrap_avformat_new_stream(AVFormatContext* context, const AVCodec* codec);
AVStream* __wrap_avformat_new_stream(AVFormatContext* context, const AVCodec* codec) {
  return Fails("avformat_new_stream") ? nullptr : __real_avformat_new_stream(context, codec);
}

int __real_avformat_write_header(AVFormatContext* context, AVDictionary** options);
int __wrap_avformat_write_header(AVFormatContext* context, AVDictionary** options);
int __wrap_avformat_write_header(AVFormatContext* context, AVDictionary** options) {
  return Fails("avformat_write_header") ? AVERROR(EINVAL)
                                        : __real_avformat_write_header(context, options);
}

int __real_av_write_trailer(AVFormatContext* context);
int __wrap_av_write_trailer(AVFormatContext* context);
int __wrap_av_write_trailer(AVFormatContext* context) {
  const int result = __real_av_write_trailer(context);
  return Fails("av_write_trailer") ? AVERROR(EIO) : result;
}

}  // extern "C"

namespace support {

LibraryFailures::LibraryFailures(const std::set<std::string>& names) {
  std::lock_guard<std::mutex> lock(g_mutex);
  g_names = names;
}

LibraryFailures::~LibraryFailures() {
  std::lock_guard<std::mutex> lock(g_mutex);
  g_names.clear();
}

}  // namespace support
