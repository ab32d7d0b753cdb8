// What XCB gives, freed by itself. For the screens and the windows of the tests.
//
// Threads: any one thread at a time per connection.
#ifndef ORVANE_TESTS_SUPPORT_XCBREPLY_H
#define ORVANE_TESTS_SUPPORT_XCBREPLY_H

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

namespace support {

struct DisconnectXcb {
  void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
struct FreeReply {
  void operator()(void* memory) const { std::free(memory); }
};
using XcbConnection = std::unique_ptr<xcb_connection_t, DisconnectXcb>;
template <typename T>
using XcbReply = std::unique_ptr<T, FreeReply>;

// Null when the server is not there.
inline XcbConnection ConnectXcb(const std::string& display) {
  XcbConnection connection(xcb_connect(display.c_str(), nullptr));
  if (xcb_connection_has_error(connection.get()) != 0) {
    connection.reset();
  }
  return connection;
}

inline const xcb_screen_t* FirstScreen(xcb_connection_t* connection) {
  return xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
}

// XCB_NONE when nobody has made that name.
inline xcb_atom_t FindAtom(xcb_connection_t* connection, const std::string& name) {
  const XcbReply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
      connection,
      xcb_intern_atom(connection, 1, static_cast<std::uint16_t>(name.size()), name.data()),
      nullptr));
  return atom ? atom->atom : static_cast<xcb_atom_t>(XCB_NONE);
}

}  // namespace support

#endif
