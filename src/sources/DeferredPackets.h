// Compressed packets that wait for room to be decoded, first in first out, with their memory
// counted: what they hold, and what each costs beside it, which is more where packets are small.
// Owned by the queue until TakeFirst. One thread uses it.
#ifndef ORVANE_SOURCES_DEFERREDPACKETS_H
#define ORVANE_SOURCES_DEFERREDPACKETS_H

#include <cstdint>
#include <deque>

extern "C" {
#include <libavcodec/packet.h>
}

namespace sources {

class DeferredPackets {
 public:
  // A packet, its buffer with the padding, their bookkeeping and the allocator's.
  static constexpr std::int64_t kBytesBeside = 400;

  DeferredPackets() = default;
  ~DeferredPackets() { Clear(); }

  DeferredPackets(const DeferredPackets&) = delete;
  DeferredPackets& operator=(const DeferredPackets&) = delete;

  // Moves what packet refers to in; packet is empty afterwards. False when there is no memory.
  bool Keep(AVPacket* packet) {
    AVPacket* own = av_packet_alloc();
    if (own == nullptr) {
      return false;
    }
    av_packet_move_ref(own, packet);
    m_bytes += own->size + kBytesBeside;
    m_packets.push_back(own);
    return true;
  }
  // Moves the first one out into packet, which is empty; there has to be one.
  void TakeFirst(AVPacket* packet) {
    AVPacket* own = m_packets.front();
    m_packets.pop_front();
    m_bytes -= own->size + kBytesBeside;
    av_packet_move_ref(packet, own);
    av_packet_free(&own);
  }
  void Clear() {
    for (AVPacket*& packet : m_packets) {
      av_packet_free(&packet);
    }
    m_packets.clear();
    m_bytes = 0;
  }
  int Count() const { return static_cast<int>(m_packets.size()); }
  std::int64_t Bytes() const { return m_bytes; }

 private:
  std::deque<AVPacket*> m_packets;
  std::int64_t m_bytes = 0;
};

}  // namespace sources

#endif
