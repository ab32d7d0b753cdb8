// What PipeWire is offered, and what is made of its answers.
#include "platform/linux/portal/CastFormat.h"

#include <gtest/gtest.h>
#include <spa/buffer/meta.h>
#include <spa/param/format.h>
#include <spa/param/param.h>
#include <spa/param/video/raw.h>
#include <spa/pod/filter.h>
#include <spa/utils/type.h>

#include <array>
#include <cstdint>
#include <functional>
#include <string>

namespace {

using platform::CastFormat;
using platform::CastPixels;
using platform::ReadCastFormat;

// A pod in memory of its own.
class Pod {
 public:
  Pod() { spa_pod_builder_init(&m_builder, m_memory.data(), m_memory.size()); }
  Pod(const Pod&) = delete;
  Pod& operator=(const Pod&) = delete;
  spa_pod_builder* Builder() { return &m_builder; }

 private:
  alignas(8) std::array<std::uint8_t, 1024> m_memory{};
  spa_pod_builder m_builder{};
};

struct Agreed {
  std::uint32_t type = SPA_MEDIA_TYPE_video;
  std::uint32_t subtype = SPA_MEDIA_SUBTYPE_raw;
  std::uint32_t pixels = SPA_VIDEO_FORMAT_BGRx;
  std::uint32_t width = 640;
  std::uint32_t height = 480;
  bool isSized = true;
  bool hasModifier = false;
};

const spa_pod* Build(const Agreed& agreed, Pod* pod) {
  spa_pod_builder* builder = pod->Builder();
  spa_pod_frame object{};
  spa_pod_builder_push_object(builder, &object, SPA_TYPE_OBJECT_Format, SPA_PARAM_Format);
  const auto add = [&](std::uint32_t key, std::uint32_t value) {
    spa_pod_builder_prop(builder, key, 0);
    spa_pod_builder_id(builder, value);
  };
  add(SPA_FORMAT_mediaType, agreed.type);
  add(SPA_FORMAT_mediaSubtype, agreed.subtype);
  add(SPA_FORMAT_VIDEO_format, agreed.pixels);
  if (agreed.hasModifier) {
    spa_pod_builder_prop(builder, SPA_FORMAT_VIDEO_modifier, 0);
    spa_pod_builder_long(builder, 0);
  }
  if (agreed.isSized) {
    spa_pod_builder_prop(builder, SPA_FORMAT_VIDEO_size, 0);
    spa_pod_builder_rectangle(builder, agreed.width, agreed.height);
  }
  spa_pod_builder_prop(builder, SPA_FORMAT_VIDEO_framerate, 0);
  spa_pod_builder_fraction(builder, 0, 1);
  return static_cast<const spa_pod*>(spa_pod_builder_pop(builder, &object));
}

TEST(CastFormat, ReadsWhatWasOffered) {
  const std::pair<std::uint32_t, CastPixels> kinds[] = {
      {SPA_VIDEO_FORMAT_BGRx, CastPixels::BlueFirst},
      {SPA_VIDEO_FORMAT_BGRA, CastPixels::BlueFirst},
      {SPA_VIDEO_FORMAT_RGBx, CastPixels::RedFirst},
      {SPA_VIDEO_FORMAT_RGBA, CastPixels::RedFirst}};
  for (const auto& [pixels, expected] : kinds) {
    Agreed agreed;
    agreed.pixels = pixels;
    Pod pod;
    CastFormat format;
    std::string cause;
    ASSERT_TRUE(ReadCastFormat(Build(agreed, &pod), &format, &cause)) << cause;
    EXPECT_EQ(expected, format.pixels);
    EXPECT_EQ((platform::Size{640, 480}), format.size);
  }
}

struct Case {
  const char* what;
  void (*change)(Agreed* agreed);
  const char* cause;  // a part of it
};

TEST(CastFormat, RefusesWhatWasNot) {
  const Case cases[] = {
      {"sound", [](Agreed* a) { a->type = SPA_MEDIA_TYPE_audio; }, "raw pictures"},
      {"compressed", [](Agreed* a) { a->subtype = SPA_MEDIA_SUBTYPE_h264; }, "raw pictures"},
      {"three bytes", [](Agreed* a) { a->pixels = SPA_VIDEO_FORMAT_RGB; }, "not offered"},
      {"planes", [](Agreed* a) { a->pixels = SPA_VIDEO_FORMAT_I420; }, "not offered"},
      {"unknown", [](Agreed* a) { a->pixels = 0xffffffff; }, "not offered"},
      {"a modifier", [](Agreed* a) { a->hasModifier = true; }, "graphics card"},
      {"no size", [](Agreed* a) { a->isSized = false; }, "0 x 0"},
      {"no width", [](Agreed* a) { a->width = 0; }, "0 x 480"},
      {"no height", [](Agreed* a) { a->height = 0; }, "640 x 0"},
      {"16384 wide", [](Agreed* a) { a->width = 16384; }, "16384 x 480"},
      {"a negative height", [](Agreed* a) { a->height = 0x80000000; }, "640 x 2147483648"},
      {"too many pixels", [](Agreed* a) { a->width = a->height = 16383; }, "16383 x 16383"},
  };
  for (const Case& row : cases) {
    Agreed agreed;
    row.change(&agreed);
    Pod pod;
    CastFormat format;
    std::string cause;
    EXPECT_FALSE(ReadCastFormat(Build(agreed, &pod), &format, &cause)) << row.what;
    EXPECT_NE(std::string::npos, cause.find(row.cause)) << row.what << ": " << cause;
  }
}

TEST(CastFormat, RefusesWhatIsNoFormatAtAll) {
  Pod pod;
  const spa_pod* buffers = platform::OfferCastBuffers(pod.Builder());
  CastFormat format;
  std::string cause;
  EXPECT_FALSE(ReadCastFormat(buffers, &format, &cause));
}

// As PipeWire brings the two sides together.
bool Agrees(const Agreed& source) {
  Pod ours;
  Pod theirs;
  Pod result;
  spa_pod* filtered = nullptr;
  return spa_pod_filter(result.Builder(), &filtered, Build(source, &theirs),
                        platform::OfferCastFormats(ours.Builder())) >= 0;
}

TEST(CastFormat, OffersSizesOfEveryScreenAndRatesAsTheyCome) {
  EXPECT_TRUE(Agrees({}));  // of the rate 0: as it changes
  Agreed large;
  large.width = 7680;
  large.height = 4320;
  EXPECT_TRUE(Agrees(large));
  Agreed small;
  small.width = small.height = 1;
  EXPECT_TRUE(Agrees(small));
  Agreed planes;
  planes.pixels = SPA_VIDEO_FORMAT_I420;
  EXPECT_FALSE(Agrees(planes));
  Agreed huge;
  huge.width = huge.height = 16384;
  EXPECT_FALSE(Agrees(huge));
}

TEST(CastFormat, TheOffersFitTogetherIntoTheirMemory) {
  Pod pod;
  EXPECT_NE(nullptr, platform::OfferCastBuffers(pod.Builder()));
  EXPECT_NE(nullptr, platform::AskCastMeta(pod.Builder(), SPA_META_Header, 40));
  EXPECT_NE(nullptr, platform::AskCastMeta(pod.Builder(), SPA_META_VideoCrop, 16));
  EXPECT_NE(nullptr, platform::AskCastMeta(pod.Builder(), SPA_META_VideoTransform, 4));
}

}  // namespace
