#include "output/StreamCodecs.h"

#include <cstdint>
#include <cstring>

extern "C" {
#include <libavformat/avformat.h>
}

#include "media/ffmpeg/Scoped.h"

namespace output {

std::vector<std::pair<std::string, std::string>> VideoOptions(const std::string& encoder,
                                                              const std::string& preset) {
  if (encoder == kHardwareEncoder) {
    // Its "tune" has no zerolatency; that is a flag of its own, and the profile of the context is
    // overridden by the default of its own option.
    // A key frame that is asked for is one that a viewer can begin with only by forced-idr.
    return {{"threads", "auto"},
            {"tune", "ull"},
            {"zerolatency", "1"},
            {"profile", "baseline"},
            {"forced-idr", "1"}};
  }
  std::vector<std::pair<std::string, std::string>> options = {
      {"threads", "auto"},
      {"tune", "zerolatency"},
      // The parameter sets of one preset differ from another's. A change of preset is told in a new
      // header too, but who passes the stream on in another format (HLS, MPEG-TS) often takes the
      // first header alone, and nothing could be decoded behind it. So each key frame carries its
      // own.
      {"x264-params", "repeat-headers=1"}};
  if (!preset.empty()) {
    options.emplace_back("preset", preset);
  }
  return options;
}

AVCodecContext* NewAudioEncoder() {
  const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
  AVCodecContext* audio = codec != nullptr ? avcodec_alloc_context3(codec) : nullptr;
  if (audio == nullptr) {
    return nullptr;
  }
  av_channel_layout_default(&audio->ch_layout, 2);
  audio->sample_rate = kSampleRate;
  audio->sample_fmt = codec->sample_fmts[0];
  audio->bit_rate = 128000;
  audio->time_base = {1, kSampleRate};
  audio->codec_tag = 0;
  audio->strict_std_compliance = FF_COMPLIANCE_EXPERIMENTAL;
  const AVOutputFormat* flv = av_guess_format("flv", nullptr, nullptr);
  if (flv != nullptr && (flv->flags & AVFMT_GLOBALHEADER) != 0) {
    audio->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  }
  return audio;
}

AVCodecContext* NewVideoEncoder(const char* encoder, int width, int height) {
  const AVCodec* codec = avcodec_find_encoder_by_name(encoder);
  AVCodecContext* video = codec != nullptr ? avcodec_alloc_context3(codec) : nullptr;
  if (video == nullptr) {
    return nullptr;
  }
  video->profile = FF_PROFILE_H264_BASELINE;
  video->width = width;
  video->height = height;
  video->pix_fmt = codec->pix_fmts[0];
  video->time_base = {1, kPicturesPerSecond};
  video->gop_size = 50;
  video->keyint_min = 50;
  video->qmin = 10;
  video->qmax = 51;
  video->max_b_frames = 0;
  video->framerate = {0, 1};
  video->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  return video;
}

void SetBitRate(AVCodecContext* video, std::int64_t bitRate) {
  video->bit_rate = bitRate;
  video->rc_max_rate = bitRate * 3 / 2;
}

int OpenVideoEncoder(AVCodecContext* video, const std::string& preset) {
  ffmpeg::ScopedDictionary options;
  for (const auto& [name, value] : VideoOptions(video->codec->name, preset)) {
    av_dict_set(options.Address(), name.c_str(), value.c_str(), 0);
  }
  return avcodec_open2(video, video->codec, options.Address());
}

void AddHeader(const AVCodecContext& video, AVPacket* packet) {
  const auto size = static_cast<std::size_t>(video.extradata_size);
  std::uint8_t* header =
      size > 0 ? av_packet_new_side_data(packet, AV_PKT_DATA_NEW_EXTRADATA, size) : nullptr;
  if (header != nullptr) {
    std::memcpy(header, video.extradata, size);
  }
}

void TakeHeader(const AVPacket& packet, AVCodecParameters* parameters) {
  std::size_t size = 0;
  const std::uint8_t* header = av_packet_get_side_data(&packet, AV_PKT_DATA_NEW_EXTRADATA, &size);
  auto* copy = header != nullptr
                   ? static_cast<std::uint8_t*>(av_mallocz(size + AV_INPUT_BUFFER_PADDING_SIZE))
                   : nullptr;
  if (copy != nullptr) {
    std::memcpy(copy, header, size);
    av_freep(&parameters->extradata);
    parameters->extradata = copy;
    parameters->extradata_size = static_cast<int>(size);
  }
}

}  // namespace output
