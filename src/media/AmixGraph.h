// The filter graph that sums the sound of K inputs, of which both mixers have one.
//
//   abuffer "in0" --+
//   abuffer "in1" --+-- amix=inputs=K ---- abuffersink "out"
//   ...           --+
//
// Flow: frames go in with Feed, one input at a time, and mixed frames come out with Receive after
// each; FeedAll does both with what waits in a queue. In and out is signed 16-bit interleaved
// stereo at 48000 Hz with pts in milliseconds. A mixed frame has the length and the time of the
// frame of input 0 that it was made from, and comes only when every input has given sound for it:
// amix waits for the slowest. What the others give meanwhile is kept for 10 s of sound, and dropped
// beyond.
//
// Ownership: Feed takes its frame over, whatever becomes of it. Receive's frame is the caller's.
// The graph frees itself, and what is still buffered in it, at the next Build, with Free, and at
// the end.
//
// Threads: one thread only, the worker of the node.
//
// Failure: Build says how far it came, after writing the cause to the log or to standard output. A
// graph that could not be built whole takes frames and drops them.
#ifndef ORVANE_MEDIA_AMIXGRAPH_H
#define ORVANE_MEDIA_AMIXGRAPH_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

extern "C" {
#include <libavfilter/avfilter.h>
#include <libavutil/frame.h>
}

#include "media/CMyQueue.h"
#include "media/Contract.h"

namespace media {

class AmixGraph {
 public:
  enum class Result {
    kReady,       // frames given to it come out mixed
    kNoSink,      // there is no way out: the worker has to end
    kNoSource,    // an input could not be made: the worker has to stop
    kStopped,     // the stop flag was set during the build
    kIncomplete,  // made in part: frames go in and nothing comes out
  };

  AmixGraph() = default;
  ~AmixGraph();

  AmixGraph(const AmixGraph&) = delete;
  AmixGraph& operator=(const AmixGraph&) = delete;

  // Throws the former graph away with all that is buffered in it, and makes one for count inputs;
  // with count 0 there is none. stop: polled before the larger half of the work.
  Result Build(int count, const std::atomic<bool>& stop);
  // Gives frame to that input. 0, or a negative AVERROR when it was dropped.
  int Feed(int input, AVFrame* frame);
  // The next mixed frame, linesize[0] being its payload in bytes; null when there is none yet.
  AVFrame* Receive();
  // Feeds all that waits in queue, and after each frame that was taken lends push what is mixed.
  // The pts of the last frame that waited; none when there was none.
  std::optional<std::int64_t> FeedAll(int input, CMyQueue* queue,
                                      const std::function<void(AVFrame*)>& push);
  void Free();
  // Of the last Build, whether it came to an end or not.
  int InputCount() const { return static_cast<int>(m_sources.size()); }

 private:
  Result CreateEnds(int count);
  bool RestrictSink();
  bool Connect();

  ThreadClaim m_thread;
  AVFilterGraph* m_graph = nullptr;
  AVFilterContext* m_sink = nullptr;
  std::vector<AVFilterContext*> m_sources;
  bool m_ready = false;             // linked and configured: frames may be given to it
  std::vector<std::int64_t> m_fed;  // samples, by input
  std::int64_t m_received = 0;      // samples
};

// "[in0][in1]amix=inputs=2[out]" for 2 inputs.
std::string AmixDescription(int count);

}  // namespace media

#endif
