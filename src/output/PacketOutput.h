// Who takes the encoder's packets beside the publisher.
//
// Flow: every packet that is encoded while it is linked (CEncoder::SetPacketOutput), sound and
// pictures in the order of encoding and before anything is skipped or lost on the way out. The
// stream index is kAudioStream or kVideoStream, time stamps are milliseconds of the stream, the
// picture's not yet the kVideoLagMs later at which it goes out. Key frames carry their header
// (output/StreamCodecs).
//
// Ownership: the packet is lent. Its data is shared with the publisher and only read: a reference
// costs no copy.
//
// Threads: TakePacket runs on the encode thread, inside a lock of the encoder: it keeps a reference
// or nothing, and waits for nobody.
#ifndef ORVANE_OUTPUT_PACKETOUTPUT_H
#define ORVANE_OUTPUT_PACKETOUTPUT_H

extern "C" {
#include <libavcodec/packet.h>
}

namespace output {

class PacketOutput {
 public:
  PacketOutput() = default;
  virtual ~PacketOutput() = default;
  PacketOutput(const PacketOutput&) = delete;
  PacketOutput& operator=(const PacketOutput&) = delete;

  virtual void TakePacket(const AVPacket& packet) = 0;
};

}  // namespace output

#endif
