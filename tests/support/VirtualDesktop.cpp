#include "support/VirtualDesktop.h"

#include <signal.h>
#include <xcb/randr.h>

#include <cstdlib>
#include <memory>

#include "support/TestWindow.h"
#include "support/XcbReply.h"

namespace support {

namespace {

constexpr int kStartMs = 60000;
constexpr int kCompositorMs = 20000;
constexpr int kCompositorAttempts = 3;
constexpr Colour kNoPixel = 0xffffffff;

// Window managers announce themselves well before they take windows, and one that is mapped in
// between stays without a frame: show the probe again and again until it gets one.
bool FramesAgain(TestWindow* probe) {
  probe->Unmap();
  probe->Map();
  return WaitFor([probe] { return probe->Framed(); }, 500);
}

// One that takes a window while that goes and comes may take the last going for a part of its own
// work, and keep the frame: show and hide the probe again and again until it gives it up.
bool LosesFrame(TestWindow* probe) {
  probe->Map();
  probe->Unmap();
  return WaitFor([probe] { return !probe->Framed(); }, 500);
}

bool SelectionHasOwner(const std::string& display, const std::string& name) {
  const XcbConnection connection = ConnectXcb(display);
  if (!connection) {
    return false;
  }
  xcb_connection_t* c = connection.get();
  const XcbReply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
      c, xcb_intern_atom(c, 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr));
  if (!atom) {
    return false;
  }
  const XcbReply<xcb_get_selection_owner_reply_t> owner(
      xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, atom->atom), nullptr));
  return owner && owner->owner != XCB_NONE;
}

ScreenPicture ReadArea(const std::string& display, int x, int y, int width, int height) {
  ScreenPicture picture;
  const XcbConnection connection = ConnectXcb(display);
  if (!connection) {
    return picture;
  }
  const xcb_screen_t* screen = FirstScreen(connection.get());
  const int wantedWidth = width > 0 ? width : screen->width_in_pixels;
  const int wantedHeight = height > 0 ? height : screen->height_in_pixels;
  const XcbReply<xcb_get_image_reply_t> image(
      xcb_get_image_reply(connection.get(),
                          xcb_get_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, screen->root,
                                        static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
                                        static_cast<std::uint16_t>(wantedWidth),
                                        static_cast<std::uint16_t>(wantedHeight), ~0U),
                          nullptr));
  if (!image) {
    return picture;
  }
  picture.width = wantedWidth;
  picture.height = wantedHeight;
  const std::size_t pixels =
      static_cast<std::size_t>(wantedWidth) * static_cast<std::size_t>(wantedHeight);
  picture.rgb.resize(pixels * 3);
  const std::uint8_t* data = xcb_get_image_data(image.get());
  for (std::size_t i = 0; i < pixels; ++i) {
    picture.rgb[i * 3] = data[i * 4 + 2];
    picture.rgb[i * 3 + 1] = data[i * 4 + 1];
    picture.rgb[i * 3 + 2] = data[i * 4];
  }
  return picture;
}

// What works on this screen is in an X session, whatever session the test was started in.
void LeaveWayland() {
  unsetenv("WAYLAND_DISPLAY");
  unsetenv("XDG_SESSION_TYPE");
}

}  // namespace

Colour ScreenPicture::At(int x, int y) const {
  if (x < 0 || y < 0 || x >= width || y >= height) {
    return kNoPixel;
  }
  const std::size_t at = (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                          static_cast<std::size_t>(x)) *
                         3;
  return static_cast<Colour>(rgb[at]) << 16 | static_cast<Colour>(rgb[at + 1]) << 8 | rgb[at + 2];
}

VirtualDesktop::VirtualDesktop() = default;

VirtualDesktop::~VirtualDesktop() {
  Stop();
}

bool VirtualDesktop::Start(const DesktopOptions& options) {
  Stop();
  if (!StartServer(options)) {
    return false;
  }
  if (options.useInThisProcess) {
    const char* former = std::getenv("DISPLAY");
    m_formerDisplay = former != nullptr ? std::optional<std::string>(former) : std::nullopt;
    setenv("DISPLAY", m_display.c_str(), 1);
    LeaveWayland();
    m_inUseHere = true;
  }
  return (!options.windowManager || StartWindowManager()) &&
         (!options.compositor || StartCompositor());
}

bool VirtualDesktop::StartServer(const DesktopOptions& options) {
  // The server itself looks for a free number and writes it down once it is ready for clients. It
  // repeats no key (-r): on a busy machine one that is held for a moment would come twice.
  const std::string numberFile = m_directory.File("number");
  std::vector<std::string> arguments = {
      "sh",
      "-c",
      "exec Xvfb \"$@\" -displayfd 3 3>\"$0\"",
      numberFile,
      "-screen",
      "0",
      std::to_string(options.width) + "x" + std::to_string(options.height) + "x24",
      "-ac",
      "-noreset",
      "-r",
      "-nolisten",
      "tcp"};
  arguments.insert(arguments.end(), options.serverOptions.begin(), options.serverOptions.end());
  if (!m_server.Start(arguments, {}, m_directory.File("output"))) {
    return false;
  }
  std::string number;
  const bool ready = WaitFor(
      [&] {
        number = ReadFile(numberFile);
        return !m_server.Running() || (!number.empty() && number.back() == '\n');
      },
      kStartMs);
  if (!ready || number.empty() || !m_server.Running()) {
    return false;
  }
  number.pop_back();
  m_display = ":" + number;
  return true;
}

