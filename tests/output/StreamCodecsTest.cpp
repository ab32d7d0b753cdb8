#include "output/StreamCodecs.h"

#include <gtest/gtest.h>

extern "C" {
#include <libavutil/opt.h>
}

#include "media/ffmpeg/ErrorText.h"
#include "media/ffmpeg/Scoped.h"

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
