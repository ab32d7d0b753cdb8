// A capture layer without devices, for tests of what is built on one.
//
// The test adds devices by name and scripts what their reads give, packet by packet, so that a node
// can be taken through a turn at a time; RunFree gives packets by the real clock instead, as a
// device would. Pictures are those of CameraPattern; sound is a tone. Install it with
// CaptureLayer::Install before a node is started, and Install(nullptr) after the last is stopped;
// it outlives every stream and listener opened from it. A microphone's stream may switch to another
// one.
//
// Threads: every operation may be called from any thread at any time.
#ifndef ORVANE_TESTS_SUPPORT_FAKECAPTURELAYER_H
#define ORVANE_TESTS_SUPPORT_FAKECAPTURELAYER_H

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/CaptureLayer.h"
#include "support/CameraPattern.h"

namespace support {

// Uncompressed pictures (the codec is rawvideo) of any format that swscale writes.
struct FakePictures {
  int width = 320;
  int height = 240;
  AVPixelFormat format = AV_PIX_FMT_YUYV422;
  int framesPerSecond = 25;
  CameraColour background;
};

// A tone. codec: AV_CODEC_ID_PCM_S16LE or AV_CODEC_ID_PCM_F32LE.
struct FakeSound {
  int sampleRate = 48000;
  int channels = 2;
  AVCodecID codec = AV_CODEC_ID_PCM_S16LE;
  bool layoutKnown = true;  // false: the parameters tell the number of channels only
  int blockSamples = 480;
  int hertz = 1000;
};

class FakeCaptureLayer;

class FakeDevice {
 public:
  FakeDevice(platform::CaptureKind kind, std::string name);
  ~FakeDevice();
  FakeDevice(const FakeDevice&) = delete;
  FakeDevice& operator=(const FakeDevice&) = delete;

  // The next reads, in the order of the calls; when the script is used up reads give EAGAIN.
  void Give(int packets = 1);       // the next pictures or blocks of sound
  void GiveNothing(int reads = 1);  // "no packet yet"
  // And the same at every read after it. cause: in the words of the system, where it says why.
  void GiveError(int error, const std::string& cause = "");
  // A copy of any packet, its stream_index as it is (the device's own stream has index 0).
  void GivePacket(const AVPacket* packet);

  // From now on a packet whenever one is due by the clock, behind what is still scripted.
  void RunFree();
  // Reads give "no packet yet", whatever is scripted, until thawed.
  void Freeze();
  void Thaw();
  // Gone from the list; reads give AVERROR(ENODEV), opening fails.
  // Sound that runs free gives silence instead, in both cases, as the contract of sound wants.
  void Unplug();
  // Opening fails with CannotOpen.
  void SetBusy(bool busy);
  // Opening fails with NoStreamFormat.
  void SetFormatUnknown(bool unknown);
  // Opening fails with NoSharing and that cause; where it was open before that was known, reads end
  // so.
  void SetUnshared(const std::string& cause);
  // The operator is asked: until he allows it the stream is not opened, and reads give "no packet
  // yet", whatever is scripted but its end.
  void Ask();
  void Allow();
  // The device opens, but has no stream of its kind.
  void SetStreamless(bool streamless);
  // The codec that the parameters tell, in place of the right one; for one without a decoder.
  void SetCodec(AVCodecID codec);
  // Called at each closing, before it, on the thread that closes; set before the device is opened.
  void OnClose(std::function<void()> call) { m_onClose = std::move(call); }
  // Who only listens hears blocks of the tone, of 10 ms, beside what is read.
  void Say(int blocks = 1);
  // Pictures from the next Give on have another size, told in the stream as V4L2 and X11 would.
  void ChangeSize(int width, int height);

  platform::CaptureKind Kind() const { return m_kind; }
  const std::string& Name() const { return m_name; }
  bool Unplugged() const;
  bool IsOpen() const;
  int OpenCount() const;  // how often it was opened with success
  int Listeners() const;  // now
  int Unread() const;     // scripted reads still to come
  // Number of the next picture or block of sound.
  unsigned NextNumber() const;

