#include "output/StreamCodecs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

extern "C" {
#include <libavutil/opt.h>
}

#include "media/ffmpeg/ErrorText.h"
#include "media/ffmpeg/Scoped.h"
#include "output/EncoderRig.h"

namespace {

using output::kHardwareEncoder;
using output::kSoftwareEncoder;

class EitherVideoEncoder : public testing::TestWithParam<const char*> {};

// An option that an encoder doesn't know fails its opening on every machine, with a card or
// without, and would be taken for a missing card.
TEST_P(EitherVideoEncoder, KnowsEveryOptionItIsOpenedWith) {
  const ffmpeg::ScopedCodec context(output::NewVideoEncoder(GetParam(), 960, 540));
  ASSERT_TRUE(context) << GetParam() << " is not in this library";
  const auto options = output::VideoOptions(GetParam());
  EXPECT_FALSE(options.empty());
  for (const auto& [name, value] : options) {
    const int error =
        av_opt_set(context.Get(), name.c_str(), value.c_str(), AV_OPT_SEARCH_CHILDREN);
    EXPECT_GE(error, 0) << name << "=" << value << ": " << ffmpeg::ErrorText(error);
  }
}

TEST_P(EitherVideoEncoder, HasTheStreamsSettings) {
  const ffmpeg::ScopedCodec context(output::NewVideoEncoder(GetParam(), 1280, 720));
  ASSERT_TRUE(context);
  EXPECT_EQ(FF_PROFILE_H264_BASELINE, context->profile);
  EXPECT_EQ(1280, context->width);
  EXPECT_EQ(720, context->height);
  EXPECT_EQ(AV_PIX_FMT_YUV420P, context->pix_fmt);
  EXPECT_EQ(0, av_cmp_q(context->time_base, {1, 25}));
  EXPECT_EQ(50, context->gop_size);
  EXPECT_EQ(50, context->keyint_min);
  EXPECT_EQ(10, context->qmin);
  EXPECT_EQ(51, context->qmax);
  EXPECT_EQ(0, context->max_b_frames);
  EXPECT_EQ(0, context->framerate.num);
  EXPECT_EQ(1, context->framerate.den);
  EXPECT_NE(0, context->flags & AV_CODEC_FLAG_GLOBAL_HEADER);
}

INSTANTIATE_TEST_SUITE_P(StreamCodecs, EitherVideoEncoder,
                         testing::Values(kHardwareEncoder, kSoftwareEncoder));

std::string OptionOf(const char* encoder, const std::string& wanted) {
  for (const auto& [name, value] : output::VideoOptions(encoder)) {
    if (name == wanted) {
      return value;
    }
  }
  return "";
}

TEST(StreamCodecs, BothVideoEncodersAreTunedForNoDelayInTheirOwnWords) {
  EXPECT_EQ("zerolatency", OptionOf(kSoftwareEncoder, "tune"));
  EXPECT_EQ("auto", OptionOf(kSoftwareEncoder, "threads"));
  EXPECT_EQ("ull", OptionOf(kHardwareEncoder, "tune"));
  EXPECT_EQ("1", OptionOf(kHardwareEncoder, "zerolatency"));
  EXPECT_EQ("baseline", OptionOf(kHardwareEncoder, "profile"));
  EXPECT_EQ("auto", OptionOf(kHardwareEncoder, "threads"));
}

// Types of the NAL units of a packet in Annex B, in their order.
std::vector<int> UnitsOf(const AVPacket& packet) {
  std::vector<int> units;
  for (int at = 0; at + 3 < packet.size; ++at) {
    if (packet.data[at] == 0 && packet.data[at + 1] == 0 && packet.data[at + 2] == 1) {
      units.push_back(packet.data[at + 3] & 0x1f);
    }
  }
  return units;
}

// An HLS packager that knows the first header only has nothing else to go by once the preset has
// changed.
TEST(StreamCodecs, EveryKeyFrameCarriesItsParameterSetsAtEveryPreset) {
  constexpr int kSlice = 1;
  constexpr int kKeySlice = 5;
  constexpr int kSequence = 7;
  constexpr int kPicture = 8;
  for (const char* preset : {"", "faster", "veryfast", "superfast", "ultrafast"}) {
    SCOPED_TRACE(preset);
    const ffmpeg::ScopedCodec context(output::NewVideoEncoder(kSoftwareEncoder, 960, 540));
    output::SetBitRate(context.Get(), 500000);
    ASSERT_GE(output::OpenVideoEncoder(context.Get(), preset), 0);
    EXPECT_GT(context->extradata_size, 0);  // the header has them as well
    int keys = 0;
    for (int picture = 0; picture <= 2 * 50; ++picture) {
      const ffmpeg::ScopedFrame frame(support::NewCanvas(picture, 960, 540));
      frame->pts = picture;
      ASSERT_GE(avcodec_send_frame(context.Get(), frame.Get()), 0);
      const ffmpeg::ScopedPacket packet(av_packet_alloc());
      ASSERT_GE(avcodec_receive_packet(context.Get(), packet.Get()), 0);
      const std::vector<int> units = UnitsOf(*packet.Get());
      const auto first = [&](int unit) { return std::find(units.begin(), units.end(), unit); };
      if ((packet->flags & AV_PKT_FLAG_KEY) != 0) {
        ++keys;
        EXPECT_LT(first(kSequence), first(kPicture)) << "picture " << picture;
        EXPECT_LT(first(kPicture), first(kKeySlice)) << "picture " << picture;
        EXPECT_NE(first(kKeySlice), units.end()) << "picture " << picture;
      } else {
        EXPECT_EQ(first(kSequence), units.end()) << "picture " << picture;
        EXPECT_NE(first(kSlice), units.end()) << "picture " << picture;
      }
    }
    EXPECT_GE(keys, 3);
  }
}

TEST(StreamCodecs, HighestBitRateIsOneAndAHalfTimesTheBitRate) {
  const ffmpeg::ScopedCodec context(output::NewVideoEncoder(kSoftwareEncoder, 960, 540));
  output::SetBitRate(context.Get(), 500001);
  EXPECT_EQ(500001, context->bit_rate);
  EXPECT_EQ(750001, context->rc_max_rate);
}

TEST(StreamCodecs, SoundEncoderHasTheStreamsSettings) {
  const ffmpeg::ScopedCodec context(output::NewAudioEncoder());
  ASSERT_TRUE(context);
  EXPECT_EQ(AV_CODEC_ID_AAC, context->codec_id);
  EXPECT_EQ(2, context->ch_layout.nb_channels);
  EXPECT_EQ(48000, context->sample_rate);
  EXPECT_EQ(context->codec->sample_fmts[0], context->sample_fmt);
  EXPECT_EQ(128000, context->bit_rate);
  EXPECT_EQ(0, av_cmp_q(context->time_base, {1, 48000}));
  EXPECT_EQ(0U, context->codec_tag);
  EXPECT_EQ(FF_COMPLIANCE_EXPERIMENTAL, context->strict_std_compliance);
  EXPECT_NE(0, context->flags & AV_CODEC_FLAG_GLOBAL_HEADER);
}

TEST(StreamCodecs, AnEncoderThatTheLibraryLacksGivesNoContext) {
  EXPECT_EQ(nullptr, output::NewVideoEncoder("h264_of_another_world", 960, 540));
}

}  // namespace
