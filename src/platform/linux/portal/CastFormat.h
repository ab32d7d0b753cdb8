// What is offered to, and read from, a source of pictures in PipeWire's parameters.
//
// Offered: raw pictures of four bytes a pixel in any size, at any rate (25 a second by preference,
// and 0, which stands for "as it changes"), in memory that can be mapped: without a word of
// modifiers no source may answer with buffers of a graphics card.
//
// Pure; the pods lie in the builder's memory, or are the caller's. Any thread.
#ifndef ORVANE_PLATFORM_LINUX_PORTAL_CASTFORMAT_H
#define ORVANE_PLATFORM_LINUX_PORTAL_CASTFORMAT_H

#include <spa/pod/builder.h>
#include <spa/pod/pod.h>

#include <cstdint>
#include <string>

#include "platform/Size.h"

namespace platform {

// What the first three bytes of a pixel are.
enum class CastPixels { BlueFirst, RedFirst };

struct CastFormat {
  Size size;
  CastPixels pixels = CastPixels::BlueFirst;
};

// Null when the builder's memory is too small; 1 KiB is enough for each.
const spa_pod* OfferCastFormats(spa_pod_builder* builder);
const spa_pod* OfferCastBuffers(spa_pod_builder* builder);
// type: a spa_meta_type, of that many bytes.
const spa_pod* AskCastMeta(spa_pod_builder* builder, std::uint32_t type, std::size_t bytes);

// The format that was agreed on; false with the cause for one that was not offered.
bool ReadCastFormat(const spa_pod* param, CastFormat* format, std::string* cause);

}  // namespace platform

#endif
