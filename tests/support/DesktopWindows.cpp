#include "support/DesktopWindows.h"

#include <strings.h>

#include "support/XcbReply.h"

namespace support {

namespace {

constexpr std::uint32_t kClassWords = 64;  // of four bytes each

// All windows, each after the one that it stands in. Asked for level by level, so that a look takes
// a few round trips, not one for each window.
std::vector<xcb_window_t> AllWindows(xcb_connection_t* c) {
  std::vector<xcb_window_t> windows = {FirstScreen(c)->root};
  std::vector<xcb_window_t> level = windows;
  while (!level.empty()) {
    std::vector<xcb_query_tree_cookie_t> asked;
    for (const xcb_window_t window : level) {
      asked.push_back(xcb_query_tree(c, window));
    }
    level.clear();
    for (const xcb_query_tree_cookie_t cookie : asked) {
      const XcbReply<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(c, cookie, nullptr));
      if (tree) {
        const xcb_window_t* children = xcb_query_tree_children(tree.get());
        level.insert(level.end(), children, children + xcb_query_tree_children_length(tree.get()));
      }
    }
    windows.insert(windows.end(), level.begin(), level.end());
  }
  return windows;
}

// WM_CLASS is the instance and the class, each with a zero at its end.
bool IsOfClass(const xcb_get_property_reply_t* property, const std::string& program) {
  if (property == nullptr) {
    return false;
  }
  const std::string both(static_cast<const char*>(xcb_get_property_value(property)),
                         static_cast<std::size_t>(xcb_get_property_value_length(property)));
  const std::size_t end = both.find('\0');
  return end != std::string::npos && strcasecmp(both.c_str() + end + 1, program.c_str()) == 0;
}

// False when it is gone, or not seen.
bool Describe(xcb_connection_t* c, xcb_window_t id, DesktopWindow* window) {
  const xcb_get_window_attributes_cookie_t attributesAsked = xcb_get_window_attributes(c, id);
  const xcb_get_geometry_cookie_t geometryAsked = xcb_get_geometry(c, id);
  const xcb_translate_coordinates_cookie_t placeAsked =
      xcb_translate_coordinates(c, id, FirstScreen(c)->root, 0, 0);
  const XcbReply<xcb_get_window_attributes_reply_t> attributes(
      xcb_get_window_attributes_reply(c, attributesAsked, nullptr));
  const XcbReply<xcb_get_geometry_reply_t> geometry(
      xcb_get_geometry_reply(c, geometryAsked, nullptr));
  const XcbReply<xcb_translate_coordinates_reply_t> place(
      xcb_translate_coordinates_reply(c, placeAsked, nullptr));
  if (!attributes || !geometry || !place || attributes->map_state != XCB_MAP_STATE_VIEWABLE) {
    return false;
  }
  *window = {id,
             place->dst_x,
             place->dst_y,
             geometry->width,
             geometry->height,
             attributes->override_redirect == 0};
  return true;
}

}  // namespace

std::vector<DesktopWindow> VisibleWindows(const std::string& display, const std::string& program) {
  std::vector<DesktopWindow> windows;
  const XcbConnection connection = ConnectXcb(display);
  if (!connection) {
    return windows;
  }
  xcb_connection_t* c = connection.get();
  const std::vector<xcb_window_t> all = AllWindows(c);
  std::vector<xcb_get_property_cookie_t> asked;
  for (const xcb_window_t window : all) {
    asked.push_back(
        xcb_get_property(c, 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, kClassWords));
  }
  std::vector<xcb_window_t> found;
  for (std::size_t i = 0; i < all.size(); ++i) {
    const XcbReply<xcb_get_property_reply_t> property(xcb_get_property_reply(c, asked[i], nullptr));
    if (IsOfClass(property.get(), program)) {
      found.push_back(all[i]);
    }
  }
  for (const xcb_window_t id : found) {
    DesktopWindow window;
    if (Describe(c, id, &window)) {
      windows.push_back(window);
    }
  }
  return windows;
}

std::uint32_t ActiveWindow(const std::string& display) {
  const XcbConnection connection = ConnectXcb(display);
  if (!connection) {
    return 0;
  }
  xcb_connection_t* c = connection.get();
  const xcb_atom_t active = FindAtom(c, "_NET_ACTIVE_WINDOW");
  if (active == XCB_NONE) {
    return 0;
  }
  const XcbReply<xcb_get_property_reply_t> property(xcb_get_property_reply(
      c, xcb_get_property(c, 0, FirstScreen(c)->root, active, XCB_ATOM_WINDOW, 0, 1), nullptr));
  return property && xcb_get_property_value_length(property.get()) == sizeof(std::uint32_t)
             ? *static_cast<const std::uint32_t*>(xcb_get_property_value(property.get()))
             : 0;
}

}  // namespace support
