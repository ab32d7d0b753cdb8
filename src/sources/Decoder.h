// Opens the decoder of one elementary stream.
#ifndef ORVANE_SOURCES_DECODER_H
#define ORVANE_SOURCES_DECODER_H

#include <cstdint>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace sources {

// Pictures of moving sources beyond 8192 x 4320 are refused.
inline constexpr std::int64_t kMaxMovingPixels = 8192LL * 4320;

enum class DecoderThreads { One, Auto };

// *context becomes the open decoder, the caller's; null on failure, with a negative AVERROR as the
// result. A picture of more than maxPixels is an error of the decoder and allocates nothing.
int OpenDecoder(const AVCodecParameters* parameters, AVRational timeBase, DecoderThreads threads,
                std::int64_t maxPixels, AVCodecContext** context);

}  // namespace sources

#endif
