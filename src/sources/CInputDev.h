// Reads one capture device: a camera, the desktop, a microphone or the system's sound.
//
// Flow: a worker reads packets of the device from the capture layer, decodes them and pushes frames
// in the graph's common formats: signed 16-bit stereo at 48000 Hz for sound, the caller's pixel
// format for pictures, at the caller's size or, where that is 0, at the size of the device's first
// picture. Each frame's pts is the wall clock at the moment it left the decoder, so that all live
// sources share one time line. The node has no inputs in use.
//
// A picture that arrives as wanted, with packed rows, passes through uncopied. A source whose
// picture changes size is scaled to the size it had first.
//
// Sound leaves with the gain and the mute of SetMix (see SoundGain.h); what is measured of it is
// what is sent, or would be if it were not muted. What was muted is never sent, not even where
// there is no memory to silence it: the block is left out.
//
// How it does can be looked at meanwhile: Delivered counts what the device itself has given, so one
// that stands still is a device that froze, fell silent or ended. Pictures count as they come,
// whatever they show: a camera that hangs gives none. The desktop gives one 25 times a second,
// changed or not, so what stops its count is an X server that doesn't answer or has ended, or shows
// black alone while it is on; a desktop on which nothing moves goes on counting. Sound counts by
// blocks in which something came from the device, digital silence included; the capture layer's own
// filling doesn't count.
//
// Threads: Start, Stop and deletion on the user interface thread, which is also the only one to
// touch the catalogue's list of used cameras, and SwitchTo between Start and Stop. The worker
// touches the decoder, the converters and the frames from Start to Stop. Delivered and TakeLevel
// may be called on any one thread, SetMix and DeviceName on any: the name has a lock of its own,
// since the worker puts it into the log.
//
// Failure: a device that can't be opened makes Start negative. Of a sound server that doesn't
// answer that is not known in time: Start is then 0, the sound silence, and HasOpened false until
// it does. The same holds of a screen that the operator has yet to share: there is no picture until
// he answers. An error while reading ends the worker; consumers keep the last picture. All of it is
// in the log, with the device and the cause. Failure tells why a device could not be opened, and
// why one has ended where the system says so: a screen that was not shared, or is shared no more.
#ifndef ORVANE_SOURCES_CINPUTDEV_H
#define ORVANE_SOURCES_CINPUTDEV_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "media/CSrcInterface.h"
#include "media/Worker.h"
#include "media/ffmpeg/FramePool.h"
#include "media/ffmpeg/LogOnce.h"
#include "media/ffmpeg/PixelConvert.h"
#include "platform/CaptureLayer.h"
#include "platform/Lock.h"
#include "platform/Size.h"
#include "sources/SoundGain.h"
#include "sources/SoundLevel.h"
#include "sources/StereoConvert.h"

class CInputDev : public CSrcInterface {
 public:
  // deviceName: as DeviceCatalogue lists it, UTF-8. pixelFormat: an AVPixelFormat.
  CInputDev(bool isAudio, std::string deviceName, int width, int height, int pixelFormat);
  // Frees what a failed Start left. Stop comes before.
  ~CInputDev() override;

  // 0, or -1 when the device or its decoder can't be opened. Bounded by the capture layer.
  int Start() override;
  // Closes the device too.
  int Stop() override;

  bool IsAudio() const { return m_isAudio; }
  std::string DeviceName() const;
  // Sound of another listed device from now on, without a break: silence until that one gives some.
  // False where that can't be; the node then stays with its device.
  bool SwitchTo(const std::string& deviceName);
  // Pictures or blocks of sound that have come from the device since Start.
  std::uint64_t Delivered() const { return m_delivered; }
  // False while a device that did not answer at Start is still to be opened: it is silent until
  // then. Between Start and Stop, on their thread.
  bool HasOpened() const { return m_device != nullptr && m_device->HasOpened(); }
  // True while the system waits for the operator to say what may be captured. The same thread.
  bool IsAsking() const;
  // True when it failed because nothing in this session shares the screen, at Start or, where that
  // was not known in time, after it. Any thread.
  bool LacksSharing() const { return m_lacksSharing; }
  // How loud what came since the last call goes out, or would if it were not muted; of sound only.
  sources::SoundMeasure TakeLevel() { return m_level.Take(); }
  // From the next block of sound on, by ramps; what is set before Start holds from the first
  // sample.
  void SetMix(const sources::SoundMix& mix) { m_gain.Set(mix); }

 protected:
  // Opens device and decoder; 0 or -1.
  int Open();
  // Reads and handles one packet. False when the device has ended.
  bool CaptureTurn();

 private:
  int Fail(const std::string& cause);
  void Capture();
  bool ReadFailed(int error);
  void TellEnd(int error);
  void HandlePacket(AVPacket* packet);
  void HandleFrame();
  void HandleAudio();
  void HandleVideo();
  bool IsWanted(const AVFrame* picture) const;
  platform::Size OutputSize(const AVFrame* picture);
  void PushConvertedPicture();
  void PushSound(AVFrame* sound);
  std::string Whose() const;
  bool IsCamera() const;
  void CloseDevice();

  bool m_isAudio;
  mutable platform::Mutex m_nameLock;
  std::string m_deviceName ORVANE_GUARDED_BY(m_nameLock);
  int m_pixelFormat;
  std::unique_ptr<platform::CaptureStream> m_device;  // null until Start
  int m_streamIndex = -1;
  std::atomic<bool> m_lacksSharing{false};
  AVCodecContext* m_codec = nullptr;
  AVFrame* m_decoded;          // made by the constructor, used again for every frame
  AVFrame* m_spare = nullptr;  // never filled
  sources::StereoConvert m_stereo;
  ffmpeg::PixelConvert m_scaler;
  media::Worker m_thread;
  CMyQueue m_spareQueue;  // holds nothing
  std::atomic<bool> m_running{false};
  int m_width;  // wanted; 0 for that of the device
  int m_height;

  std::atomic<std::uint64_t> m_delivered{0};  // written by the worker
  sources::SoundLevel m_level;                // the worker adds
  sources::SoundGain m_gain;                  // the worker's, but for what is wanted
  AVPacket* m_packet;                         // worker only, used again for every read
  ffmpeg::FramePool m_pictures;               // worker only
  platform::Size m_outputSize;        // worker only; 0 x 0 until a picture has needed converting
  ffmpeg::LogOnce m_conversionFault;  // worker only
};

#endif