 private:
  friend class FakeCaptureLayer;
  friend class FakeListener;
  friend class FakeStream;
  struct Step {
    int result = 0;
    AVPacket* packet = nullptr;
    std::string cause;  // of an error
  };

  void Pictures(const FakePictures& pictures);
  void Sound(const FakeSound& sound);
  platform::OpenResult Open();
  void Close();
  // The microphone of that name, taken up by the stream of this one; null when there is none.
  FakeDevice* Successor(const std::string& name) const;
  void BeTakenUp();
  void CountListener(int more);
  std::vector<std::int16_t> TakeSaid();
  bool CanBeHeard() const;
  int Read(AVPacket* packet);
  bool IsFiller() const;
  bool IsAllowed() const;
  bool IsUnshared() const;
  std::string EndCause() const;
  bool EndIsNext() const;
  int ReadScript(AVPacket* packet);
  int ReadByClock(AVPacket* packet);
  AVPacket* Generate();
  AVPacket* GeneratePicture();
  AVPacket* GenerateSound();
  void AddSaid(int blocks);
  void TellParameters(AVCodecParameters* parameters) const;
  bool NeverRunsDry() const { return m_kind == platform::CaptureKind::Audio && m_free; }

  const platform::CaptureKind m_kind;
  const std::string m_name;
  FakeCaptureLayer* m_layer = nullptr;  // that it belongs to
  std::function<void()> m_onClose;

  mutable std::mutex m_mutex;  // guards all below
  FakePictures m_pictures;
  int m_toldWidth = 0;  // what the parameters tell: the size of the first picture of the script
  int m_toldHeight = 0;
  FakeSound m_sound;
  std::deque<Step> m_script;
  bool m_free = false;
  bool m_frozen = false;
  bool m_filler = false;  // what was read last
  bool m_unplugged = false;
  bool m_busy = false;
  bool m_formatUnknown = false;
  std::string m_unshared;  // why nothing shares it; empty while something does
  bool m_asking = false;
  bool m_streamless = false;
  bool m_sizeChanged = false;
  AVCodecID m_codec = AV_CODEC_ID_NONE;
  bool m_open = false;
  int m_openCount = 0;
  int m_ended = 0;  // the error that every further read gives
  std::string m_endCause;
  unsigned m_number = 0;
  std::int64_t m_samples = 0;  // sample frames generated so far
  std::chrono::steady_clock::time_point m_due;
  int m_listeners = 0;
  std::vector<std::int16_t> m_said;  // to listeners
  std::int64_t m_saidFrames = 0;     // so far
  std::chrono::steady_clock::time_point m_saidDue;
};

class FakeCaptureLayer : public platform::CaptureLayer {
 public:
  FakeCaptureLayer();
  ~FakeCaptureLayer() override;

  // Adds a device behind those of its kind; the layer keeps it until it is deleted itself. The name
  // may be one of the two fixed ones, which then can be opened but are not listed.
  FakeDevice* AddCamera(const std::string& name, const FakePictures& pictures = {});
  FakeDevice* AddMicrophone(const std::string& name, const FakeSound& sound = {});

  std::vector<std::string> ListDevices(platform::CaptureKind kind) override;
  platform::OpenResult Open(platform::CaptureKind kind, const std::string& name) override;
  // Beside those who have it open.
  std::unique_ptr<platform::SoundListener> Listen(const std::string& name) override;

  // Every name that was asked for, opened or not, in order.
  std::vector<std::string> Opened() const;

 private:
  friend class FakeDevice;
  FakeDevice* TakeUp(const std::string& name);

  mutable std::mutex m_mutex;
  std::vector<std::unique_ptr<FakeDevice>> m_devices;
  std::vector<std::string> m_opened;
};

// Installs a layer for as long as it lives.
class InstalledCaptureLayer {
 public:
  explicit InstalledCaptureLayer(platform::CaptureLayer* layer) {
    platform::CaptureLayer::Install(layer);
  }
  ~InstalledCaptureLayer() { platform::CaptureLayer::Install(nullptr); }
  InstalledCaptureLayer(const InstalledCaptureLayer&) = delete;
  InstalledCaptureLayer& operator=(const InstalledCaptureLayer&) = delete;
};

}  // namespace support

#endif
