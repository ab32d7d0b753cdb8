// How the two encoders of a broadcast are set up: H.264 baseline without delay, by the graphics
// card where it can, and AAC at 128 kbit/s.
#ifndef ORVANE_OUTPUT_STREAMCODECS_H
#define ORVANE_OUTPUT_STREAMCODECS_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
}

#include "media/PacedTicker.h"
#include "platform/SoundFormat.h"

namespace output {

constexpr const char* kHardwareEncoder = "h264_nvenc";
constexpr const char* kSoftwareEncoder = "libx264";
constexpr int kSampleRate = platform::kSoundRate;
constexpr int kPicturesPerSecond = media::kPicturesPerSecond;
// The streams in the order in which they are made.
constexpr int kAudioStream = 0;
constexpr int kVideoStream = 1;

// The options that an H.264 encoder is opened with. Their names and values are each encoder's own:
// one that it doesn't know makes it refuse to open.
// preset: of x264, "" for its own choice; the hardware encoder has none of these.
std::vector<std::pair<std::string, std::string>> VideoOptions(const std::string& encoder,
                                                              const std::string& preset = "");

// A context with the stream's settings, not opened. Null when the encoder is not in the library.
AVCodecContext* NewAudioEncoder();
// The bit rate is not set.
AVCodecContext* NewVideoEncoder(const char* encoder, int width, int height);

void SetBitRate(AVCodecContext* video, std::int64_t bitRate);

// avcodec_open2 with VideoOptions.
int OpenVideoEncoder(AVCodecContext* video, const std::string& preset = "");

// Each key frame carries along what it is decoded with (AV_PKT_DATA_NEW_EXTRADATA), since that may
// change in the middle of a stream: the encoder's header into the packet, and out of the packet
// that a file or a connection begins with into the parameters of its stream. Without any, or
// without memory for it, nothing changes.
void AddHeader(const AVCodecContext& video, AVPacket* packet);
void TakeHeader(const AVPacket& packet, AVCodecParameters* parameters);

}  // namespace output

#endif
