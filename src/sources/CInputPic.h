// Turns one image file into a still layer.
//
// Flow: Start decodes the first picture of the file; a worker then sends it to the video outputs 25
// times a second, so that to a consumer it looks like any live source. All that goes out are
// references to one buffer in RGB24 with packed rows: a still picture costs one decoding, whatever
// its size. One that is larger than the scene can ever show is reduced at once (see StillSize.h).
// Transparency is dropped; a picture is shown as it is stored, not as its orientation tag
// says.
//
// Ownership: the node owns the picture from Start to Stop; references that went out outlive it.
//
// Threads: Start, Stop and deletion on the user interface thread. From Start to Stop the worker
// alone touches the picture.
//
// Failure: a file that is missing, no regular file, over 256 MiB, of more than 200 million pixels
// or no picture makes Start -1 and leaves the node without a worker; the log names the path and the
// cause.
#ifndef ORVANE_SOURCES_CINPUTPIC_H
#define ORVANE_SOURCES_CINPUTPIC_H

#include <atomic>
#include <cstdint>
#include <string>

extern "C" {
#include <libavutil/frame.h>
}

#include "media/CSrcInterface.h"
#include "media/PacedTicker.h"
#include "media/Worker.h"

class DeviceCatalogue;

class CInputPic : public CSrcInterface {
 public:
  // path: UTF-8, in the local file system.
  explicit CInputPic(std::string path);
  // Frees what a failed Start left. Stop comes before.
  ~CInputPic() override;

  // 0, or -1 when the file gives no picture. A file that keeps its reader busy for 5 s is given up;
  // a read that the kernel holds, on a network disk that is gone, can't be.
  int Start() override;
  // Gives the picture up too.
  int Stop() override;

 protected:
  // Decodes the picture; 0 or -1.
  int Open();
  // Sends the picture if it is due, else sleeps a little.
  void PictureTurn(media::PacedTicker* ticker);

 private:
  void Run();

  std::atomic<bool> m_stop{false};
  media::Worker m_thread;
  std::string m_path;
  AVFrame* m_picture = nullptr;
  DeviceCatalogue* m_catalogue;
};

#endif
