#include "platform/linux/XcbWindowGrabber.h"

#include <limits>

#include "platform/linux/XcbWindowState.h"

extern "C" {
#include <libavutil/log.h>
}

namespace platform {

namespace {

// What the end of a capture may have to wait for: a connection and one answer, or all answers of
// one tick.
constexpr int kConnectMs = 250;
constexpr int kAnswerMs = 150;
constexpr int kTickMs = 300;
constexpr int kBytesPerPixel = 4;
constexpr std::uint32_t kAllPlanes = ~0U;
// Twice the area of the largest screens: a window beyond that is not one that somebody looks at,
// and its picture would take the memory of the machine.
constexpr std::int64_t kMaxPixels = 67108864;

const xcb_visualtype_t* FindVisual(const xcb_screen_t* screen, xcb_visualid_t id) {
  for (auto depths = xcb_screen_allowed_depths_iterator(screen); depths.rem > 0;
       xcb_depth_next(&depths)) {
    for (auto visuals = xcb_depth_visuals_iterator(depths.data); visuals.rem > 0;
         xcb_visualtype_next(&visuals)) {
      if (visuals.data->visual_id == id) {
        return visuals.data;
      }
    }
  }
  return nullptr;
}

int BitsPerPixel(const xcb_setup_t* setup, int depth) {
  for (auto formats = xcb_setup_pixmap_formats_iterator(setup); formats.rem > 0;
       xcb_format_next(&formats)) {
    if (formats.data->depth == depth) {
      return formats.data->bits_per_pixel;
    }
  }
  return 0;
}

// Blue in the lowest byte of four, as every display of 24 or 32 bits on this kind of machine.
bool Readable(const XcbConnection& link, xcb_visualid_t id, int depth) {
  const xcb_setup_t* setup = xcb_get_setup(link.Get());
  const xcb_visualtype_t* visual = FindVisual(link.Screen(), id);
  return visual != nullptr && visual->red_mask == 0xff0000 && visual->green_mask == 0x00ff00 &&
         visual->blue_mask == 0x0000ff && setup->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST &&
         BitsPerPixel(setup, depth) == kBytesPerPixel * 8;
}

}  // namespace

std::unique_ptr<XcbWindowGrabber> XcbWindowGrabber::Open(WindowHandle window) {
  if (window == 0 || window > std::numeric_limits<xcb_window_t>::max()) {
    return nullptr;
  }
  std::unique_ptr<XcbWindowGrabber> grabber(
      new XcbWindowGrabber(static_cast<xcb_window_t>(window)));
  grabber->Connect(kConnectMs);
  return grabber->m_gone ? nullptr : std::move(grabber);
}

XcbWindowGrabber::XcbWindowGrabber(xcb_window_t window)
    : m_attempt(std::make_unique<XcbAttempt>(kAnswerMs)), m_window(window) {}

bool XcbWindowGrabber::IsSilent() {
  if (!m_gone && !m_attached) {
    Connect(0);
  }
  return !m_gone && !m_attached;
}

// Comes as far on the way to the window as the server answers in time.
void XcbWindowGrabber::Connect(int waitMs) {
  if (m_attempt) {
    if (!m_attempt->Await(waitMs, &m_link)) {
      return;
    }
    m_attempt.reset();
    m_gone = !m_link || !HasMeans();
  }
  if (!m_gone && m_link->IsResponsive()) {
    m_link->Allow(kAnswerMs);
    Attach();
  }
  m_gone = m_gone || m_link->Broken();
}

bool XcbWindowGrabber::HasMeans() {
  m_pixmap = xcb_generate_id(m_link->Get());
  m_segment = xcb_generate_id(m_link->Get());
  m_sharing = m_link->HasSharedMemory();
  if (!m_link->HasComposite()) {
    av_log(nullptr, AV_LOG_ERROR, "window 0x%x: the X server has no Composite\n", m_window);
  }
  return m_link->HasComposite();
}

void XcbWindowGrabber::Attach() {
  xcb_connection_t* c = m_link->Get();
  // The end of the window comes as an event, so that another window that the server gives the same
  // number is not taken for it.
  const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  xcb_change_window_attributes(c, m_window, XCB_CW_EVENT_MASK, &events);
  const auto attributesAsked = xcb_get_window_attributes(c, m_window);
  const auto geometryAsked = xcb_get_geometry(c, m_window);
  bool noAttributes = false;
  bool noGeometry = false;
  const auto attributes =
      m_link->Take<xcb_get_window_attributes_reply_t>(attributesAsked.sequence, &noAttributes);
  const auto geometry = m_link->Take<xcb_get_geometry_reply_t>(geometryAsked.sequence, &noGeometry);
  if (noAttributes || noGeometry ||
      (attributes && attributes->_class != XCB_WINDOW_CLASS_INPUT_OUTPUT)) {
    av_log(nullptr, AV_LOG_ERROR, "window 0x%x: there is none\n", m_window);
    m_gone = true;
  } else if (attributes && geometry && !Readable(*m_link, attributes->visual, geometry->depth)) {
    av_log(nullptr, AV_LOG_ERROR, "window 0x%x: pixels of depth %d can't be read\n", m_window,
           geometry->depth);
    m_gone = true;
  } else if (attributes && geometry) {
    m_attached = true;
    xcb_composite_redirect_window(c, m_window, XCB_COMPOSITE_REDIRECT_AUTOMATIC);
    TakeGeometry(*geometry);
  }
}

void XcbWindowGrabber::TakeGeometry(const xcb_get_geometry_reply_t& geometry) {
  m_size = {geometry.width, geometry.height};
  m_border = geometry.border_width;
}

void XcbWindowGrabber::Lose(const char* cause) {
  if (!m_gone) {
    av_log(nullptr, AV_LOG_WARNING, "window 0x%x: %s\n", m_window, cause);
    m_gone = true;
  }
}

bool XcbWindowGrabber::Ready() {
  if (IsSilent() || m_gone) {
    return false;
  }
  if (m_link->Broken()) {
    Lose("the X server is gone");
  }
  const bool answering = m_link->IsResponsive();
  TakeEvents();
  return answering && !m_gone;
}

void XcbWindowGrabber::TakeEvents() {
  while (const XcbReply<xcb_generic_event_t> event = m_link->NextEvent()) {
    const auto* destroyed = reinterpret_cast<const xcb_destroy_notify_event_t*>(event.get());
    if ((event->response_type & 0x7f) == XCB_DESTROY_NOTIFY && destroyed->window == m_window) {
      Lose("closed");
    }
  }
}

bool XcbWindowGrabber::UpdateGeometry() {
  if (!Ready()) {
    return false;
  }
  bool refused = false;
  const auto geometry = m_link->Take<xcb_get_geometry_reply_t>(
      xcb_get_geometry(m_link->Get(), m_window).sequence, &refused);
  if (geometry) {
    TakeGeometry(*geometry);
  } else if (refused) {
    Lose("closed");
  }
  // What ended while the answer was on its way.
  Ready();
  return !m_gone;
}

// The server was asked at the tick's beginning; since then an event tells.
bool XcbWindowGrabber::Exists() {
  Ready();
  return !m_gone;
}

Size XcbWindowGrabber::ClientSize() {
  if (m_link) {
    m_link->Allow(kTickMs);
  }
  UpdateGeometry();
  return m_gone ? Size() : m_size;
}

bool XcbWindowGrabber::IsMinimised() {
  if (Ready()) {
    const Visibility showing = TakeShowing(*m_link, AskShowing(*m_link, m_window));
    if (showing != Visibility::kUnknown) {
      m_minimised = showing == Visibility::kHidden;
    }
  }
  return !m_gone && m_minimised;
}

bool XcbWindowGrabber::TooLarge() {
  const bool tooLarge = static_cast<std::int64_t>(m_size.width) * m_size.height > kMaxPixels;
  if (tooLarge && !m_tooLarge) {
    av_log(nullptr, AV_LOG_ERROR, "window 0x%x: %d x %d is too large\n", m_window, m_size.width,
           m_size.height);
  }
  m_tooLarge = tooLarge;
  return tooLarge;
}

std::size_t XcbWindowGrabber::PictureBytes() const {
  return static_cast<std::size_t>(m_size.width) * static_cast<std::size_t>(m_size.height) *
         kBytesPerPixel;
}

bool XcbWindowGrabber::Grab(GrabbedPicture* picture) {
  m_sent.reset();
  if (!Ready() || TooLarge()) {
    return false;
  }
  return ShareMemory() ? GrabShared(picture) : GrabSent(picture);
}

bool XcbWindowGrabber::ShareMemory() {
  if (!m_sharing || m_block.Size() == PictureBytes()) {
    return m_sharing;
  }
  StopSharing();
  const int file = m_block.Allocate(PictureBytes()) ? m_block.Duplicate() : -1;
  if (file < 0) {
    m_block.Free();
    return false;
  }
  // The connection closes the descriptor once it is sent.
  xcb_shm_attach_fd(m_link->Get(), m_segment, file, 0);
  return true;
}

void XcbWindowGrabber::StopSharing() {
  if (m_block.Size() != 0) {
    xcb_shm_detach(m_link->Get(), m_segment);
    m_block.Free();
  }
}

xcb_get_geometry_cookie_t XcbWindowGrabber::NamePicture() {
  // The number is free again after Release, so one serves for ever.
  xcb_composite_name_window_pixmap(m_link->Get(), m_window, m_pixmap);
  return xcb_get_geometry(m_link->Get(), m_pixmap);
}

void XcbWindowGrabber::Release() {
  xcb_free_pixmap(m_link->Get(), m_pixmap);
}

bool XcbWindowGrabber::Fits(xcb_get_geometry_cookie_t request) {
  const auto geometry = m_link->Take<xcb_get_geometry_reply_t>(request.sequence);
  return geometry && geometry->width == m_size.width + 2 * m_border &&
         geometry->height == m_size.height + 2 * m_border;
}

bool XcbWindowGrabber::GrabShared(GrabbedPicture* picture) {
  const xcb_get_geometry_cookie_t named = NamePicture();
  const auto border = static_cast<std::int16_t>(m_border);
  const xcb_shm_get_image_cookie_t requested = xcb_shm_get_image(
      m_link->Get(), m_pixmap, border, border, static_cast<std::uint16_t>(m_size.width),
      static_cast<std::uint16_t>(m_size.height), kAllPlanes, XCB_IMAGE_FORMAT_Z_PIXMAP, m_segment,
      0);
  Release();
  const bool fits = Fits(named);
  bool refused = false;
  const auto image = m_link->Take<xcb_shm_get_image_reply_t>(requested.sequence, &refused);
  if (!fits || (!image && !refused) || !Ready()) {
    return false;
  }
  if (!image) {
    // The picture was there and of the right size: it is the memory that the server refuses.
    av_log(nullptr, AV_LOG_WARNING, "window 0x%x: the X server shares no memory\n", m_window);
    StopSharing();
    m_sharing = false;
    return GrabSent(picture);
  }
  *picture = {m_block.Data(), m_size.width * kBytesPerPixel, m_size};
  return true;
}

bool XcbWindowGrabber::GrabSent(GrabbedPicture* picture) {
  const xcb_get_geometry_cookie_t named = NamePicture();
  const auto border = static_cast<std::int16_t>(m_border);
  const xcb_get_image_cookie_t requested =
      xcb_get_image(m_link->Get(), XCB_IMAGE_FORMAT_Z_PIXMAP, m_pixmap, border, border,
                    static_cast<std::uint16_t>(m_size.width),
                    static_cast<std::uint16_t>(m_size.height), kAllPlanes);
  Release();
  const bool fits = Fits(named);
  m_sent = m_link->Take<xcb_get_image_reply_t>(requested.sequence);
  if (!fits || !m_sent || !Ready() ||
      static_cast<std::size_t>(xcb_get_image_data_length(m_sent.get())) < PictureBytes()) {
    return false;
  }
  *picture = {xcb_get_image_data(m_sent.get()), m_size.width * kBytesPerPixel, m_size};
  return true;
}

}  // namespace platform
