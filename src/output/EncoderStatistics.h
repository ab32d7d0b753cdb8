// What an encoder has done so far and how its connection stands: for the operator, the live-road
// driver and the tests.
//
// EncoderStatistics is a copy: CEncoder::Statistics makes it from atomics, on any thread, without a
// lock. Its figures are read one after the other, so that a packet may count as queued and not yet
// as sent; the state of the connection with its cause and number of tries is read as one.
#ifndef ORVANE_OUTPUT_ENCODERSTATISTICS_H
#define ORVANE_OUTPUT_ENCODERSTATISTICS_H

#include <atomic>
#include <cstdint>
#include <string>

enum class PublishState : std::uint8_t {
  kStopped,     // not started, or stopped
  kWaiting,     // no connection yet: sound or picture has not given its first packet
  kConnecting,  // looking up, connecting, shaking hands
  kPublishing,
  kRetrying,  // the last try failed, the next one follows
  kEnded,     // given up until the next Start, see the cause
};

// Where the last try failed.
enum class PublishFault : std::uint8_t {
  kNone,
  kContext,  // no muxer or no stream for the address
  kLookup,   // the host's name; the error is one of getaddrinfo
  kConnect,  // connection or handshake, a refusal by the server too
  kHeader,
  kWrite,
};

// The connection's state, small enough to be stored and read as one.
struct PublishStatus {
  PublishState state = PublishState::kStopped;
  PublishFault fault = PublishFault::kNone;  // of the last try that failed
  std::uint16_t tries = 0;                   // failed in a row; 0 once published
  std::int32_t error = 0;                    // AVERROR; getaddrinfo's code for kLookup
};

struct EncoderStatistics {
  PublishStatus status;
  std::string cause;  // of the last failure in words, "" when there was none

  int width = 0;  // of the published picture
  int height = 0;
  std::uint64_t audioFramesTaken = 0;     // from the input queue
  std::uint64_t videoFramesTaken = 0;     // from the input queue, the dropped ones included
  std::uint64_t videoFramesDropped = 0;   // too many waited
  std::uint64_t videoFramesLeftOut = 0;   // to stay in step with the sound
  std::uint64_t audioPacketsEncoded = 0;  // that went into the packet queue
  std::uint64_t videoPacketsEncoded = 0;
  std::uint64_t audioPacketsSent = 0;
  std::uint64_t videoPacketsSent = 0;
  std::uint64_t audioPacketsDropped = 0;  // skipped, or lost with a connection
  std::uint64_t videoPacketsDropped = 0;
  std::uint64_t bytesSent = 0;  // payload that the other side took, without what FLV and RTMP add
  std::uint64_t connections = 0;
  int effort = 0;                 // level of output/Effort; 0 is the prescribed one
  std::uint64_t effortSteps = 0;  // changes of it
  std::int64_t queuedMs = 0;      // delay that the waiting video packets stand for
};

namespace output {

// The cause of a failed try in words, such as "connect: Connection refused"; "" for kNone.
std::string CauseText(PublishFault fault, int error);

// The live counters behind EncoderStatistics. Each is written by one thread of the encoder, and
// while none runs by its owner.
struct EncoderCounters {
  std::atomic<PublishStatus> status{PublishStatus()};
  std::atomic<std::uint64_t> audioFramesTaken{0};
  std::atomic<std::uint64_t> videoFramesTaken{0};
  std::atomic<std::uint64_t> videoFramesDropped{0};
  std::atomic<std::uint64_t> videoFramesLeftOut{0};
  std::atomic<std::uint64_t> audioPacketsEncoded{0};
  std::atomic<std::uint64_t> videoPacketsEncoded{0};
  std::atomic<std::uint64_t> audioPacketsSent{0};
  std::atomic<std::uint64_t> videoPacketsSent{0};
  std::atomic<std::uint64_t> audioPacketsDropped{0};
  std::atomic<std::uint64_t> videoPacketsDropped{0};
  std::atomic<std::uint64_t> bytesSent{0};
  std::atomic<std::uint64_t> connections{0};
  std::atomic<int> effort{0};
  std::atomic<std::uint64_t> effortSteps{0};
  std::atomic<std::int64_t> newestVideoPts{0};  // of the last packet that entered the video queue
  std::atomic<std::int64_t> leftVideoPts{0};    // of the last one that left it

  EncoderStatistics Copy() const;
};

static_assert(std::atomic<PublishStatus>::is_always_lock_free);

}  // namespace output

#endif
