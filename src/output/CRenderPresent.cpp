// The present thread: 25 times a second, the canvas to the outputs and onto the screen.
#include <SDL.h>

extern "C" {
#include <libavutil/frame.h>
}

#include "media/ffmpeg/FrameMarks.h"
#include "output/CRender.h"
#include "output/PresentState.h"

namespace {

constexpr std::uint32_t kWaitMs = 10;
// For a canvas that is due already.
constexpr std::uint32_t kShortWaitMs = 2;
// Canvases that must have waited at once before the first is shown.
constexpr int kCanvasesToStart = 2;

}  // namespace

void CRender::RunPresent() {
  {
    output::PresentState state(windowHandle, CanvasSize());
    while (!m_stopped) {
      PresentTurn(&state);
    }
  }
  SDL_TLSCleanup();  // what SDL keeps for a thread that it has not made
}

void CRender::PresentTurn(output::PresentState* state) {
  PresentPass(state);
  FinishPass(kPresent);
}

void CRender::PresentPass(output::PresentState* state) {
  if (!state->started) {
    if (m_composed.Size() < kCanvasesToStart) {
      SDL_Delay(kWaitMs);
      return;
    }
    // A display that is slow to answer has held this thread up before its first pass. Nobody has
    // seen what was composed meanwhile, and it would keep all later canvases waiting.
    DropCanvases(kCanvasesToStart);
    state->started = true;
  }
  auto* head = static_cast<AVFrame*>(m_composed.Peek());
  if (head == nullptr) {
    Show(state);
    SDL_Delay(kWaitMs);
    return;
  }
  const std::uint32_t now = SDL_GetTicks();
  if (!state->ticker) {
    state->ticker.emplace(now);
  }
  if (!state->ticker->Due(now)) {
    SDL_Delay(state->ticker->SleepMs());
    return;
  }
  if (state->holdOff.ShouldWait(now, m_composed.Size() == 1)) {
    SDL_Delay(kShortWaitMs);
    return;
  }
  state->ticker->Advance();
  SendHead(state, head);
  Show(state);
}

void CRender::DropCanvases(int most) {
  while (m_composed.Size() > most) {
    auto* canvas = static_cast<AVFrame*>(m_composed.Pop());
    av_frame_free(&canvas);
    ++m_counters.droppedComposed;
  }
}

void CRender::SendHead(output::PresentState* state, AVFrame* head) {
  const int queued = m_composed.Size();
  const auto popHead = [&] {
    auto* popped = static_cast<AVFrame*>(m_composed.Pop());
    av_frame_free(&popped);
    state->headSent = false;
  };
  if (state->standing.HasTooMany(queued) || queued > output::kComposedBacklog) {
    m_counters.droppedComposed += state->headSent ? 0 : 1;
    popHead();
    head = static_cast<AVFrame*>(m_composed.Peek());
  }
  if (state->headSent) {
    ++m_counters.repeated;
  } else {
    AVFrame* picture = state->pictures.Next();
    if (picture != nullptr && state->convert.Convert(head, picture) == 0) {
      picture->pts = head->pts;
      ffmpeg::CopyCaptureMs(picture, head);
      state->picture = picture;
      state->window.Update(picture);
    }
  }
  if (state->picture != nullptr) {
    PushVideo(state->picture, 0);
    ++m_counters.pushed;
  }
  {
    output::RenderLocker lock(&m_orderLock);
    m_displayedPts = head->pts;
  }
  state->headSent = true;
  if (queued > 1) {
    popHead();
  }
}

void CRender::Show(output::PresentState* state) {
  const QSize preview = previewSize;
  const output::Extent size{preview.width(), preview.height()};
  const output::Rect area = output::FitCanvas(CanvasSize(), size);
  if (state->window.Ready(size) &&
      state->window.Draw(area, SelectionOutline({area.width, area.height}))) {
    ++m_counters.shown;
  }
}

std::vector<output::Line> CRender::SelectionOutline(const output::Extent& drawn) {
  LayerSlot* slot = SlotOf(selectedLayer);
  if (slot == nullptr || !slot->inUse) {
    return {};
  }
  return output::Outline(RectOf(slot), CanvasSize(), drawn);
}
