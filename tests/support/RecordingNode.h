// A node that keeps every frame it is sent until the test takes it: the end of a graph under test.
#ifndef ORVANE_TESTS_SUPPORT_RECORDINGNODE_H
#define ORVANE_TESTS_SUPPORT_RECORDINGNODE_H

#include "media/CSrcInterface.h"
#include "media/ffmpeg/Scoped.h"

namespace support {

class RecordingNode : public CSrcInterface {
 public:
  explicit RecordingNode(int queueCount = 1);

  // The oldest frame kept at that input, now the caller's; null when there is none.
  AVFrame* TakeAudio(int index = 0);
  AVFrame* TakeVideo(int index = 0);
  int AudioCount(int index = 0);
  int VideoCount(int index = 0);
};

}  // namespace support

#endif
