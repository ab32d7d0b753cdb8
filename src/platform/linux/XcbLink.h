// A private connection to the X server on which nothing waits without limit.
//
// The ordinary calls of an X library wait for their answer for as long as it takes; a worker that
// asks a server which has stopped would never come back. Here every answer is waited for up to the
// limit given to Connect. When one is late, no further request goes out before it has come
// (Answering), so a frozen server costs one limit and then nothing, and the connection goes on
// where it was once the server is back.
//
// Errors that answer requests without reply are events, which Answering and Take consume. A server
// that dies breaks the connection, for good; it ends nothing else.
//
// Threads: one thread at a time.
#ifndef ORVANE_PLATFORM_LINUX_XCBLINK_H
#define ORVANE_PLATFORM_LINUX_XCBLINK_H

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

class XcbLink {
 public:
  // To the display that the environment names. Null, with a line in the log, when there is none or
  // when it has not let this process in within connectMs. Each later answer is waited for up to
  // answerMs.
  static std::unique_ptr<XcbLink> Connect(int connectMs, int answerMs);
  ~XcbLink();

  XcbLink(const XcbLink&) = delete;
  XcbLink& operator=(const XcbLink&) = delete;

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
  bool Answering();
  // The answer to a request just sent; null when that is an error, late, or will never come.
  template <typename T>
  XcbReply<T> Take(unsigned int sequence) {
    return XcbReply<T>(static_cast<T*>(TakeRaw(sequence)));
  }
  // The next event, null when none has come.
  XcbReply<xcb_generic_event_t> NextEvent();

 private:
  XcbLink(xcb_connection_t* connection, int screen, int answerMs);
  static std::unique_ptr<XcbLink> Establish(const std::string& display, int answerMs);
  bool Handshake();
  void* TakeRaw(unsigned int sequence);
  // False when nothing has come in time.
  bool Poll(unsigned int sequence, int timeoutMs, void** reply);

  xcb_connection_t* m_connection;
  const xcb_screen_t* m_screen = nullptr;
  int m_answerMs;
  XcbAtoms m_atoms;
  bool m_hasComposite = false;
  bool m_hasSharedMemory = false;
  bool m_overdue = false;  // the answer to m_overdueSequence has not come in time
  unsigned int m_overdueSequence = 0;
};

}  // namespace platform

#endif
