#include "platform/linux/XcbLink.h"

#include <poll.h>
#include <sys/socket.h>
#include <xcb/composite.h>
#include <xcb/shm.h>
#include <xcb/xcbext.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <system_error>
#include <thread>

extern "C" {
#include <libavutil/log.h>
}

namespace platform {

namespace {

using Clock = std::chrono::steady_clock;

// A connection being made by a thread of its own, since the library's set-up can't be interrupted.
// Shared by that thread and the one that waits for it; whichever is later disposes of the link.
struct Attempt {
  std::mutex mutex;
  std::condition_variable changed;
  bool done = false;              // guarded by mutex
  std::unique_ptr<XcbLink> link;  // guarded by mutex
};

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

XcbLink::XcbLink(xcb_connection_t* connection, int screen, int answerMs)
    : m_connection(connection), m_answerMs(answerMs) {
  if (!Broken()) {
    m_screen = FindScreen(connection, screen);
  }
}

XcbLink::~XcbLink() {
  xcb_disconnect(m_connection);
}

std::unique_ptr<XcbLink> XcbLink::Connect(int connectMs, int answerMs) {
  const char* variable = std::getenv("DISPLAY");
  const std::string display = variable != nullptr ? variable : "";
  const auto attempt = std::make_shared<Attempt>();
  try {
    std::thread([attempt, display, answerMs] {
      std::unique_ptr<XcbLink> link = Establish(display, answerMs);
      const std::lock_guard<std::mutex> lock(attempt->mutex);
      attempt->link = std::move(link);
      attempt->done = true;
      attempt->changed.notify_one();
    }).detach();
  } catch (const std::system_error& error) {
    av_log(nullptr, AV_LOG_ERROR, "X display \"%s\": %s\n", display.c_str(), error.what());
    return nullptr;
  }
  std::unique_lock<std::mutex> lock(attempt->mutex);
  const bool done = attempt->changed.wait_for(lock, std::chrono::milliseconds(connectMs),
                                              [&attempt] { return attempt->done; });
  if (!attempt->link) {
    av_log(nullptr, AV_LOG_ERROR, "X display \"%s\": %s\n", display.c_str(),
           done ? "can't be reached" : "does not answer");
  }
  return std::move(attempt->link);
}

std::unique_ptr<XcbLink> XcbLink::Establish(const std::string& display, int answerMs) {
  int screen = 0;
  // The destructor also disposes of what the library gives for a failed connection.
  std::unique_ptr<XcbLink> link(
      new XcbLink(xcb_connect(display.c_str(), &screen), screen, answerMs));
  return link->Handshake() ? std::move(link) : nullptr;
}

bool XcbLink::Handshake() {
  if (Broken() || m_screen == nullptr) {
    return false;
  }
  m_hasComposite = OffersComposite(m_connection);
  m_hasSharedMemory = OffersSharedMemory(m_connection);
  InternAtoms(m_connection, &m_atoms);
  return !Broken();
}

bool XcbLink::Broken() const {
  return xcb_connection_has_error(m_connection) != 0;
}

bool XcbLink::Answering() {
  if (Broken()) {
    return false;
  }
  if (m_overdue) {
    void* reply = nullptr;
    m_overdue = !Poll(m_overdueSequence, 0, &reply);
    std::free(reply);
  }
  return !m_overdue && !Broken();
}

XcbReply<xcb_generic_event_t> XcbLink::NextEvent() {
  return XcbReply<xcb_generic_event_t>(xcb_poll_for_event(m_connection));
}

void* XcbLink::TakeRaw(unsigned int sequence) {
  void* reply = nullptr;
  if (m_overdue) {
    // Sent before the server was found to be late, in one go with the request that is overdue.
    xcb_discard_reply(m_connection, sequence);
  } else if (!Poll(sequence, m_answerMs, &reply)) {
    m_overdue = true;
    m_overdueSequence = sequence;
  }
  return reply;
}

bool XcbLink::Poll(unsigned int sequence, int timeoutMs, void** reply) {
  const auto end = Clock::now() + std::chrono::milliseconds(timeoutMs);
  xcb_flush(m_connection);
  for (;;) {
    xcb_generic_error_t* error = nullptr;
    if (xcb_poll_for_reply(m_connection, sequence, reply, &error) != 0) {
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

}  // namespace platform
