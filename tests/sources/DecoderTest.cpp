// How decoders are opened: pictures that move on as many threads as there are, all else on one.
#include "sources/Decoder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <string>

#include "sources/CInputDev.h"
#include "sources/CInputFile.h"
#include "sources/CInputPic.h"
#include "sources/CInputSilentFile.h"
#include "support/FakeCaptureLayer.h"
#include "support/MediaSamples.h"

extern "C" {
#include <libavutil/intreadwrite.h>
}

namespace {

// "threads" as each decoder was asked for it, by its medium; "" for not at all.
std::map<AVMediaType, std::string> g_threads;

std::map<AVMediaType, std::string> OpenedBy(CSrcInterface* node) {
  g_threads.clear();
  EXPECT_EQ(0, node->Start());
  node->Stop();
  return g_threads;
}

using Asked = std::map<AVMediaType, std::string>;

TEST(Decoder, PicturesThatMoveAreDecodedOnAllThreadsAndSoundOnOne) {
  support::FakeCaptureLayer layer;
  const support::InstalledCaptureLayer installed(&layer);
  layer.AddCamera("camera");
  layer.AddMicrophone("microphone");
  support::MediaSamples samples;
  CInputDev camera(false, "camera", 0, 0, AV_PIX_FMT_RGB24);
  EXPECT_EQ((Asked{{AVMEDIA_TYPE_VIDEO, "auto"}}), OpenedBy(&camera));
  CInputDev microphone(true, "microphone", 0, 0, AV_PIX_FMT_RGB24);
  EXPECT_EQ((Asked{{AVMEDIA_TYPE_AUDIO, ""}}), OpenedBy(&microphone));
  CInputFile film(samples.Clip("film.mp4"));
  EXPECT_EQ((Asked{{AVMEDIA_TYPE_VIDEO, "auto"}, {AVMEDIA_TYPE_AUDIO, ""}}), OpenedBy(&film));
  support::ClipOptions silent;
  silent.soundSeconds = 0;
  CInputSilentFile silentFilm(samples.Clip("silent.mp4", silent));
  EXPECT_EQ((Asked{{AVMEDIA_TYPE_VIDEO, "auto"}}), OpenedBy(&silentFilm));
  CInputPic picture(samples.Picture("picture.png"));
  EXPECT_EQ((Asked{{AVMEDIA_TYPE_VIDEO, ""}}), OpenedBy(&picture));
}

TEST(Decoder, OneThatTheLibraryLacksIsSaid) {
  AVCodecParameters* parameters = avcodec_parameters_alloc();
  parameters->codec_type = AVMEDIA_TYPE_VIDEO;
  parameters->codec_id = AV_CODEC_ID_PROBE;
  AVCodecContext* context = nullptr;
  EXPECT_EQ(
      AVERROR_DECODER_NOT_FOUND,
      sources::OpenDecoder(parameters, {1, 1000}, sources::DecoderThreads::One, 1000, &context));
  EXPECT_EQ(nullptr, context);
  avcodec_parameters_free(&parameters);
}

AVPacket* RawPicture(platform::Size size, bool isNewSize) {
  AVPacket* packet = av_packet_alloc();
  av_new_packet(packet, size.width * size.height * 4);
  std::memset(packet->data, size.width, static_cast<std::size_t>(packet->size));
  if (isNewSize) {
    std::uint8_t* change = av_packet_new_side_data(packet, AV_PKT_DATA_PARAM_CHANGE, 12);
    AV_WL32(change, AV_SIDE_DATA_PARAM_CHANGE_DIMENSIONS);
    AV_WL32(change + 4, static_cast<std::uint32_t>(size.width));
    AV_WL32(change + 8, static_cast<std::uint32_t>(size.height));
  }
  return packet;
}

// What screens do that are switched to another mode.
TEST(Decoder, RawPicturesMayChangeTheirSize) {
  AVCodecParameters* parameters = avcodec_parameters_alloc();
  parameters->codec_type = AVMEDIA_TYPE_VIDEO;
  parameters->codec_id = AV_CODEC_ID_RAWVIDEO;
  parameters->format = AV_PIX_FMT_BGR0;
  parameters->width = 1920;
  parameters->height = 1080;
  AVCodecContext* decoder = nullptr;
  ASSERT_EQ(0, sources::OpenDecoder(parameters, {1, 1000}, sources::DecoderThreads::Auto,
                                    sources::kMaxMovingPixels, &decoder));
  AVFrame* frame = av_frame_alloc();
  platform::Size before;
  for (const platform::Size& size :
       {platform::Size{64, 48}, {64, 48}, {99, 33}, {10, 200}, {64, 48}}) {
    AVPacket* packet = RawPicture(size, size != before);
    ASSERT_EQ(0, avcodec_send_packet(decoder, packet));
    ASSERT_EQ(0, avcodec_receive_frame(decoder, frame));
    EXPECT_EQ(size, (platform::Size{frame->width, frame->height}));
    EXPECT_EQ(size.width * 4, frame->linesize[0]);
    EXPECT_EQ(packet->data, frame->data[0]) << "copied";
    av_frame_unref(frame);
    av_packet_free(&packet);
    before = size;
  }
  av_frame_free(&frame);
  avcodec_free_context(&decoder);
  avcodec_parameters_free(&parameters);
}

}  // namespace

extern "C" {
int __real_avcodec_open2(AVCodecContext* context, const AVCodec* codec, AVDictionary** options);
int __wrap_avcodec_open2(AVCodecContext* context, const AVCodec* codec, AVDictionary** options);
int __wrap_avcodec_open2(AVCodecContext* context, const AVCodec* codec, AVDictionary** options) {
  const AVDictionaryEntry* threads =
      options != nullptr ? av_dict_get(*options, "threads", nullptr, 0) : nullptr;
  g_threads[codec->type] = threads != nullptr ? threads->value : "";
  return __real_avcodec_open2(context, codec, options);
}
}
