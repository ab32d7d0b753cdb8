#include "media/CMixFrame.h"

#include <SDL.h>

#include <QtGlobal>
#include <optional>

extern "C" {
#include <libavutil/frame.h>
}

#include "media/NodeKind.h"
#include "media/ffmpeg/Scoped.h"

namespace {

constexpr std::uint32_t kIdleMs = 10;

}  // namespace

CMixFrame::CMixFrame(int inputCount)
    : CSrcInterface(media::kNoSource, inputCount),
      m_rebuildMark32(0),
      m_rebuildMark64(0),
      m_active(2 * static_cast<std::size_t>(inputCount)),
      m_stop(false),
      m_over(false) {
  for (std::atomic<bool>& flag : m_active) {
    flag = false;
  }
}

CMixFrame::~CMixFrame() = default;

int CMixFrame::Start() {
  const int result = m_thread.StartOnce("mix", [this] {
    m_over = false;
    Mix();
    m_over = true;
  });
  if (result < 0) {
    m_over = true;
  }
  return result;
}

int CMixFrame::Stop() {
  return m_thread.StopOnce(&m_stop);
}

// Files play on without a monitor, and the silence never rests: what nobody mixes would only grow.
void CMixFrame::EnqueueAudio(int index, void* media) {
  if (m_over) {
    const ffmpeg::ScopedFrame unread(static_cast<AVFrame*>(media));
  } else {
    CSrcInterface::EnqueueAudio(index, media);
  }
}

int CMixFrame::GetFreeAudioIndex() {
  return media::FirstFree(m_active);
}

void CMixFrame::Mix() {
  Mixing mixing;
  while (!m_stop && Turn(&mixing)) {
  }
}

bool CMixFrame::Turn(Mixing* mixing) {
  if (!PassGate(mixing)) {
    return true;
  }
  const int inputs = mixing->graph.InputCount();
  int count = inputs;
  count -= media::EvictLagging(mixing->lastPts, &m_active);
  count += JoinWaiting();
  if (count != inputs && !Rebuild(mixing, count)) {
    return false;
  }
  if (count == 0) {
    SDL_Delay(kIdleMs);
    return true;
  }
  MoveFrames(mixing);
  return true;
}

// Until input 0 has delivered there is no clock to mix by.
bool CMixFrame::PassGate(Mixing* mixing) {
  if (mixing->started != 0) {
    return true;
  }
  const auto* first = static_cast<const AVFrame*>(m_audioQueues[0]->Peek());
  if (first == nullptr) {
    SDL_Delay(kIdleMs);
    return false;
  }
  mixing->started = first->pts;
  return true;
}

int CMixFrame::JoinWaiting() {
  int joined = 0;
  for (std::size_t i = 0; i < m_audioQueues.size(); ++i) {
    if (media::Joins(m_active[i], m_audioQueues[i]->Size())) {
      m_active[i] = true;
      ++joined;
    }
  }
  return joined;
}

// False when there is no sink, and so no mix ever.
bool CMixFrame::Rebuild(Mixing* mixing, int count) {
  qDebug("\n--------------------------- reset, size %d, to %d ------------------------\n\n",
         mixing->graph.InputCount(), count);
  if (count > 0) {
    // Nothing survives, the pts of input 0 included: an input that gives no frame in this very turn
    // counts as lagging in the next and has to join again.
    mixing->lastPts.assign(static_cast<std::size_t>(count), 0);
  }
  switch (mixing->graph.Build(count, m_stop)) {
    case media::AmixGraph::Result::kReady:
      m_rebuildMark32 = 0;
      m_rebuildMark64 = 0;
      return true;
    case media::AmixGraph::Result::kNoSource:
      m_stop = true;
      return true;
    case media::AmixGraph::Result::kNoSink:
      return false;
    case media::AmixGraph::Result::kStopped:
    case media::AmixGraph::Result::kIncomplete:
      return true;
  }
  return true;
}

void CMixFrame::MoveFrames(Mixing* mixing) {
  if (mixing->idle) {
    SDL_Delay(kIdleMs);
  }
  mixing->idle = true;
  for (std::size_t position = 0; position < m_audioQueues.size(); ++position) {
    if (!m_active[position]) {
      continue;
    }
    // By rank, not by position, on purpose: see the head of the header.
    const int input = media::RankOf(m_active, position);
    if (input >= mixing->graph.InputCount()) {
      LeaveUnread(position, input);
    } else if (EmptyQueue(mixing, input)) {
      mixing->idle = false;
    }
  }
  TrimUnread(mixing->graph.InputCount());
}

// After a flag in the middle was cleared there may be more set flags than graph inputs. What has
// none waits while there is a hole below it. Once the hole is filled the flag gives way, so that
// the input joins anew, and is read.
void CMixFrame::LeaveUnread(std::size_t position, int rank) {
  if (static_cast<std::size_t>(rank) == position) {
    m_active[position] = false;
  }
}

// Of a queue that nobody reads so much is kept as an input brings along when it joins: it is then
// as far behind as any other, if it is ever read again.
void CMixFrame::TrimUnread(int inputs) {
  for (auto i = static_cast<std::size_t>(inputs); i < m_audioQueues.size(); ++i) {
    while (m_audioQueues[i]->Size() > media::kFramesToJoin + 1) {
      auto* unread = static_cast<AVFrame*>(m_audioQueues[i]->Pop());
      av_frame_free(&unread);
    }
  }
}

// Moves all that waits in queue input into the graph, and after each frame what is mixed to the
// outputs. False when nothing waited.
bool CMixFrame::EmptyQueue(Mixing* mixing, int input) {
  const auto index = static_cast<std::size_t>(input);
  const std::optional<std::int64_t> last = mixing->graph.FeedAll(
      input, m_audioQueues[index], [this](AVFrame* mixed) { PushAudio(mixed, 0); });
  mixing->lastPts[index] = last.value_or(mixing->lastPts[index]);
  return last.has_value();
}
