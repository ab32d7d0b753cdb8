#include "output/EncoderStatistics.h"

#include <netdb.h>

#include <algorithm>

#include "media/ffmpeg/ErrorText.h"

namespace output {

std::string CauseText(PublishFault fault, int error) {
  switch (fault) {
    case PublishFault::kNone:
      return "";
    case PublishFault::kContext:
      return "no FLV stream: " + ffmpeg::ErrorText(error);
    case PublishFault::kLookup:
      return std::string("name lookup: ") + gai_strerror(error);
    case PublishFault::kConnect:
      return "connect: " + ffmpeg::ErrorText(error);
    case PublishFault::kHeader:
      return "stream header: " + ffmpeg::ErrorText(error);
    case PublishFault::kWrite:
      return "send: " + ffmpeg::ErrorText(error);
  }
  return "";
}

EncoderStatistics EncoderCounters::Copy() const {
  EncoderStatistics copy;
  copy.status = status;
  copy.cause = CauseText(copy.status.fault, copy.status.error);
  copy.audioFramesTaken = audioFramesTaken;
  copy.videoFramesTaken = videoFramesTaken;
  copy.videoFramesDropped = videoFramesDropped;
  copy.videoFramesLeftOut = videoFramesLeftOut;
  copy.audioPacketsEncoded = audioPacketsEncoded;
  copy.videoPacketsEncoded = videoPacketsEncoded;
  copy.audioPacketsSent = audioPacketsSent;
  copy.videoPacketsSent = videoPacketsSent;
  copy.audioPacketsDropped = audioPacketsDropped;
  copy.videoPacketsDropped = videoPacketsDropped;
  copy.bytesSent = bytesSent;
  copy.connections = connections;
  copy.effort = effort;
  copy.effortSteps = effortSteps;
  // The packet may have left between the two reads.
  const std::int64_t left = leftVideoPts;
  copy.queuedMs = std::max<std::int64_t>(0, newestVideoPts - left);
  return copy;
}

}  // namespace output
