// What the operator is told of the running broadcast: the colour, the words and the details of the
// one label beside the clock.
//
// Flow: once a second the encoder's figures and the captures' counts are noted as a StreamSample
// and added to the history; JudgeStream makes of the last seconds what the label shows:
//   green   all is well, with the rate
//   amber   it runs, but pictures or packets were dropped in the last kRecentMs, or the delay
//           grows, or a capture has stopped; or the first connection is still being made
//   red     nothing reaches the server, with the cause
// A desktop that never opened waits where the operator has yet to allow it, and lacks its service
// where nothing in the session shares the screen.
// A capture has stopped when its count has not moved for kStillMs; one that never opened is said to
// have failed. What counts is told at CInputDev: of a desktop this is an answer of the X server,
// whatever moves on it, unless it is black.
//
// Pure: everything comes from the history, time included. A gap of over kStillMs between two
// samples is a suspended machine or a blocked window, in which nobody looked: the history begins
// anew.
#ifndef ORVANE_SHELL_STREAMHEALTH_H
#define ORVANE_SHELL_STREAMHEALTH_H

#include <QString>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "output/EncoderStatistics.h"

namespace shell {

enum class CaptureRole { kDesktop, kCamera, kSystemSound, kMicrophone };

struct CaptureSample {
  int place = -1;  // the layer's slot; -1 for the sound of the broadcast
  CaptureRole role = CaptureRole::kDesktop;
  std::string device;           // its name in the catalogue
  std::uint64_t delivered = 0;  // pictures or blocks of sound so far
  bool opened = true;           // its device, at any time so far
  bool asking = false;          // it has not opened: the operator has yet to say what is shared
  bool unshared = false;        // it has not opened: nothing in this session shares the screen
  std::string cause;            // why it failed or ended, in the words of the log, where known
};

struct StreamSample {
  std::int64_t timeMs = 0;
  EncoderStatistics encoder;
  std::vector<CaptureSample> captures;
};

// Oldest first.
using StreamHistory = std::deque<StreamSample>;

enum class StreamLight { kGreen, kAmber, kRed };

struct StreamHealth {
  StreamLight light = StreamLight::kAmber;
  QString words;    // one line
  QString details;  // the whole snapshot, several lines; plain text
  QString state;    // the words without the figures, which change each second: for screen readers
};

inline constexpr std::int64_t kRecentMs = 5000;  // what "the last seconds" are
inline constexpr std::int64_t kStillMs = 3000;   // longer without anything is a standstill
// Usually 600 ms wait; more than this, and the network takes less than is made.
inline constexpr std::int64_t kLongDelayMs = 1500;

// Adds the newest sample and forgets what is no longer needed.
void AddSample(StreamHistory* history, StreamSample sample);

// Of a history with at least one sample.
StreamHealth JudgeStream(const StreamHistory& history);

// The colour as style sheets write it.
QString LightColour(StreamLight light);

// What was sent between two samples, in kilobits a second of payload.
int KilobitsPerSecond(const StreamSample& from, const StreamSample& to);

}  // namespace shell

#endif
