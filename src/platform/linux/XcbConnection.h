// A private connection to the X server on which nothing waits without limit.
//
// The ordinary calls of an X library wait for their answer for as long as it takes; a worker that
// asks a server which has stopped would never come back. Here every answer is waited for up to the
// limit given to Connect. When one is late, no further request goes out before it has come
// (IsResponsive), so a frozen server costs one limit and then nothing, and the connection goes on
// where it was once the server is back. That an answer is late tells nothing: only an error, which
// Take tells apart, is a no.
//
// Errors that answer requests without reply are events, which IsResponsive and Take consume. A
// server that dies breaks the connection, for good; it ends nothing else.
//
// Threads: one thread at a time.
#ifndef ORVANE_PLATFORM_LINUX_XCBCONNECTION_H
#define ORVANE_PLATFORM_LINUX_XCBCONNECTION_H

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace platform {

struct FreeXcbReply {
  void operator()(void* reply) const { std::free(reply); }
};
template <typename T>
using XcbReply = std::unique_ptr<T, FreeXcbReply>;

// Names that the window system asks for, as the server numbers them.
struct XcbAtoms {
  xcb_atom_t clientList = XCB_ATOM_NONE;
  xcb_atom_t managerCheck = XCB_ATOM_NONE;
  xcb_atom_t name = XCB_ATOM_NONE;
  xcb_atom_t utf8 = XCB_ATOM_NONE;
  xcb_atom_t compoundText = XCB_ATOM_NONE;
  xcb_atom_t legacyState = XCB_ATOM_NONE;
  xcb_atom_t state = XCB_ATOM_NONE;
  xcb_atom_t hidden = XCB_ATOM_NONE;
};

class XcbConnection {
 public:
  // To the display that the environment names. Null, with a line in the log, when there is none or
  // when it has not let this process in within connectMs. Each later answer is waited for up to
  // answerMs. Whoever would wait on takes an XcbAttempt instead.
  static std::unique_ptr<XcbConnection> Connect(int connectMs, int answerMs);
  ~XcbConnection();

  XcbConnection(const XcbConnection&) = delete;
  XcbConnection& operator=(const XcbConnection&) = delete;

  xcb_connection_t* Get() const { return m_connection; }
  const xcb_screen_t* Screen() const { return m_screen; }
  const XcbAtoms& Atoms() const { return m_atoms; }
  // Windows can be redirected and their pixmaps named.
  bool HasComposite() const { return m_hasComposite; }
  // Memory of this process can be handed to the server.
  bool HasSharedMemory() const { return m_hasSharedMemory; }

  // The server is gone.
  bool Broken() const;
  // False while it is gone or an answer is overdue: then send nothing.
  bool IsResponsive();
  // The answer to a request just sent; null when that is an error, which *refused tells, is late or
  // will never come.
  template <typename T>
  XcbReply<T> Take(unsigned int sequence, bool* refused = nullptr) {
    return XcbReply<T>(static_cast<T*>(TakeRaw(sequence, refused)));
  }
  // From now on all answers together are waited for no longer than that, until the next Allow; once
  // it is used up they are late.
  void Allow(int patienceMs) { m_patienceMs = patienceMs; }
  // The next event, null when none has come.
  XcbReply<xcb_generic_event_t> NextEvent();

 private:
  friend class XcbAttempt;

  XcbConnection(xcb_connection_t* connection, int screen, int answerMs);
  static std::unique_ptr<XcbConnection> Establish(const std::string& display, int answerMs);
  bool Handshake();
  void* TakeRaw(unsigned int sequence, bool* refused);
  // False when nothing has come in time.
  bool Poll(unsigned int sequence, int timeoutMs, void** reply, bool* refused);

  xcb_connection_t* m_connection;
  const xcb_screen_t* m_screen = nullptr;
  int m_answerMs;
  int m_patienceMs;  // left for further answers
  XcbAtoms m_atoms;
  bool m_hasComposite = false;
  bool m_hasSharedMemory = false;
  bool m_overdue = false;  // the answer to m_overdueSequence has not come in time
  unsigned int m_overdueSequence = 0;
};

// A connection being made by a thread of its own, since the library's set-up can't be interrupted.
// That thread may outlive the attempt; it then disposes of what comes. One thread at a time.
class XcbAttempt {
 public:
  // Begins to connect to the display that the environment names.
  explicit XcbAttempt(int answerMs);
  ~XcbAttempt();

  XcbAttempt(const XcbAttempt&) = delete;
  XcbAttempt& operator=(const XcbAttempt&) = delete;

  // True once it is over; *link is then the connection, or null, which the log says. Once only.
  bool Await(int waitMs, std::unique_ptr<XcbConnection>* link);
  const std::string& Display() const { return m_display; }

 private:
  struct Shared;

  std::string m_display;
  std::shared_ptr<Shared> m_shared;
};

}  // namespace platform

#endif
