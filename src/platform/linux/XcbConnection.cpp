#include "platform/linux/XcbConnection.h"

#include <poll.h>
#include <sys/socket.h>
#include <xcb/composite.h>
#include <xcb/shm.h>
#include <xcb/xcbext.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>
#include <system_error>
#include <thread>

extern "C" {
#include <libavutil/log.h>
}

#include "platform/Lock.h"

namespace platform {

namespace {

using Clock = std::chrono::steady_clock;

// Handing over file descriptors needs a local socket.
bool IsLocal(int fd) {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  return getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0 &&
         address.ss_family == AF_UNIX;
}

bool HasExtension(xcb_connection_t* connection, xcb_extension_t* extension) {
  const xcb_query_extension_reply_t* data = xcb_get_extension_data(connection, extension);
  return data != nullptr && data->present != 0;
}

bool OffersComposite(xcb_connection_t* connection) {
  if (!HasExtension(connection, &xcb_composite_id)) {
    return false;
  }
  const XcbReply<xcb_composite_query_version_reply_t> version(xcb_composite_query_version_reply(
      connection, xcb_composite_query_version(connection, 0, 2), nullptr));
  return version && (version->major_version > 0 || version->minor_version >= 2);
}

bool OffersSharedMemory(xcb_connection_t* connection) {
  if (!IsLocal(xcb_get_file_descriptor(connection)) || !HasExtension(connection, &xcb_shm_id)) {
    return false;
  }
  const XcbReply<xcb_shm_query_version_reply_t> version(
      xcb_shm_query_version_reply(connection, xcb_shm_query_version(connection), nullptr));
  return version && (version->major_version > 1 ||
                     (version->major_version == 1 && version->minor_version >= 2));
}

const xcb_screen_t* FindScreen(xcb_connection_t* connection, int number) {
  xcb_screen_iterator_t screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
  for (; screens.rem > 0 && number > 0; --number) {
    xcb_screen_next(&screens);
  }
  return screens.rem > 0 ? screens.data : nullptr;
}

void InternAtoms(xcb_connection_t* connection, XcbAtoms* atoms) {
  struct Name {
    const char* text;
    xcb_atom_t* atom;
    xcb_intern_atom_cookie_t cookie;
  };
  Name names[] = {{"_NET_CLIENT_LIST", &atoms->clientList, {}},
                  {"_NET_SUPPORTING_WM_CHECK", &atoms->managerCheck, {}},
                  {"_NET_WM_NAME", &atoms->name, {}},
                  {"UTF8_STRING", &atoms->utf8, {}},
                  {"COMPOUND_TEXT", &atoms->compoundText, {}},
                  {"WM_STATE", &atoms->legacyState, {}},
                  {"_NET_WM_STATE", &atoms->state, {}},
                  {"_NET_WM_STATE_HIDDEN", &atoms->hidden, {}}};
  for (Name& name : names) {
    const std::size_t length = std::char_traits<char>::length(name.text);
    name.cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(length), name.text);
  }
  for (Name& name : names) {
    const XcbReply<xcb_intern_atom_reply_t> reply(
        xcb_intern_atom_reply(connection, name.cookie, nullptr));
    if (reply) {
      *name.atom = reply->atom;
    }
  }
}

}  // namespace

XcbConnection::XcbConnection(xcb_connection_t* connection, int screen, int answerMs)
    : m_connection(connection),
      m_answerMs(answerMs),
      m_patienceMs(std::numeric_limits<int>::max()) {
  if (!Broken()) {
    m_screen = FindScreen(connection, screen);
  }
}

XcbConnection::~XcbConnection() {
  xcb_disconnect(m_connection);
}

std::unique_ptr<XcbConnection> XcbConnection::Connect(int connectMs, int answerMs) {
  XcbAttempt attempt(answerMs);
  std::unique_ptr<XcbConnection> link;
  if (!attempt.Await(connectMs, &link)) {
    av_log(nullptr, AV_LOG_ERROR, "X display \"%s\": does not answer\n", attempt.Display().c_str());
  }
  return link;
}

std::unique_ptr<XcbConnection> XcbConnection::Establish(const std::string& display, int answerMs) {
  int screen = 0;
  // The destructor also disposes of what the library gives for a failed connection.
  std::unique_ptr<XcbConnection> link(
      new XcbConnection(xcb_connect(display.c_str(), &screen), screen, answerMs));
  return link->Handshake() ? std::move(link) : nullptr;
}

