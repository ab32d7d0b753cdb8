// Turns sound of any kind into the graph's: signed 16 bit, interleaved, stereo, 48000 Hz.
//
// Flow: Convert takes one decoded frame in and gives the samples that are ready. What the target
// has no room for stays inside and comes with the next call, or at once with a call without a
// frame. A source whose kind of sound changes on the way gets a new resampler, since the first one
// would read beyond the frame.
//
// One thread uses an instance. Failure is a negative AVERROR; the frame's sound is then lost.
#ifndef ORVANE_SOURCES_STEREOCONVERT_H
#define ORVANE_SOURCES_STEREOCONVERT_H

#include <cstdint>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
}

#include "platform/SoundFormat.h"

namespace sources {

inline constexpr int kSoundRate = platform::kSoundRate;
inline constexpr int kSoundChannels = platform::kSoundChannels;
inline constexpr int kSoundFrameBytes = platform::kSoundFrameBytes;  // one sample of each channel

// True when frame is the graph's kind of sound already.
bool IsGraphSound(const AVFrame* frame);
// Gives a frame that only counts its channels the usual layout for that many.
void CompleteLayout(AVFrame* frame);
// A frame of the graph's sound with packed samples; null when it can't be had.
AVFrame* NewGraphSound(int samples);

class StereoConvert {
 public:
  StereoConvert() = default;
  ~StereoConvert();

  StereoConvert(const StereoConvert&) = delete;
  StereoConvert& operator=(const StereoConvert&) = delete;

  // The most samples that converting frame now can give, what waits inside included.
  int Expected(const AVFrame* frame);
  // Gives up to room samples of each channel to target, and returns how many. frame null: only what
  // waits inside.
  int Convert(const AVFrame* frame, std::uint8_t* target, int room);
  // Forgets what waits inside and how to convert.
  void Reset();

 private:
  int Prepare(const AVFrame* frame);

  SwrContext* m_resampler = nullptr;  // made at the first frame
  AVChannelLayout m_layout{};         // kind of sound that m_resampler takes
  int m_format = AV_SAMPLE_FMT_NONE;
  int m_rate = 0;
};

}  // namespace sources

#endif
