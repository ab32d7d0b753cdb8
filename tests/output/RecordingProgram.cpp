// recording_program DIRECTORY: records into that directory, in real time, until it is killed. Each
// line tells how far the recording is by then, in milliseconds.
#include <unistd.h>

#include <cstdint>
#include <cstdio>

#include "output/EncoderRig.h"
#include "output/PacketOutput.h"
#include "output/PublishRules.h"
#include "output/Recorder.h"
#include "output/RecordingRig.h"
#include "output/StreamCodecs.h"

namespace {

class Teller : public output::PacketOutput {
 public:
  explicit Teller(output::Recorder* recorder) : m_recorder(recorder) {}

  void TakePacket(const AVPacket& packet) override {
    m_recorder->TakePacket(packet);
    if (packet.stream_index != output::kVideoStream) {
      return;
    }
    if (m_begin < 0 && (packet.flags & AV_PKT_FLAG_KEY) != 0) {
      m_begin = packet.pts;
    }
    if (m_begin >= 0) {
      std::printf("%lld\n", static_cast<long long>(packet.pts - m_begin));
      std::fflush(stdout);
    }
  }

 private:
  output::Recorder* m_recorder;
  std::int64_t m_begin = -1;
};

}  // namespace

int main(int argc, char** argv) {
  support::EncoderUnderTest encoder;
  encoder.SetUrl("rtmp://127.0.0.1:1/nobody/listens");
  if (argc != 2 || encoder.Start() != 0) {
    return 1;
  }
  output::Recorder recorder(support::PlaceIn(argv[1]));
  Teller teller(&recorder);
  recorder.Start(encoder);
  encoder.SetPacketOutput(&teller);
  const support::Feeder feeder(&encoder);
  for (;;) {
    pause();
  }
}
