// The decisions of encoding and publishing, without threads and without a network.
//
// Two queues of encoded packets wait for the publish thread, time stamps in milliseconds. It keeps
// 600 ms of video back and sends the picture 100 ms behind the sound. After a stall of the network
// it skips what is stale up to a key frame, so that the delay of the stream stays bounded.
// Before all that, the encode thread chooses the picture that the broadcast begins with.
#ifndef ORVANE_OUTPUT_PUBLISHRULES_H
#define ORVANE_OUTPUT_PUBLISHRULES_H

#include <cstdint>

#include "media/CMyQueue.h"

namespace output {

constexpr int kInputFramesKept = 15;    // pictures that may wait for the encoder
constexpr int kVideoPacketsHeld = 15;   // nothing is sent with fewer video packets waiting
constexpr int kVideoPacketsMost = 150;  // with more waiting, the stale ones are skipped
constexpr int kVideoPacketsLeft = 50;   // as many stay; one of them is a key frame
constexpr std::int64_t kVideoLagMs = 100;
constexpr std::uint32_t kRetryMs = 3000;

// Bits a second of H.264 for that size; 0 for a size that is not published.
std::int64_t VideoBitRate(int width, int height);

// Milliseconds of sound that the encoder must have taken before its first picture, for both to show
// one moment together, when that picture was captured pictureAgeMs ago: both streams count from
// their start, so how far they are apart at that moment is how far they stay.
int SoundLeadMs(std::int64_t pictureAgeMs);

// Pictures that may be left out for that. Where there is no sound, the picture starts all the same.
constexpr int kPicturesBeforeTheFirst = 25;

// framesLeft: pictures that still wait after one was taken. True: one more goes, unencoded.
bool DropsInput(int framesLeft);

// Whether anything may be sent now.
bool MaySend(bool audioWaits, int videoPackets);

enum class NextPacket { kAudio, kVideo };
NextPacket ChooseNext(std::int64_t audioPts, std::int64_t videoPts);

// A connection that failed elapsedMs ago may be tried again.
bool RetryDue(std::uint32_t elapsedMs);

struct Skipped {
  int video = 0;
  int audio = 0;
};
// With more than kVideoPacketsMost in video: frees video packets until kVideoPacketsLeft are left
// and the head is a key frame, then audio packets that are more than kVideoLagMs ahead of that
// head. Either queue may be empty afterwards. To be called by the queues' consumer.
Skipped SkipStale(CMyQueue* video, CMyQueue* audio);

}  // namespace output

#endif
