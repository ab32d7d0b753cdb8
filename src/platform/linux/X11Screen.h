// What an X server tells of one of its screens: how large it is, whether it is blanked, and what it
// shows without the cursor. A connection of its own, beside that of whoever grabs the screen.
//
// Questions wait for their answer without limit, as a grab does: this belongs on a thread that may
// be left behind. A server that has died answers at once with nothing, and so does one that let
// this connection not in.
//
// Threads: one.
#ifndef ORVANE_PLATFORM_LINUX_X11SCREEN_H
#define ORVANE_PLATFORM_LINUX_X11SCREEN_H

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <string>

#include "platform/Size.h"
#include "platform/linux/BlackPicture.h"

namespace platform {

class X11Screen {
 public:
  // The screen that the name of the display means, ":0.1" for the second one of display 0.
  explicit X11Screen(const std::string& display);
  ~X11Screen();
  X11Screen(const X11Screen&) = delete;
  X11Screen& operator=(const X11Screen&) = delete;

  // The size that the screen was last said to have; nothing is asked. 0 x 0 when nothing is known.
  Size LastSize();
  // The size that it has now, by the server's own answer; 0 x 0 when the server is gone.
  Size AskSize();
  // Put to sleep by its power management, or covered by the server's screen saver. What was asked
  // less than half a second before is not asked again.
  bool IsBlanked(std::int64_t nowUs);
  // What its power management says: whether that is at work, and its level (0 on; 1 to 3 standby,
  // suspended and off).
  static bool SleepsAt(bool isManaged, unsigned level);
  // Whether it is black there, whatever the cursor covers.
  bool IsBlackAt(const Spot& spot);

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
  };

  bool IsAsleep();
  bool IsSaved();

  std::unique_ptr<xcb_connection_t, Disconnect> m_connection;
  xcb_window_t m_root = XCB_NONE;
  Size m_size;
  bool m_blanked = false;
  std::int64_t m_blankedUs = -1;  // when that was asked
};

}  // namespace platform

#endif
