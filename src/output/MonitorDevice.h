// SDL's sound device, and the thread of SDL's that asks a node for sound.
//
// SDL ends that thread and the connection to the sound server without any limit of time, and a
// server that has stopped answering holds both. So Close lets go of the node first, which is then
// never called again, and leaves the rest to a thread of its own that it waits for only briefly.
//
// Ownership: what SDL calls back is owned here, and by the closing thread once Close has given up.
//
// Threads: Open and Close on any thread, one after the other. fill runs on SDL's sound thread.
//
// Failure: Open gives false and SDL_GetError says why. A device that doesn't close in time is named
// in the log and closes when its server answers again; until then nobody may end SDL's sound, which
// would join the same thread a second time.
#ifndef ORVANE_OUTPUT_MONITORDEVICE_H
#define ORVANE_OUTPUT_MONITORDEVICE_H

#include <cstdint>

struct SDL_AudioSpec;

namespace output {

class MonitorDevice {
 public:
  using Fill = void (*)(void* node, std::uint8_t* stream, int length);

  MonitorDevice() = default;
  ~MonitorDevice() { Close(); }
  MonitorDevice(const MonitorDevice&) = delete;
  MonitorDevice& operator=(const MonitorDevice&) = delete;

  // Opens the default device and starts it. callback and userdata of wanted are set here.
  bool Open(SDL_AudioSpec* wanted, Fill fill, void* node);
  // Once fill returns it is not called again. No effect when nothing is open.
  void Close();

 private:
  struct Link;

  Link* m_link = nullptr;  // null unless open
};

}  // namespace output

#endif
