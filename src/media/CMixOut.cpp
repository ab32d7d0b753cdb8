#include "media/CMixOut.h"

#include <SDL.h>

extern "C" {
#include <libavutil/frame.h>
}

#include "media/NodeKind.h"
#include "media/ffmpeg/Scoped.h"

namespace {

constexpr int kInputs = 2;
constexpr std::uint32_t kIdleMs = 10;

}  // namespace

CMixOut::CMixOut() : CSrcInterface(media::kNoSource, kInputs), m_stop(false), m_over(false) {}

CMixOut::~CMixOut() = default;

int CMixOut::Start() {
  const int result = m_thread.StartOnce("mixout", [this] {
    m_over = false;
    Mix();
    m_over = true;
  });
  if (result < 0) {
    m_over = true;
  }
  return result;
}

int CMixOut::Stop() {
  return m_thread.StopOnce(&m_stop);
}

// The captures go on for the whole broadcast: what nobody mixes would grow by 1.4 GB an hour.
void CMixOut::EnqueueAudio(int index, void* media) {
  if (m_over) {
    const ffmpeg::ScopedFrame unread(static_cast<AVFrame*>(media));
  } else {
    CSrcInterface::EnqueueAudio(index, media);
  }
}

void CMixOut::Mix() {
  media::AmixGraph graph;
  if (!SetUp(&graph)) {
    return;
  }
  while (!m_stop) {
    Turn(&graph);
  }
}

bool CMixOut::SetUp(media::AmixGraph* graph) {
  const media::AmixGraph::Result result = graph->Build(kInputs, m_stop);
  if (result == media::AmixGraph::Result::kNoSource) {
    m_stop = true;
  }
  return result != media::AmixGraph::Result::kNoSink;
}

void CMixOut::Turn(media::AmixGraph* graph) {
  bool idle = true;
  for (int input = 0; input < kInputs; ++input) {
    CMyQueue* queue = m_audioQueues[static_cast<std::size_t>(input)];
    if (graph->FeedAll(input, queue, [this](AVFrame* mixed) { PushAudio(mixed, 0); })) {
      idle = false;
    }
  }
  if (idle) {
    SDL_Delay(kIdleMs);
  }
}
