// SDL's sound device, and the thread of SDL's that asks a node for sound.
//
// SDL opens and closes its device, and joins that thread, without any limit of time: a sound server
// that has stopped answering holds each of these. So the device is opened on a thread of its own
// ("open-sound"), which Open waits for only briefly, and closed on another ("close-sound"); Close
// lets go of the node first, which is then never called again.
//
// Ownership: what SDL calls back is owned here, by the opening thread until it ends, and by the
// closing thread once Close has given up.
//
// Threads: Open, Close, TakeFailure and WhileNotAsking on any thread, one after the other. fill
// runs on SDL's sound thread, with the link's mutex held.
//
// Failure: Open gives false with the error when it failed at once, TakeFailure when it fails later.
// A device that doesn't close in time is named in the log and closes when its server answers again;
// until then nobody may end SDL's sound, which would join the same thread a second time. One that
// is still being opened at the Close is closed as soon as it is open.
#ifndef ORVANE_OUTPUT_PLAYBACKDEVICE_H
#define ORVANE_OUTPUT_PLAYBACKDEVICE_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

struct SDL_AudioSpec;

namespace output {

class PlaybackDevice {
 public:
  using Fill = void (*)(void* node, std::uint8_t* stream, int length);

  PlaybackDevice();
  ~PlaybackDevice();
  PlaybackDevice(const PlaybackDevice&) = delete;
  PlaybackDevice& operator=(const PlaybackDevice&) = delete;

  // Opens the default device and starts it, for up to waitMs, and behind the caller after that.
  // wanted's callback and user data are set here.
  bool Open(const SDL_AudioSpec& wanted, Fill fill, void* node, int waitMs, std::string* error);
  // True, once, when an opening that Open did not wait for has failed.
  bool TakeFailure(std::string* error);
  // Runs work while fill is not running and can't begin; not at all when it is running now. Never
  // waits.
  void WhileNotAsking(const std::function<void()>& work);
  // Once fill returns it is not called again. No effect when nothing is open.
  void Close();

 private:
  struct Link;
  struct Opening;

  static void OpenDevice(Opening* opening);

  std::shared_ptr<Link> m_link;  // null unless Open was called
  std::shared_ptr<Opening> m_opening;
};

}  // namespace output

#endif
