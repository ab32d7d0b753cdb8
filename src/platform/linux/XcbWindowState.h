// What the X server and the window manager say of one window.
#ifndef ORVANE_PLATFORM_LINUX_XCBWINDOWSTATE_H
#define ORVANE_PLATFORM_LINUX_XCBWINDOWSTATE_H

#include <xcb/xcb.h>

#include <cstdint>
#include <vector>

#include "platform/linux/XcbConnection.h"

namespace platform {

enum class Visibility {
  kUnknown,  // no such window, or no answer
  kVisible,
  kHidden,  // unmapped, inside something unmapped, or put away by the window manager
};

// The questions of one window, on their way; asked for many windows before the first answer is
// taken, so that a list costs one round trip.
struct ShowingRequest {
  xcb_get_window_attributes_cookie_t attributes;
  xcb_get_property_cookie_t legacyState;
  xcb_get_property_cookie_t state;
};
ShowingRequest AskShowing(const XcbConnection& link, xcb_window_t window);
Visibility TakeShowing(XcbConnection& link, const ShowingRequest& request);

// A property made of 32-bit values; empty when it is none.
xcb_get_property_cookie_t AskValues(const XcbConnection& link, xcb_window_t window,
                                    xcb_atom_t property);
std::vector<std::uint32_t> TakeValues(XcbConnection& link, xcb_get_property_cookie_t request);

}  // namespace platform

#endif
