// An encoder whose turns a test can run by itself, and what it is fed with.
#ifndef ORVANE_TESTS_OUTPUT_ENCODERRIG_H
#define ORVANE_TESTS_OUTPUT_ENCODERRIG_H

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "output/CEncoder.h"

namespace support {

// The work of both threads of an encoder, on the test's own thread. Open it, feed it, run turns.
class EncoderUnderTest : public CEncoder {
 public:
  explicit EncoderUnderTest(int width = 960, int height = 540) : CEncoder(width, height) {}
  // A test that fails half-way leaves its threads running.
  ~EncoderUnderTest() override { Stop(); }

  // What Start does, but for the threads.
  bool Open() {
    m_started = true;
    return OpenCodecs() == 0;
  }
  // A file stands in for a server where what counts is what is written.
  void AllowFiles() { m_protocols += ",file"; }
  bool Turn() { return EncodeTurn(&clock); }
  void TurnUntilIdle() {
    while (Turn()) {
    }
  }
  // The stop signal of both threads.
  void Halt(bool halt) { m_started = !halt; }
  CMyQueue& Audio() { return m_audioPackets; }
  CMyQueue& Video() { return m_videoPackets; }
  CMyQueue& AudioInput() { return *m_firstAudioQueue; }
  CMyQueue& VideoInput() { return *m_firstVideoQueue; }
  AVCodecContext* AudioContext() { return m_audioContext; }
  AVCodecContext* VideoContext() { return m_videoContext; }
  bool Started() const { return m_started; }

  using CEncoder::AddStreams;
  using CEncoder::AwaitRetry;
  using CEncoder::ChangeEffort;
  using CEncoder::HasFirstPackets;
  using CEncoder::PublishOnce;
  using CEncoder::PublishTurn;
  using CEncoder::Sent;

  EncodeClock clock;
};

// A canvas as the renderer gives it: grey, with a bright bar that stands elsewhere on each picture
// of a second.
AVFrame* NewCanvas(int number, int width = 1920, int height = 1080);

// Stereo sound in the graph's format: a sine that goes on from sample to sample.
AVFrame* NewSine(std::int64_t firstSample, int samples, double hertz = 1000);

// A packet of size bytes as the encoders make them, dts = pts.
AVPacket* NewPacket(std::int64_t ptsMs, bool key, int size = 64);

// The time stamps of a queue's packets, in order; the queue is empty afterwards.
std::vector<std::int64_t> TakePts(CMyQueue* packets);

// Feeds an encoder in real time until it goes: 25 moving pictures and, unless left out, 48000
// samples of 1 kHz a second.
class Feeder {
 public:
  enum class What { kBoth, kPicturesOnly };
  explicit Feeder(CSrcInterface* encoder, What what = What::kBoth);
  ~Feeder();
  Feeder(const Feeder&) = delete;
  Feeder& operator=(const Feeder&) = delete;

 private:
  void Feed();

  CSrcInterface* m_encoder;
  What m_what;
  std::vector<AVFrame*> m_canvases;  // one second of movement, shared with the encoder
  std::atomic<bool> m_stop{false};
  std::thread m_thread;
};

// All figures, for the message of a failing test.
std::string Describe(const CEncoder& encoder);

// Resident memory of this process in bytes.
std::int64_t ResidentBytes();

}  // namespace support

#endif
