// Captures the client area of one window of another program, 25 times a second.
//
// Flow: RGB24 frames with packed rows to the video outputs, pts on the clock of SDL_GetTicks. The
// picture follows the window's size; the first frame after a change of size is marked (its opaque
// is its own data[0]), which tells the scale stage that the layer takes the new size.
//
// Ownership: the window belongs to its program; the handle is the one that the device catalogue
// lists, or kPickedWindow.
//
// Threads: the owner's thread calls Start and Stop. One worker, "window", runs from Start to Stop;
// the window is opened on it and touched by no other.
//
// Failure: a window that is gone or has no client area at Start ends the worker at once, and the
// layer stays empty; while the window system doesn't answer, or the operator has yet to pick a
// window, it waits for that. A window that is closed, minimised or can't be grabbed at the moment
// gives no frame: the layer keeps the last picture, and a window that comes back goes on by itself.
// Failure tells why there was nothing to capture, and why a window is shared no more where its
// system says so; the log has both.
#ifndef ORVANE_SOURCES_CWNDCAPTURE_H
#define ORVANE_SOURCES_CWNDCAPTURE_H

#include <atomic>
#include <memory>
#include <string>

#include "media/CSrcInterface.h"
#include "media/PacedTicker.h"
#include "media/Worker.h"
#include "media/ffmpeg/FramePool.h"
#include "media/ffmpeg/LogOnce.h"
#include "media/ffmpeg/PixelConvert.h"
#include "platform/WindowSystem.h"

class CWndCapture : public CSrcInterface {
 public:
  explicit CWndCapture(platform::WindowHandle window);
  ~CWndCapture() override;

  int Start() override;
  int Stop() override;

 protected:
  // What the worker holds from its set-up to its end.
  struct Capture {
    explicit Capture(std::uint32_t nowMs) : ticker(nowMs) {}
    std::unique_ptr<platform::WindowGrabber> grabber;
    platform::Size size;   // of the client area at the last tick
    bool resized = false;  // since the last frame
    bool ended = false;    // and told so
    ffmpeg::LogOnce fault;
    media::PacedTicker ticker;
    ffmpeg::FramePool pool;
    ffmpeg::PixelConvert convert;
  };

  // Null when there is nothing to capture.
  std::unique_ptr<Capture> SetUp();
  // Waits a little, or takes the tick that is due.
  void Turn(Capture* capture);

 private:
  void Run();
  void Tick(Capture* capture);
  void TellEnd(Capture* capture);
  void Fail(const std::string& cause);
  void PushPicture(Capture* capture, const platform::GrabbedPicture& picture);
  std::string Whose() const;

  media::Worker m_thread;
  platform::WindowHandle m_window;
  CMyQueue m_queue;  // nothing uses it
  std::atomic<bool> m_stop;
};

#endif
