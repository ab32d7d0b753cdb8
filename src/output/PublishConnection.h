// One connection to the publish address that can always be given up.
//
// Opening runs on a thread of its own, because a name lookup can't be interrupted: first the host
// is looked up, for at most 3 s, then the protocol connects and shakes hands. Whoever waits in Open
// leaves as soon as it has to, after 15 s at the latest; the thread left behind closes what it may
// still get and frees itself. Nothing else may block without limit either: a peer that neither
// takes nor gives a byte for 10 s is an error, and every wait ends once one of the two deadlines
// has passed.
//
// The address comes from the service and may be any text. Only protocols of the network are opened:
// one that names a file or a device must not write over it.
//
// Ownership: the bytes' context belongs to the connection and lives until Close.
//
// Threads: one thread makes, uses and deletes it. The stop deadline may be set on any thread.
#ifndef ORVANE_OUTPUT_PUBLISHCONNECTION_H
#define ORVANE_OUTPUT_PUBLISHCONNECTION_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

extern "C" {
#include <libavformat/avio.h>
}

#include "output/Deadline.h"
#include "output/EncoderStatistics.h"

namespace output {

// RTMP in all its kinds, and what they run on.
inline constexpr char kPublishProtocols[] =
    "rtmp,rtmpe,rtmps,rtmpt,rtmpte,rtmpts,ffrtmpcrypt,ffrtmphttp,http,https,httpproxy,tcp,tls";

// What a connection may still send once it has to end: trailer and goodbye take a fraction of it.
inline constexpr std::int64_t kFarewellMs = 400;

class PublishConnection {
 public:
  struct Result {
    PublishFault fault = PublishFault::kNone;
    int error = 0;  // AVERROR_EXIT when the wait was given up; getaddrinfo's code for kLookup
  };

  // protocols: those that may be opened, as libavformat's "protocol_whitelist". sendBufferBytes: of
  // the socket.
  PublishConnection(const std::string& address, std::shared_ptr<const Deadline> stop,
                    const std::string& protocols, int sendBufferBytes);
  ~PublishConnection();  // Close

  PublishConnection(const PublishConnection&) = delete;
  PublishConnection& operator=(const PublishConnection&) = delete;

  // Connects; gives up when started falls. To be called once.
  Result Open(const std::atomic<bool>& started);
  // Null unless Open went well.
  AVIOContext* Bytes() const;
  // Bytes that were written and that the peer's system has not taken yet; 0 where nobody can tell.
  int Untaken() const;
  // Whatever is still sent has that long, from now on.
  void FinishWithin(std::int64_t ms);
  void Close();

 private:
  struct Attempt;
  static void Run(const std::shared_ptr<Attempt>& attempt);
  static Result Connect(Attempt* attempt);

  std::shared_ptr<Attempt> m_attempt;  // shared with the opening thread, which may outlive this
};

}  // namespace output

#endif
