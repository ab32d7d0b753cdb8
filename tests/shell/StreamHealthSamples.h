// Samples of a broadcast's state, second by second, for the tests of how it is judged.
#ifndef ORVANE_TESTS_SHELL_STREAMHEALTHSAMPLES_H
#define ORVANE_TESTS_SHELL_STREAMHEALTHSAMPLES_H

#include <cstdint>
#include <functional>

#include "shell/StreamHealth.h"

namespace support {

using shell::CaptureRole;
using shell::CaptureSample;
using shell::StreamHistory;
using shell::StreamSample;

// A sample of a broadcast that runs as it should, at that second.
inline StreamSample WellAt(int second) {
  StreamSample sample;
  sample.timeMs = second * 1000;
  sample.encoder.status.state = PublishState::kPublishing;
  sample.encoder.connections = 1;
  sample.encoder.bytesSent = static_cast<std::uint64_t>(second) * 250'000;  // 2000 kb/s
  sample.encoder.queuedMs = 600;
  sample.encoder.audioPacketsEncoded = static_cast<std::uint64_t>(second) * 47;
  sample.encoder.videoPacketsEncoded = static_cast<std::uint64_t>(second) * 25;
  sample.encoder.width = 1280;
  sample.encoder.height = 720;
  return sample;
}

// One sample a second, each changed as the test wants; all of them noted as the window does.
inline StreamHistory Seconds(int from, int to,
                             const std::function<void(int, StreamSample*)>& change = nullptr) {
  StreamHistory history;
  for (int second = from; second <= to; ++second) {
    StreamSample sample = WellAt(second);
    if (change) {
      change(second, &sample);
    }
    shell::AddSample(&history, sample);
  }
  return history;
}

inline PublishStatus Status(PublishState state, PublishFault fault = PublishFault::kNone,
                            std::uint16_t tries = 0, int error = 0) {
  PublishStatus status;
  status.state = state;
  status.fault = fault;
  status.tries = tries;
  status.error = error;
  return status;
}

inline CaptureSample Capture(CaptureRole sort, std::uint64_t delivered, const char* device = "cam",
                             int place = 0) {
  CaptureSample sample;
  sample.place = place;
  sample.role = sort;
  sample.device = device;
  sample.delivered = delivered;
  return sample;
}

}  // namespace support

#endif
