#include "platform/linux/XcbWindowState.h"

#include <algorithm>

namespace platform {

namespace {

// A list of windows is the longest of them; nobody opens more.
constexpr std::uint32_t kMaxValues = 16384;
constexpr std::uint32_t kIconicState = 3;

}  // namespace

ShowingRequest AskShowing(const XcbConnection& link, xcb_window_t window) {
  return {xcb_get_window_attributes(link.Get(), window),
          AskValues(link, window, link.Atoms().legacyState),
          AskValues(link, window, link.Atoms().state)};
}

Visibility TakeShowing(XcbConnection& link, const ShowingRequest& request) {
  const auto attributes = link.Take<xcb_get_window_attributes_reply_t>(request.attributes.sequence);
  const std::vector<std::uint32_t> legacyState = TakeValues(link, request.legacyState);
  const std::vector<std::uint32_t> state = TakeValues(link, request.state);
  if (!attributes) {
    return Visibility::kUnknown;
  }
  const bool iconic = !legacyState.empty() && legacyState.front() == kIconicState;
  const bool hidden = std::find(state.begin(), state.end(), link.Atoms().hidden) != state.end();
  return attributes->map_state == XCB_MAP_STATE_VIEWABLE && !iconic && !hidden
             ? Visibility::kVisible
             : Visibility::kHidden;
}

xcb_get_property_cookie_t AskValues(const XcbConnection& link, xcb_window_t window,
                                    xcb_atom_t property) {
  return xcb_get_property(link.Get(), 0, window, property, XCB_ATOM_ANY, 0, kMaxValues);
}

std::vector<std::uint32_t> TakeValues(XcbConnection& link, xcb_get_property_cookie_t request) {
  const auto property = link.Take<xcb_get_property_reply_t>(request.sequence);
  if (!property || property->format != 32) {
    return {};
  }
  const auto* values = static_cast<const std::uint32_t*>(xcb_get_property_value(property.get()));
  return {values, values + property->value_len};
}

}  // namespace platform
