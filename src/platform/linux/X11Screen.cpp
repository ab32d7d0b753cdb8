#include "platform/linux/X11Screen.h"

#include <xcb/dpms.h>
#include <xcb/screensaver.h>

#include <cstddef>

#include "platform/linux/XcbConnection.h"

namespace platform {

namespace {

constexpr std::int64_t kBlankedForUs = 500000;
constexpr std::uint32_t kAllPlanes = ~0U;

bool HasExtension(xcb_connection_t* connection, xcb_extension_t* extension) {
  const xcb_query_extension_reply_t* data = xcb_get_extension_data(connection, extension);
  return data != nullptr && data->present != 0;
}

xcb_window_t RootOf(xcb_connection_t* connection, int number) {
  xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
  for (; screens.rem > 0 && number > 0; --number) {
    xcb_screen_next(&screens);
  }
  return screens.rem > 0 ? screens.data->root : xcb_window_t{XCB_WINDOW_NONE};
}

Size AskSize(xcb_connection_t* connection, xcb_window_t root) {
  const XcbReply<xcb_get_geometry_reply_t> geometry(
      xcb_get_geometry_reply(connection, xcb_get_geometry(connection, root), nullptr));
  return geometry ? Size{geometry->width, geometry->height} : Size{};
}

}  // namespace

X11Screen::X11Screen(const std::string& display) {
  int number = 0;
  m_connection.reset(xcb_connect(display.c_str(), &number));
  xcb_connection_t* c = m_connection.get();
  if (xcb_connection_has_error(c) != 0) {
    return;
  }
  m_root = RootOf(c, number);
  // Changes are told from here on, so the size asked for behind this is the one that they change.
  const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  xcb_change_window_attributes(c, m_root, XCB_CW_EVENT_MASK, &events);
  m_size = platform::AskSize(c, m_root);
}

X11Screen::~X11Screen() = default;

Size X11Screen::LastSize() {
  xcb_connection_t* c = m_connection.get();
  while (const XcbReply<xcb_generic_event_t> event{xcb_poll_for_event(c)}) {
    const auto* configured = reinterpret_cast<const xcb_configure_notify_event_t*>(event.get());
    if ((event->response_type & 0x7f) == XCB_CONFIGURE_NOTIFY && configured->window == m_root) {
      m_size = {configured->width, configured->height};
    }
  }
  return m_size;
}

Size X11Screen::AskSize() {
  xcb_connection_t* c = m_connection.get();
  return xcb_connection_has_error(c) == 0 ? platform::AskSize(c, m_root) : Size{};
}

bool X11Screen::IsBlanked(std::int64_t nowUs) {
  if (m_blankedUs < 0 || nowUs - m_blankedUs >= kBlankedForUs) {
    m_blankedUs = nowUs;
    m_blanked = IsAsleep() || IsSaved();
  }
  return m_blanked;
}

bool X11Screen::IsAsleep() {
  xcb_connection_t* c = m_connection.get();
  if (!HasExtension(c, &xcb_dpms_id)) {
    return false;
  }
  const XcbReply<xcb_dpms_info_reply_t> power(xcb_dpms_info_reply(c, xcb_dpms_info(c), nullptr));
  return power && SleepsAt(power->state != 0, power->power_level);
}

bool X11Screen::SleepsAt(bool isManaged, unsigned level) {
  return isManaged && level != XCB_DPMS_DPMS_MODE_ON;
}

bool X11Screen::IsSaved() {
  xcb_connection_t* c = m_connection.get();
  if (!HasExtension(c, &xcb_screensaver_id)) {
    return false;
  }
  const XcbReply<xcb_screensaver_query_info_reply_t> saver(
      xcb_screensaver_query_info_reply(c, xcb_screensaver_query_info(c, m_root), nullptr));
  return saver &&
         (saver->state == XCB_SCREENSAVER_STATE_ON || saver->state == XCB_SCREENSAVER_STATE_CYCLE);
}

bool X11Screen::IsBlackAt(const Spot& spot) {
  xcb_connection_t* c = m_connection.get();
  const XcbReply<xcb_get_image_reply_t> image(xcb_get_image_reply(
      c,
      xcb_get_image(c, XCB_IMAGE_FORMAT_Z_PIXMAP, m_root, static_cast<std::int16_t>(spot.left),
                    static_cast<std::int16_t>(spot.top), static_cast<std::uint16_t>(spot.Width()),
                    static_cast<std::uint16_t>(spot.Height()), kAllPlanes),
      nullptr));
  const std::size_t bytes =
      static_cast<std::size_t>(spot.Width()) * static_cast<std::size_t>(spot.Height()) * 4;
  if (!image || static_cast<std::size_t>(xcb_get_image_data_length(image.get())) < bytes) {
    return false;
  }
  Spot left;
  return LookAtPicture(xcb_get_image_data(image.get()), {spot.Width(), spot.Height()}, &left) ==
         Look::kBlack;
}

}  // namespace platform
