// The decisions of encoding and publishing, without threads and without a network.
//
// Two queues of encoded packets wait for the publish thread, time stamps in milliseconds. It keeps
// 600 ms of video back and sends the picture 100 ms behind the sound. After a stall of the network
// it skips what is stale up to a key frame, so that the delay of the stream stays bounded.
#ifndef ORVANE_OUTPUT_PUBLISHRULES_H
#define ORVANE_OUTPUT_PUBLISHRULES_H

#include <cstdint>

#include "media/CMyQueue.h"

namespace output {

constexpr int kInputFramesKept = 15;     // pictures that may wait for the encoder
constexpr int kPrerollPackets = 15;      // nothing is sent with fewer video packets waiting
constexpr int kHighWaterPackets = 150;   // with more waiting, the stale ones are skipped
constexpr int kLowWaterPackets = 50;     // as many stay; one of them is a key frame
constexpr int kAudioPacketsAlone = 100;  // two seconds of sound may wait for the first picture
constexpr std::int64_t kVideoLagMs = 100;
constexpr std::uint32_t kRetryMs = 3000;

// Bits a second of H.264 for that size; 0 for a size that is not published.
std::int64_t VideoBitRate(int width, int height);

// What the system may hold of a stream with that much video, in bytes: about a second, since what
// lies there counts as sent although the server may have stopped to read. The system doubles the
// size that it is asked for, to have room for its own records.
int SendBufferBytes(std::int64_t videoBitRate);

// framesLeft: pictures that still wait after one was taken. True: they are thinned out.
bool DropsInput(int framesLeft);
// Of those, whether the one at that place is kept: kInputFramesKept are, in equal distances, so
// that a stall costs pictures here and there and not all of a second.
bool KeepsInput(int place, int framesLeft);

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
// With more than kHighWaterPackets in video: frees video packets until kLowWaterPackets are left
// and the head is a key frame, then audio packets that are more than kVideoLagMs ahead of that
// head. Either queue may be empty afterwards. To be called by the queues' consumer.
Skipped SkipStale(CMyQueue* video, CMyQueue* audio);

// Frees video packets until the head is a key frame, and audio packets that are older than it. The
// same holds.
Skipped SkipToKey(CMyQueue* video, CMyQueue* audio);

}  // namespace output

#endif