bool VirtualDesktop::StartWindowManager() {
  // A home of its own, so that no setting of the user's changes what the test sees.
  std::map<std::string, std::string> environment = Environment();
  environment["HOME"] = m_directory.Path();
  environment["XDG_CONFIG_HOME"] = m_directory.Path();
  environment["XDG_CACHE_HOME"] = m_directory.Path();
  TestWindowOptions options;
  options.title = "probe";
  m_probe = std::make_unique<TestWindow>();
  if (!m_probe->Open(m_display, options) ||
      !m_windowManager.Start({"openbox", "--sm-disable"}, environment,
                             m_directory.File("output")) ||
      !WaitFor([this] { return m_probe->Framed() || FramesAgain(m_probe.get()); }, kStartMs)) {
    return false;
  }
  return WaitFor([this] { return LosesFrame(m_probe.get()); }, kStartMs);
}

bool VirtualDesktop::StartCompositor() {
  std::map<std::string, std::string> environment = Environment();
  environment["HOME"] = m_directory.Path();
  environment["XDG_CONFIG_HOME"] = m_directory.Path();
  // On a busy machine it has been seen to run and never take the screen; then it is started anew.
  for (int attempt = 0; attempt < kCompositorAttempts; ++attempt) {
    if (!m_compositor.Start({"picom", "--backend", "xrender", "--config", "/dev/null"}, environment,
                            m_directory.File("output"))) {
      return false;
    }
    if (WaitFor([this] { return SelectionHasOwner(m_display, "_NET_WM_CM_S0"); }, kCompositorMs)) {
      return true;
    }
    m_compositor.Stop();
  }
  return false;
}

void VirtualDesktop::Stop() {
  ThawServer();
  m_probe.reset();
  m_compositor.Stop();
  m_windowManager.Stop();
  m_server.Stop();
  if (m_inUseHere) {
    if (m_formerDisplay) {
      setenv("DISPLAY", m_formerDisplay->c_str(), 1);
    } else {
      unsetenv("DISPLAY");
    }
    m_inUseHere = false;
  }
  m_display.clear();
}

std::string VirtualDesktop::Output() const {
  return ReadFile(m_directory.File("output"));
}

bool VirtualDesktop::Screenshot(const std::string& path) const {
  return Run({"import", "-window", "root", "png:" + path}, kStartMs, Environment()).status == 0;
}

ScreenPicture VirtualDesktop::ReadScreen() const {
  return ReadArea(m_display, 0, 0, 0, 0);
}

Colour VirtualDesktop::ReadPixel(int x, int y) const {
  return ReadArea(m_display, x, y, 1, 1).At(0, 0);
}

bool VirtualDesktop::Resize(int width, int height) {
  const XcbConnection connection = ConnectXcb(m_display);
  if (!connection) {
    return false;
  }
  xcb_connection_t* c = connection.get();
  const xcb_window_t root = FirstScreen(c)->root;
  const XcbReply<xcb_randr_get_screen_resources_reply_t> parts(
      xcb_randr_get_screen_resources_reply(c, xcb_randr_get_screen_resources(c, root), nullptr));
  if (!parts || parts->num_crtcs == 0) {
    return false;
  }
  // A monitor that is lit keeps the screen as large as itself.
  const xcb_randr_crtc_t crtc = *xcb_randr_get_screen_resources_crtcs(parts.get());
  const XcbReply<xcb_randr_set_crtc_config_reply_t> dark(xcb_randr_set_crtc_config_reply(
      c,
      xcb_randr_set_crtc_config(c, crtc, XCB_CURRENT_TIME, parts->config_timestamp, 0, 0, XCB_NONE,
                                XCB_RANDR_ROTATION_ROTATE_0, 0, nullptr),
      nullptr));
  const XcbReply<xcb_generic_error_t> error(xcb_request_check(
      c, xcb_randr_set_screen_size_checked(
             c, root, static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height),
             static_cast<std::uint32_t>(width) / 4, static_cast<std::uint32_t>(height) / 4)));
  return dark && !error;
}

bool VirtualDesktop::Blank() {
  const XcbConnection connection = ConnectXcb(m_display);
  return connection && !XcbReply<xcb_generic_error_t>(xcb_request_check(
                           connection.get(), xcb_force_screen_saver_checked(
                                                 connection.get(), XCB_SCREEN_SAVER_ACTIVE)));
}

void VirtualDesktop::KillServer() {
  m_server.Signal(SIGKILL);
  m_server.Wait(kStartMs);
}

void VirtualDesktop::FreezeServer() {
  m_server.Signal(SIGSTOP);
}

void VirtualDesktop::ThawServer() {
  m_server.Signal(SIGCONT);
}

void VirtualDesktop::KillWindowManager() {
  m_windowManager.Signal(SIGKILL);
  m_windowManager.Wait(kStartMs);
}

}  // namespace support
