#include "support/TestWindow.h"

#include <algorithm>
#include <vector>

#include "support/XcbReply.h"

namespace support {

namespace {

constexpr std::uint32_t kIconicState = 3;

xcb_visualid_t FindVisual(const xcb_screen_t* screen, int depth) {
  for (auto depths = xcb_screen_allowed_depths_iterator(screen); depths.rem > 0;
       xcb_depth_next(&depths)) {
    if (depths.data->depth != depth) {
      continue;
    }
    for (auto visuals = xcb_depth_visuals_iterator(depths.data); visuals.rem > 0;
         xcb_visualtype_next(&visuals)) {
      if (visuals.data->_class == XCB_VISUAL_CLASS_TRUE_COLOR) {
        return visuals.data->visual_id;
      }
    }
  }
  return XCB_NONE;
}

}  // namespace

TestWindow::~TestWindow() {
  Close();
}

bool TestWindow::Open(const std::string& display, const TestWindowOptions& options) {
  Close();
  m_connection = xcb_connect(display.c_str(), nullptr);
  if (xcb_connection_has_error(m_connection) != 0) {
    Close();
    return false;
  }
  const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
  m_root = screen->root;
  m_alpha = options.depth == 32 ? 0xff000000 : 0;
  const xcb_visualid_t visual =
      options.depth == screen->root_depth ? screen->root_visual : FindVisual(screen, options.depth);
  const xcb_colormap_t colours = xcb_generate_id(m_connection);
  xcb_create_colormap(m_connection, XCB_COLORMAP_ALLOC_NONE, colours, m_root, visual);
  m_window = xcb_generate_id(m_connection);
  // A window of another depth than its parent needs a border pixel and a colour map of its own.
  const std::uint32_t values[] = {options.colour | m_alpha, m_alpha, options.managed ? 0U : 1U,
                                  colours};
  const xcb_void_cookie_t created = xcb_create_window_checked(
      m_connection, static_cast<std::uint8_t>(options.depth), m_window, m_root,
      static_cast<std::int16_t>(options.x), static_cast<std::int16_t>(options.y),
      static_cast<std::uint16_t>(options.width), static_cast<std::uint16_t>(options.height),
      static_cast<std::uint16_t>(options.border), XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
      XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_COLORMAP, values);
  const XcbReply<xcb_generic_error_t> error(xcb_request_check(m_connection, created));
  if (error) {
    Close();
    return false;
  }
  m_graphics = xcb_generate_id(m_connection);
  xcb_create_gc(m_connection, m_graphics, m_window, 0, nullptr);
  // WM_NORMAL_HINTS with a position of the user's choice (USPosition), or the window manager
  // chooses one of its own.
  const std::uint32_t hints[18] = {1};
  xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, XCB_ATOM_WM_NORMAL_HINTS,
                      XCB_ATOM_WM_SIZE_HINTS, 32, 18, hints);
  if (!options.title.empty()) {
    SetTitle(options.title);
  }
  if (options.map) {
    Map();
  }
  Sync();
  return xcb_connection_has_error(m_connection) == 0;
}

void TestWindow::Close() {
  if (m_connection == nullptr) {
    return;
  }
  if (m_window != 0) {
    xcb_destroy_window(m_connection, m_window);
    Sync();
  }
  xcb_disconnect(m_connection);
  m_connection = nullptr;
  m_window = 0;
}

int TestWindow::Width() {
  const XcbReply<xcb_get_geometry_reply_t> geometry(
      xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, m_window), nullptr));
  return geometry ? geometry->width : 0;
}

int TestWindow::Height() {
  const XcbReply<xcb_get_geometry_reply_t> geometry(
      xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, m_window), nullptr));
  return geometry ? geometry->height : 0;
}

bool TestWindow::Viewable() {
  const XcbReply<xcb_get_window_attributes_reply_t> attributes(xcb_get_window_attributes_reply(
      m_connection, xcb_get_window_attributes(m_connection, m_window), nullptr));
  return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
}

bool TestWindow::Framed() {
  const XcbReply<xcb_query_tree_reply_t> tree(
      xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, m_window), nullptr));
  return tree && tree->parent != m_root;
}

