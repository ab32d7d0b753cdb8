#include "media/CMixOut.h"

#include <SDL.h>

#include "media/ffmpeg/Scoped.h"

namespace {

constexpr int kInputs = 2;
constexpr std::uint32_t kIdleMs = 10;

}  // namespace

CMixOut::CMixOut() : CSrcInterface(0, kInputs), m_stop(false) {}

CMixOut::~CMixOut() = default;

int CMixOut::Start() {
  return m_thread.StartOnce("mixout", [this] { Mix(); });
}

int CMixOut::Stop() {
  return m_thread.StopOnce(&m_stop);
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
    if (EmptyQueue(graph, input)) {
      idle = false;
    }
  }
  if (idle) {
    SDL_Delay(kIdleMs);
  }
}

bool CMixOut::EmptyQueue(media::AmixGraph* graph, int input) {
  CMyQueue* queue = m_audioQueues[static_cast<std::size_t>(input)];
  bool moved = false;
  while (auto* frame = static_cast<AVFrame*>(queue->Peek())) {
    moved = true;
    const int result = graph->Feed(input, frame);
    queue->Pop();
    if (result < 0) {
      continue;
    }
    while (AVFrame* mixed = graph->Drain()) {
      PushAudio(mixed, 0);
      av_frame_free(&mixed);
    }
  }
  return moved;
}