bool XcbConnection::Handshake() {
  if (Broken() || m_screen == nullptr) {
    return false;
  }
  m_hasComposite = OffersComposite(m_connection);
  m_hasSharedMemory = OffersSharedMemory(m_connection);
  InternAtoms(m_connection, &m_atoms);
  return !Broken();
}

bool XcbConnection::Broken() const {
  return xcb_connection_has_error(m_connection) != 0;
}

bool XcbConnection::IsResponsive() {
  if (Broken()) {
    return false;
  }
  if (m_overdue) {
    void* reply = nullptr;
    m_overdue = !Poll(m_overdueSequence, 0, &reply, nullptr);
    std::free(reply);
  }
  return !m_overdue && !Broken();
}

XcbReply<xcb_generic_event_t> XcbConnection::NextEvent() {
  return XcbReply<xcb_generic_event_t>(xcb_poll_for_event(m_connection));
}

void* XcbConnection::TakeRaw(unsigned int sequence, bool* refused) {
  void* reply = nullptr;
  if (refused != nullptr) {
    *refused = false;
  }
  if (m_overdue) {
    // Sent before the server was found to be late, in one go with the request that is overdue.
    xcb_discard_reply(m_connection, sequence);
    return nullptr;
  }
  const auto start = Clock::now();
  if (!Poll(sequence, std::min(m_answerMs, m_patienceMs), &reply, refused)) {
    m_overdue = true;
    m_overdueSequence = sequence;
  }
  const auto waited = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
  m_patienceMs -= static_cast<int>(std::min<std::int64_t>(waited.count(), m_patienceMs));
  return reply;
}

bool XcbConnection::Poll(unsigned int sequence, int timeoutMs, void** reply, bool* refused) {
  const auto end = Clock::now() + std::chrono::milliseconds(timeoutMs);
  xcb_flush(m_connection);
  for (;;) {
    xcb_generic_error_t* error = nullptr;
    if (xcb_poll_for_reply(m_connection, sequence, reply, &error) != 0) {
      if (refused != nullptr) {
        *refused = error != nullptr;
      }
      std::free(error);
      return true;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    pollfd readable = {xcb_get_file_descriptor(m_connection), POLLIN, 0};
    if (left <= 0 || poll(&readable, 1, static_cast<int>(left)) == 0) {
      return false;
    }
  }
}

// Whichever of the two is later disposes of the link.
struct XcbAttempt::Shared {
  Mutex mutex;
  Condition changed;
  bool done ORVANE_GUARDED_BY(mutex) = false;
  std::unique_ptr<XcbConnection> link ORVANE_GUARDED_BY(mutex);
};

XcbAttempt::XcbAttempt(int answerMs) : m_shared(std::make_shared<Shared>()) {
  const char* variable = std::getenv("DISPLAY");
  m_display = variable != nullptr ? variable : "";
  try {
    std::thread([shared = m_shared, display = m_display, answerMs] {
      std::unique_ptr<XcbConnection> link = XcbConnection::Establish(display, answerMs);
      const Lock lock(shared->mutex);
      shared->link = std::move(link);
      shared->done = true;
      shared->changed.NotifyOne();
    }).detach();
  } catch (const std::system_error& error) {
    av_log(nullptr, AV_LOG_ERROR, "X display \"%s\": %s\n", m_display.c_str(), error.what());
    const Lock lock(m_shared->mutex);
    m_shared->done = true;
  }
}

XcbAttempt::~XcbAttempt() = default;

bool XcbAttempt::Await(int waitMs, std::unique_ptr<XcbConnection>* link) {
  const Lock lock(m_shared->mutex);
  if (!m_shared->changed.WaitFor(m_shared->mutex, std::chrono::milliseconds(waitMs),
                                 [this]()
                                     ORVANE_REQUIRES(m_shared->mutex) { return m_shared->done; })) {
    return false;
  }
  *link = std::move(m_shared->link);
  if (*link == nullptr) {
    av_log(nullptr, AV_LOG_ERROR, "X display \"%s\": can't be reached\n", m_display.c_str());
  }
  return true;
}

}  // namespace platform
