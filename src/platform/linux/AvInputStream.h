// An open device that libavdevice reads.
//
// Flow: OpenAvInput opens one device, bounded in time; Read hands out its packets. The packets own
// what they hold: they, and frames decoded from them without a copy, may outlive the stream.
//
// Threads: as CaptureStream. Nothing is locked.
//
// Failure: opening tells the device and FFmpeg's own words; the first read error other than
// AVERROR(EAGAIN) ends the stream, and every later Read gives it again.
#ifndef ORVANE_PLATFORM_LINUX_AVINPUTSTREAM_H
#define ORVANE_PLATFORM_LINUX_AVINPUTSTREAM_H

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "platform/CaptureLayer.h"

extern "C" {
#include <libavformat/avformat.h>
}

namespace platform {

// What a subclass of AvInputStream is opened with.
struct AvInputRequest {
  const char* format;  // of libavdevice
  std::string url;
  std::map<std::string, std::string> options;
  int flags = 0;     // AVFMT_FLAG_...
  std::string name;  // as it is called in the log
};

struct CloseInput {
  void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
using AvInput = std::unique_ptr<AVFormatContext, CloseInput>;

// Opens the device. Null on failure, with *result telling why. What libavdevice tells of its stream
// at the opening is all that a decoder needs, so that nothing is read ahead: looking into the
// packets of a camera that gives none would never end.
AvInput OpenAvInput(const AvInputRequest& request, OpenResult* result);

class AvInputStream : public CaptureStream {
 public:
  explicit AvInputStream(AvInput input) : m_input(std::move(input)) {}

  bool FindStream(CaptureKind kind, StreamInfo* info) const override;
  int Read(AVPacket* packet) override;

 protected:
  // One read of the device, as av_read_frame.
  virtual int ReadDevice(AVPacket* packet);

 private:
  AvInput m_input;
  int m_ended = 0;
};

}  // namespace platform

#endif
