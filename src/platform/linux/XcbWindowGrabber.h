// The picture of one X window, through the Composite extension.
//
// The window is redirected automatically for as long as the grabber lives: the server keeps its
// whole picture off screen and goes on showing it, with or without a compositor. Each grab names
// that picture anew, since the server replaces it when the window is resized or put away and shown
// again, and the second of these it tells nobody when a frame around the window is what was
// unmapped. The picture is written by the server into memory shared with it, or sent over the
// connection where it refuses to share.
//
// The size that Grab expects is the one that ClientSize gave last: a window resized in between
// gives no picture this time. While the server does not answer, everything stays as it was last
// seen and there are no pictures; each call returns at once, but the first, which waits 0.15 s. A
// tick begins with ClientSize, which alone asks whether the window is still there: a slow server is
// waited for 0.3 s in each. One that doesn't answer
// at the opening is asked on, with each call, until it does.
#ifndef ORVANE_PLATFORM_LINUX_XCBWINDOWGRABBER_H
#define ORVANE_PLATFORM_LINUX_XCBWINDOWGRABBER_H

#include <xcb/composite.h>
#include <xcb/shm.h>
#include <xcb/xcb.h>

#include <memory>

#include "platform/WindowSystem.h"
#include "platform/linux/SharedBlock.h"
#include "platform/linux/XcbConnection.h"

namespace platform {

class XcbWindowGrabber : public WindowGrabber {
 public:
  // Null when there is no such window, it can have no picture, or its pixels can't be read.
  static std::unique_ptr<XcbWindowGrabber> Open(WindowHandle window);

  bool IsSilent() override;
  bool Exists() override;
  bool IsMinimised() override;
  Size ClientSize() override;
  bool Grab(GrabbedPicture* picture) override;

 private:
  explicit XcbWindowGrabber(xcb_window_t window);
  void Connect(int waitMs);
  bool HasMeans();
  void Attach();
  void TakeGeometry(const xcb_get_geometry_reply_t& geometry);
  void Lose(const char* cause);
  // False when nothing may be asked now; m_gone tells whether for good.
  bool Ready();
  void TakeEvents();
  bool UpdateGeometry();
  // Names the picture and asks for its size; Release comes after the request that reads it.
  xcb_get_geometry_cookie_t NamePicture();
  void Release();
  // The picture just named is of the size that the caller knows.
  bool Fits(xcb_get_geometry_cookie_t request);
  bool ShareMemory();
  void StopSharing();
  bool GrabShared(GrabbedPicture* picture);
  bool GrabSent(GrabbedPicture* picture);
  bool TooLarge();
  std::size_t PictureBytes() const;

  std::unique_ptr<XcbAttempt> m_attempt;  // null once it is over
  std::unique_ptr<XcbConnection> m_link;  // null before
  xcb_window_t m_window;
  xcb_pixmap_t m_pixmap = 0;  // named for the length of one grab
  xcb_shm_seg_t m_segment = 0;
  Size m_size;
  int m_border = 0;
  bool m_attached = false;  // the window was there and its picture can be read
  bool m_gone = false;
  bool m_minimised = false;
  bool m_tooLarge = false;
  bool m_sharing = false;                  // the server takes memory of this process
  SharedBlock m_block;                     // what it has taken
  XcbReply<xcb_get_image_reply_t> m_sent;  // the picture lent, where it does not
};

}  // namespace platform

#endif
