// The one object of plain state that the whole program reaches without being handed it: what can be
// captured, blank frames, the size of the canvas and who is logged in.
//
// Names: position 0 of either device list is a fixed name, "virtual-audio-capturer" for the
// system's sound and "screen-capture-recorder" for the desktop, listed whether the system has them
// or not. The names from position 1 on are the capture layer's, in its order, and are what
// CInputDev opens.
//
// Ownership: made by the first call of Instance, which comes from the user interface thread once
// the application object stands, and never deleted. Frames belong to the caller.
//
// Threads: the user interface thread, but for the frame makers and ResetPacket, which any thread
// may call, and renderWidth and renderHeight, which nobody writes.
//
// Locks: one around the pool of canvases, held while a buffer is taken and not while it is cleared.
//
// Failure: a device list that can't be had is a shorter list; an index past the end gives an empty
// name; a frame that can't be had is null.
#ifndef ORVANE_SOURCES_DEVICECATALOGUE_H
#define ORVANE_SOURCES_DEVICECATALOGUE_H

#include <QString>
#include <cstdint>
#include <map>
#include <vector>

extern "C" {
#include <libavcodec/packet.h>
#include <libavutil/frame.h>
#include <libavutil/pixfmt.h>
#include <libavutil/samplefmt.h>
}

#include "media/ffmpeg/FramePool.h"
#include "platform/Lock.h"
#include "platform/WindowSystem.h"

class DeviceCatalogue {
 public:
  static DeviceCatalogue* Instance();

  DeviceCatalogue(const DeviceCatalogue&) = delete;
  DeviceCatalogue& operator=(const DeviceCatalogue&) = delete;

  int renderWidth = 1920;
  int renderHeight = 1080;
  std::uint8_t loggedIn = 0;  // 0 until a login succeeds, and again after a logout
  QString userToken;          // what the backend's calls need
  QString userName;           // what the account control shows
  // Cameras now open, in the order of their opening; one entry for each node that has it open.
  std::vector<QString> usedVideoDevices;

  // Rebuilds both device lists.
  void RefreshDevices();
  QString AudioDevice(int index) const;
  QString VideoDevice(int index) const;
  // Those that are there now, asked for anew, for a choice; the lists stay as they are.
  std::vector<QString> Microphones() const;
  // Replaces *names.
  void CopyVideoDevices(std::vector<QString>* names) const;

  // Rows are packed. RGB24 and YUV 4:2:0 come black, other formats as the memory was.
  AVFrame* NewBlankFrame(int width, int height, AVPixelFormat format);
  AVFrame* NewSilentFrame(int channels, int sampleRate, int samples, AVSampleFormat format,
                          std::int64_t pts);

  // Every window that can be captured, with its title, in the order of the handles' values.
  void ListWindows(std::map<platform::WindowHandle, QString>* windows) const;

  // Gives packet its defaults and no data. What it referred to is not freed: unref it before.
  void ResetPacket(AVPacket* packet) const;

 private:
  DeviceCatalogue();
  ~DeviceCatalogue() = default;

  AVFrame* NewPackedFrame(int width, int height, AVPixelFormat format);

  [[maybe_unused]] void* m_spareFirst = nullptr;
  [[maybe_unused]] void* m_spareSecond = nullptr;
  std::vector<QString> audioDevices;
  std::vector<QString> videoDevices;

  platform::Mutex m_canvasMutex;
  // 1920 x 1080 each, so that no canvas costs fresh pages.
  ffmpeg::FramePool m_rgbCanvases ORVANE_GUARDED_BY(m_canvasMutex);
  ffmpeg::FramePool m_yuvCanvases ORVANE_GUARDED_BY(m_canvasMutex);
};

#endif
