// What the program needs of a system's capture devices: cameras, the desktop, microphones and the
// system's sound.
//
// Flow: a catalogue lists the names, a node opens one by its name, reads compressed or raw packets
// from it and closes it by deleting the stream. Names are UTF-8, unique within their kind, and mean
// the same device for as long as it stays plugged in; no path or address of a device leaves this
// layer. Two names are fixed on every system and are not listed: kDesktopName and kSystemSoundName.
//
// Ownership: the layer lives for the whole process. A CaptureStream belongs to whoever opened it.
//
// Threads: ListDevices, Open and Listen may be called from any thread, one at a time. A
// CaptureStream is read by one thread; it may be made and deleted by another while no Read is
// running.
//
// Time: Open and the deletion of a stream return in bounded time in every state of a device (a
// camera that is frozen, a sound source that is suspended). What asks a sound server takes no more
// than 0.1 s: it may be asked on the user interface thread, and a server may be frozen. Read never
// blocks for more than 100 ms.
//
// A stream of raw pictures may change their size: the first packet of the new one then carries
// AV_PKT_DATA_PARAM_CHANGE with its width and height, which the raw decoder follows by itself.
//
// A system may first ask the operator what may be captured, for as long as he thinks about it. Open
// doesn't wait for that: the stream is there at once, HasOpened is false and Read gives
// AVERROR(EAGAIN) until he has answered, and a refusal ends it like a device that is gone.
//
// A sound device can also be listened to, for a meter: that takes less than a stream, since nothing
// is kept continuous, and nobody else notices.
//
// Sound is special. Mixers and the encoder downstream count samples and have no clock of their
// own, so a sound stream gives 48000 sample frames for each second of the system's clock for as
// long as it is open: what the device leaves out is filled with silence, and the drift of its clock
// is taken up by resampling. A device whose server has not answered when Open returns is opened
// behind the stream, which is silent meanwhile, and heard as soon as the server answers. A stream
// that changes over to another microphone goes on counting: no sample is lost or given twice.
#ifndef ORVANE_PLATFORM_CAPTURELAYER_H
#define ORVANE_PLATFORM_CAPTURELAYER_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace platform {

enum class CaptureKind { Audio, Video };

// The desktop, at 25 pictures a second, cursor drawn.
inline constexpr char kDesktopName[] = "screen-capture-recorder";
// What the machine plays, whatever the current default output is.
inline constexpr char kSystemSoundName[] = "virtual-audio-capturer";

// What a decoder has to know of one elementary stream. The parameters belong to the CaptureStream.
struct StreamInfo {
  int index = -1;
  const AVCodecParameters* parameters = nullptr;
  AVRational timeBase{1, 1};
};

// One open device.
class CaptureStream {
 public:
  // Closes the device; returns within 0.5 s.
  virtual ~CaptureStream() = default;

  // The best elementary stream of that kind; false when the device has none.
  virtual bool FindStream(CaptureKind kind, StreamInfo* info) const = 0;

  // Fills packet, which the caller unrefs. 0 on success; AVERROR(EAGAIN) when nothing has arrived
  // yet; any other negative AVERROR when the device is gone, after which no Read succeeds again.
  virtual int Read(AVPacket* packet) = 0;

  // Why the device is gone, in the system's own words, after a Read that failed for good; empty
  // where nothing is known beyond its error. The reader's thread.
  virtual std::string EndCause() const { return {}; }

  // True after a Read that failed for good because this session has no service that lets a program
  // see its screen, which was not yet known at Open. The reader's thread.
  virtual bool LacksSharing() const { return false; }

  // True when the packet that was read last holds nothing of the device's: silence in the place of
  // sound that it left out, black in the place of a desktop that can't be seen. The reader's
  // thread.
  virtual bool IsFiller() const { return false; }

  // False while the device itself is still to be opened: sound is silence until then, and there is
  // no picture. Any thread.
  virtual bool HasOpened() const { return true; }

  // Goes on with another listed device of its kind, without a break: silence until that one gives
  // something, HasOpened about it alone. False for a name that nobody knows and for a stream that
  // can't do so; it then stays with its device. Takes no longer than an opening. Not on the
  // reader's thread but beside it, one call at a time.
  virtual bool SwitchTo(const std::string& /*name*/) { return false; }
};

// One sound device that is listened to.
class SoundListener {
 public:
  // Returns within 0.1 s.
  virtual ~SoundListener() = default;

  // What it gave since the last call, oldest first: interleaved stereo at 48000 Hz, up to 4 s of
  // it. Empty while it gives nothing. The listening thread, which is one; never blocks.
  virtual std::vector<std::int16_t> Take() = 0;

  // It has been opened, at any time so far. Any thread.
  virtual bool HasOpened() const = 0;
};

enum class OpenFailure {
  None,
  CannotOpen,      // no such device, busy, refused
  NoStreamFormat,  // it opened, but what it sends could not be made out in time
  NoSharing,       // this session has no service that lets a program see its screen
};

struct OpenResult {
  std::unique_ptr<CaptureStream> stream;  // null on failure
  OpenFailure failure = OpenFailure::None;
  std::string cause;  // for the log: the device and the reason, in the system's own words
};

class CaptureLayer {
 public:
  virtual ~CaptureLayer() = default;

  // Begins to look for devices, so that a later ListDevices finds the answer there. Returns at
  // once.
  virtual void Prepare() {}

  // The devices now present, without the two fixed names. For sound: microphones and line inputs,
  // the one that the user chose as default first; while the sound server doesn't answer, those that
  // it told of last.
  virtual std::vector<std::string> ListDevices(CaptureKind kind) = 0;

  // Opens a listed device or one of the fixed names at its default mode.
  virtual OpenResult Open(CaptureKind kind, const std::string& name) = 0;

  // Begins to listen to a microphone or to the system's sound, and returns at once: it is opened
  // behind the listener, and again whenever it comes back. Null where the name is unknown or
  // nothing can only be listened to.
  virtual std::unique_ptr<SoundListener> Listen(const std::string& /*name*/) { return nullptr; }

  // The layer of this process: the system's own, or what a test has installed.
  static CaptureLayer& Current();
  // Replaces the layer until called with null; layer is not owned. Only before any stream is open.
  static void Install(CaptureLayer* layer);
};

// The layer of the system that the program was built for; made at the first call.
CaptureLayer& SystemCaptureLayer();

}  // namespace platform

#endif