void TestWindow::SetTitle(const std::string& utf8) {
  SetText("_NET_WM_NAME", "UTF8_STRING", utf8);
}

void TestWindow::SetLegacyTitle(const std::string& bytes, const std::string& type) {
  SetText("WM_NAME", type, bytes);
}

void TestWindow::SetProperty(const std::string& property, const std::string& type,
                             const std::string& value) {
  const bool isNumber = value.find_first_not_of("0123456789") == std::string::npos;
  const std::uint32_t number =
      isNumber ? static_cast<std::uint32_t>(std::stoul(value)) : Atom(value);
  xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, Atom(property), Atom(type), 32,
                      1, &number);
  Sync();
}

void TestWindow::Map() {
  xcb_map_window(m_connection, m_window);
  Sync();
}

void TestWindow::Unmap() {
  xcb_unmap_window(m_connection, m_window);
  Sync();
}

void TestWindow::Iconify() {
  const XcbReply<xcb_get_property_reply_t> manager(
      xcb_get_property_reply(m_connection,
                             xcb_get_property(m_connection, 0, m_root,
                                              Atom("_NET_SUPPORTING_WM_CHECK"), XCB_ATOM_ANY, 0, 1),
                             nullptr));
  if (!manager || manager->type == XCB_ATOM_NONE) {
    Unmap();
    return;
  }
  xcb_client_message_event_t event{};
  event.response_type = XCB_CLIENT_MESSAGE;
  event.format = 32;
  event.window = m_window;
  event.type = Atom("WM_CHANGE_STATE");
  event.data.data32[0] = kIconicState;
  xcb_send_event(m_connection, 0, m_root,
                 XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                 reinterpret_cast<const char*>(&event));
  Sync();
}

void TestWindow::Move(int x, int y) {
  const std::uint32_t values[] = {static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y)};
  xcb_configure_window(m_connection, m_window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, values);
  Sync();
}

void TestWindow::Resize(int width, int height) {
  const std::uint32_t values[] = {static_cast<std::uint32_t>(width),
                                  static_cast<std::uint32_t>(height)};
  xcb_configure_window(m_connection, m_window, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT,
                       values);
  Sync();
}

void TestWindow::Raise() {
  const std::uint32_t value = XCB_STACK_MODE_ABOVE;
  xcb_configure_window(m_connection, m_window, XCB_CONFIG_WINDOW_STACK_MODE, &value);
  Sync();
}

void TestWindow::Fill(Colour colour) {
  const std::uint32_t value = colour | m_alpha;
  xcb_change_window_attributes(m_connection, m_window, XCB_CW_BACK_PIXEL, &value);
  xcb_clear_area(m_connection, 0, m_window, 0, 0, 0, 0);
  Sync();
}

void TestWindow::FillRectangle(int x, int y, int width, int height, Colour colour) {
  const std::uint32_t value = colour | m_alpha;
  xcb_change_gc(m_connection, m_graphics, XCB_GC_FOREGROUND, &value);
  const xcb_rectangle_t rectangle = {static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
                                     static_cast<std::uint16_t>(width),
                                     static_cast<std::uint16_t>(height)};
  xcb_poly_fill_rectangle(m_connection, m_window, m_graphics, 1, &rectangle);
  Sync();
}

std::uint32_t TestWindow::Atom(const std::string& name) {
  const XcbReply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
      m_connection,
      xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(name.size()), name.data()),
      nullptr));
  return atom ? atom->atom : static_cast<std::uint32_t>(XCB_ATOM_NONE);
}

void TestWindow::SetText(const std::string& property, const std::string& type,
                         const std::string& text) {
  xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, Atom(property), Atom(type), 8,
                      static_cast<std::uint32_t>(text.size()), text.data());
  Sync();
}

void TestWindow::Sync() {
  const XcbReply<xcb_get_input_focus_reply_t> reply(
      xcb_get_input_focus_reply(m_connection, xcb_get_input_focus(m_connection), nullptr));
  while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) {
    std::free(event);
  }
}

}  // namespace support
