#include "platform/linux/portal/CastFormat.h"

#include <spa/buffer/buffer.h>
#include <spa/param/format-utils.h>
#include <spa/param/format.h>
#include <spa/param/param.h>
#include <spa/param/video/format-utils.h>
#include <spa/param/video/raw.h>
#include <spa/utils/type.h>

#include <cstring>

#include "platform/PictureRate.h"
#include "platform/linux/portal/CastLayout.h"

namespace platform {

namespace {

constexpr std::uint32_t kFormats[] = {SPA_VIDEO_FORMAT_BGRx, SPA_VIDEO_FORMAT_BGRA,
                                      SPA_VIDEO_FORMAT_RGBx, SPA_VIDEO_FORMAT_RGBA};
constexpr std::uint32_t kRate = kPicturesPerSecond;
constexpr std::uint32_t kMaxRate = 1000;
constexpr int kBuffers = 4;  // one is being read, one kept, one written, one on its way
constexpr int kMinBuffers = 2;
constexpr int kMaxBuffers = 16;

const spa_pod* Pop(spa_pod_builder* builder, spa_pod_frame* frame) {
  return static_cast<const spa_pod*>(spa_pod_builder_pop(builder, frame));
}

void AddId(spa_pod_builder* builder, std::uint32_t key, std::uint32_t value) {
  spa_pod_builder_prop(builder, key, 0);
  spa_pod_builder_id(builder, value);
}

void AddPixels(spa_pod_builder* builder) {
  spa_pod_frame choice{};
  spa_pod_builder_prop(builder, SPA_FORMAT_VIDEO_format, 0);
  spa_pod_builder_push_choice(builder, &choice, SPA_CHOICE_Enum, 0);
  spa_pod_builder_id(builder, kFormats[0]);  // preferred
  for (const std::uint32_t format : kFormats) {
    spa_pod_builder_id(builder, format);
  }
  spa_pod_builder_pop(builder, &choice);
}

void AddSizes(spa_pod_builder* builder) {
  spa_pod_frame choice{};
  spa_pod_builder_prop(builder, SPA_FORMAT_VIDEO_size, 0);
  spa_pod_builder_push_choice(builder, &choice, SPA_CHOICE_Range, 0);
  spa_pod_builder_rectangle(builder, 1920, 1080);
  spa_pod_builder_rectangle(builder, 1, 1);
  spa_pod_builder_rectangle(builder, kCastSideLimit - 1, kCastSideLimit - 1);
  spa_pod_builder_pop(builder, &choice);
}

void AddRates(spa_pod_builder* builder) {
  spa_pod_frame choice{};
  spa_pod_builder_prop(builder, SPA_FORMAT_VIDEO_framerate, 0);
  spa_pod_builder_push_choice(builder, &choice, SPA_CHOICE_Range, 0);
  spa_pod_builder_fraction(builder, kRate, 1);
  spa_pod_builder_fraction(builder, 0, 1);
  spa_pod_builder_fraction(builder, kMaxRate, 1);
  spa_pod_builder_pop(builder, &choice);
}

}  // namespace

const spa_pod* OfferCastFormats(spa_pod_builder* builder) {
  spa_pod_frame object{};
  spa_pod_builder_push_object(builder, &object, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
  AddId(builder, SPA_FORMAT_mediaType, SPA_MEDIA_TYPE_video);
  AddId(builder, SPA_FORMAT_mediaSubtype, SPA_MEDIA_SUBTYPE_raw);
  AddPixels(builder);
  AddSizes(builder);
  AddRates(builder);
  return Pop(builder, &object);
}

// Sizes and distances of rows are the source's to say.
const spa_pod* OfferCastBuffers(spa_pod_builder* builder) {
  spa_pod_frame object{};
  spa_pod_frame choice{};
  spa_pod_builder_push_object(builder, &object, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers);
  spa_pod_builder_prop(builder, SPA_PARAM_BUFFERS_buffers, 0);
  spa_pod_builder_push_choice(builder, &choice, SPA_CHOICE_Range, 0);
  spa_pod_builder_int(builder, kBuffers);
  spa_pod_builder_int(builder, kMinBuffers);
  spa_pod_builder_int(builder, kMaxBuffers);
  spa_pod_builder_pop(builder, &choice);
  spa_pod_builder_prop(builder, SPA_PARAM_BUFFERS_dataType, 0);
  spa_pod_builder_push_choice(builder, &choice, SPA_CHOICE_Flags, 0);
  spa_pod_builder_int(builder, (1 << SPA_DATA_MemPtr) | (1 << SPA_DATA_MemFd));
  spa_pod_builder_pop(builder, &choice);
  return Pop(builder, &object);
}

const spa_pod* AskCastMeta(spa_pod_builder* builder, std::uint32_t type, std::size_t bytes) {
  spa_pod_frame object{};
  spa_pod_builder_push_object(builder, &object, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta);
  AddId(builder, SPA_PARAM_META_type, type);
  spa_pod_builder_prop(builder, SPA_PARAM_META_size, 0);
  spa_pod_builder_int(builder, static_cast<std::int32_t>(bytes));
  return Pop(builder, &object);
}

bool ReadCastFormat(const spa_pod* param, CastFormat* format, std::string* cause) {
  std::uint32_t type = 0;
  std::uint32_t subtype = 0;
  spa_video_info_raw raw{};
  if (spa_format_parse(param, &type, &subtype) < 0 || type != SPA_MEDIA_TYPE_video ||
      subtype != SPA_MEDIA_SUBTYPE_raw || spa_format_video_raw_parse(param, &raw) < 0) {
    *cause = "it gives something else than raw pictures";
    return false;
  }
  if ((raw.flags & SPA_VIDEO_FLAG_MODIFIER) != 0) {
    *cause = "its pictures stay in the memory of the graphics card";
    return false;
  }
  if (!IsCastSize(raw.size.width, raw.size.height)) {
    *cause = "its pictures have a size that can't be taken: " + std::to_string(raw.size.width) +
             " x " + std::to_string(raw.size.height);
    return false;
  }
  // Any number may have come; the enumeration has not all of them.
  std::uint32_t pixels = 0;
  static_assert(sizeof pixels == sizeof raw.format);
  std::memcpy(&pixels, &raw.format, sizeof pixels);
  switch (pixels) {
    case SPA_VIDEO_FORMAT_BGRx:
    case SPA_VIDEO_FORMAT_BGRA:
      format->pixels = CastPixels::BlueFirst;
      break;
    case SPA_VIDEO_FORMAT_RGBx:
    case SPA_VIDEO_FORMAT_RGBA:
      format->pixels = CastPixels::RedFirst;
      break;
    default:
      *cause = "its pixels were not offered: format " + std::to_string(pixels);
      return false;
  }
  format->size = {static_cast<int>(raw.size.width), static_cast<int>(raw.size.height)};
  return true;
}

}  // namespace platform
