// A CMixFrame whose turns the test runs itself, on a clock that stands still, with frames of 20 ms.
#ifndef ORVANE_TESTS_MEDIA_MIXERRIG_H
#define ORVANE_TESTS_MEDIA_MIXERRIG_H

#include <array>
#include <string>
#include <vector>

#include "media/CMixFrame.h"
#include "support/FakeClock.h"
#include "support/Frames.h"
#include "support/LogRecord.h"
#include "support/RecordingNode.h"

class TurnedMixer : public CMixFrame {
 public:
  using CMixFrame::CMixFrame;
  using CMixFrame::Mixing;
  using CMixFrame::Turn;

  int Queued(int input) { return m_audioQueues[static_cast<std::size_t>(input)]->Size(); }
};

class MixerRig {
 public:
  static constexpr int kFrameMs = 20;
  static constexpr int kSamples = 960;

  explicit MixerRig(int inputs = 10) : mixer(inputs) {
    mixer.AddAudioOutput(&out);
    nextPts.fill(1000);
  }

  // count frames, following on what that input had before.
  void Queue(int input, int count = 1, std::int16_t value = 0) {
    std::int64_t& pts = nextPts[static_cast<std::size_t>(input)];
    for (int i = 0; i < count; ++i) {
      mixer.EnqueueAudio(input, support::NewSound(pts, kSamples, value));
      pts += kFrameMs;
    }
  }

  // Brings the input into the mix, level with input 0.
  void Join(int input) {
    if (input > 0) {
      nextPts[static_cast<std::size_t>(input)] = nextPts[0] - 26 * kFrameMs;
    }
    Queue(input, 26);
    Turn();
  }

  // A frame on each of these, and a turn.
  void Step(const std::vector<int>& inputs) {
    for (const int input : inputs) {
      Queue(input);
    }
    Turn();
  }

  bool Turn() { return mixer.Turn(&mixing); }

  // The changes of the mix so far: "0>1 1>2".
  std::string Resets() const {
    const std::string before = "\n--------------------------- reset, size ";
    const std::string after = " ------------------------\n\n";
    std::string resets;
    for (const std::string& text : log.Debug()) {
      if (text.rfind(before, 0) != 0 || text.size() < before.size() + after.size() ||
          text.substr(text.size() - after.size()) != after) {
        continue;
      }
      std::string change = text.substr(before.size(), text.size() - before.size() - after.size());
      const std::size_t to = change.find(", to ");
      change.replace(to, 5, ">");
      resets += (resets.empty() ? "" : " ") + change;
    }
    return resets;
  }

  // What came out so far, as pts; takes it.
  std::vector<std::int64_t> TakeMixed() {
    std::vector<std::int64_t> pts;
    while (AVFrame* frame = out.TakeAudio()) {
      pts.push_back(frame->pts);
      lastValue = support::FirstSample(frame);
      lastLinesize = frame->linesize[0];
      av_frame_free(&frame);
    }
    return pts;
  }

  support::FakeClock clock;
  support::LogRecord log;
  support::RecordingNode out;
  TurnedMixer mixer;
  TurnedMixer::Mixing mixing;
  std::array<std::int64_t, 16> nextPts{};
  std::int16_t lastValue = 0;
  int lastLinesize = 0;
};

#endif
