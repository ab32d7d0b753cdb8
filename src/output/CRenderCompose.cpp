// The compose thread: 25 times a second, all layers onto one canvas.
#include <SDL.h>

#include <algorithm>
#include <cstring>
#include <utility>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/log.h>
}

#include "media/ffmpeg/FrameMarks.h"
#include "media/ffmpeg/Scoped.h"
#include "output/CRender.h"
#include "output/ComposeState.h"

// One layer as a pass sees it. The head stays in the layer's queue, which only this thread empties.
struct CRender::LayerSnapshot {
  LayerSlot* slot;
  COverlay* overlay;
  AVFrame* head;  // null for a text
  int x;
  int y;
  bool isText;
  bool hidden;
  bool onCanvas;  // false for a text below the first picture: there is no canvas yet to draw on
  bool taken = false;   // the head has left the queue and become the canvas
  bool spoilt = false;  // a text that has taken a canvas of this pass with it
};

namespace {

// A frame of its own around the pixels of picture, without what else the source has set. Takes
// picture over.
AVFrame* CanvasOf(AVFrame* picture) {
  ffmpeg::ScopedFrame source(picture);
  AVFrame* canvas = av_frame_alloc();
  if (canvas != nullptr) {
    canvas->width = source->width;
    canvas->height = source->height;
    canvas->format = source->format;
    canvas->data[0] = source->data[0];
    canvas->linesize[0] = source->linesize[0];
    std::swap(canvas->buf[0], source->buf[0]);
  }
  return canvas;
}

}  // namespace

void CRender::RunCompose() {
  output::ComposeState state(SDL_GetTicks());
  while (!m_stopped) {
    ComposeTurn(&state);
  }
}

void CRender::ComposeTurn(output::ComposeState* state) {
  if (!state->ticker.Due(SDL_GetTicks())) {
    SDL_Delay(state->ticker.SleepMs());
    return;
  }
  state->ticker.Advance();
  ++state->passes;
  ComposePass(state);
  TrimLayers();
  FinishPass(kCompose);
}

void CRender::ComposePass(output::ComposeState* state) {
  CopyLayerOrder(&state->order);
  std::vector<LayerSnapshot> layers;
  if (!CollectLayers(state->order, &layers)) {
    return;
  }
  const auto first = std::find_if(layers.begin(), layers.end(),
                                  [](const LayerSnapshot& layer) { return layer.head != nullptr; });
  if (first == layers.end()) {
    return;
  }
  if (!state->hasBase) {
    state->hasBase = true;
    state->basePts = first->head->pts;
  }
  // The canvas carries the capture time of its bottom layer, by which CEncoder places it.
  const std::int64_t capturedMs = first->head->pts;
  AVFrame* canvas = nullptr;
  if (m_composed.Size() <= output::kComposedLimit) {
    // A text that fails takes the canvas with it: once more then, without that text.
    bool again = true;
    while (canvas == nullptr && std::exchange(again, false)) {
      canvas = DrawCanvas(state, &layers, &again);
    }
  } else {
    ++m_counters.droppedComposed;
  }
  for (const LayerSnapshot& layer : layers) {
    if (layer.head != nullptr) {
      ConsumeFrames(layer.slot, layer.taken);
    }
  }
  if (canvas != nullptr) {
    canvas->pts = state->passes * media::kPictureMs + state->basePts;
    ffmpeg::SetCaptureMs(canvas, capturedMs);
    ++m_counters.composed;
    m_composed.PushBack(canvas);
  }
}

// The layers that have something to draw, from the bottom up. False: the bottom layer has no
// picture yet, and holds everything back.
bool CRender::CollectLayers(const std::vector<int>& order, std::vector<LayerSnapshot>* layers) {
  for (std::size_t position = 0; position < order.size(); ++position) {
    LayerSlot* slot = SlotOf(order[position]);
    CMyQueue* frames = slot != nullptr ? slot->frames.load() : nullptr;
    if (frames == nullptr) {
      continue;
    }
    COverlay* overlay = slot->overlay;
    const bool isText = overlay->IsEnabled();
    AVFrame* head = isText ? nullptr : static_cast<AVFrame*>(frames->Peek());
    if (head == nullptr && !isText) {
      if (position == 0) {
        return false;
      }
      continue;
    }
    if (head != nullptr && !slot->inUse) {
      MarkInUse(slot);
    }
    if (slot->autoFit == 1) {
      PlaceInCorner(slot, head);
    }
    const bool onCanvas = head != nullptr || std::any_of(layers->begin(), layers->end(),
                                                         [](const LayerSnapshot& below) {
                                                           return below.head != nullptr;
                                                         });
    // An empty text leaves its layer unmarked and what it showed before in the overlay.
    const bool hidden = slot->hidden || (isText && !slot->inUse);
    output::RenderLocker lock(&slot->positionLock);
    layers->push_back({slot, overlay, head, slot->x, slot->y, isText, hidden, onCanvas});
  }
  return true;
}

// A layer that was removed since the order was copied must not become taken again: nobody would
// ever free it.
void CRender::MarkInUse(LayerSlot* slot) {
  output::RenderLocker lock(&m_orderLock);
  if (std::find(m_order.begin(), m_order.end(), slot->index) != m_order.end()) {
    slot->inUse = true;
  }
}

void CRender::PlaceInCorner(LayerSlot* slot, const AVFrame* head) {
  output::Extent picture;
  if (head != nullptr) {
    picture = {head->width, head->height};
  }
  output::Rect rect;
  {
    output::RenderLocker lock(&slot->sizeLock);
    rect = output::CornerPlacement(CanvasSize(), picture, slot->width);
    slot->width = rect.width;
    slot->height = rect.height;
  }
  {
    output::RenderLocker lock(&slot->positionLock);
    slot->x = rect.x;
    slot->y = rect.y;
  }
  slot->autoFit = 0;
}

// The picture of a layer itself, where it has the canvas's size and place and nobody will look at
// it again: then nothing has to be copied. The last picture of a queue stays there for the next
// pass. Null: it has to be copied.
AVFrame* CRender::TakeAsCanvas(LayerSnapshot* layer) {
  const output::Extent size = CanvasSize();
  CMyQueue* frames = layer->slot->frames;
  if (layer->x != 0 || layer->y != 0 || layer->head->width != size.width ||
      layer->head->height != size.height || frames->Size() < 2 ||
      av_frame_is_writable(layer->head) == 0) {
    return nullptr;
  }
  layer->taken = true;
  return CanvasOf(static_cast<AVFrame*>(frames->Pop()));
}

// What the drawing begins with: the topmost layer that covers the whole canvas, or black. What such
// a layer hides is not drawn, nor is the canvas cleared under it. *next is the first layer that is
// still to be drawn. Null when the canvas can't be had.
AVFrame* CRender::BeginCanvas(output::ComposeState* state, std::vector<LayerSnapshot>* layers,
                              std::size_t* next) {
  const output::Extent size = CanvasSize();
  std::vector<output::Occluder> occluders;
  occluders.reserve(layers->size());
  for (const LayerSnapshot& layer : *layers) {
    const bool opaque = layer.head != nullptr && !layer.hidden;
    occluders.push_back({opaque
                             ? output::Rect{layer.x, layer.y, layer.head->width, layer.head->height}
                             : output::Rect{},
                         opaque});
  }
  const int topmost = output::TopmostOccluder(occluders, size);
  *next = topmost < 0 ? 0 : static_cast<std::size_t>(topmost);
  if (topmost >= 0 && !state->textsFail) {
    if (AVFrame* canvas = TakeAsCanvas(&(*layers)[*next])) {
      ++*next;
      state->canvases.Pass();
      return canvas;
    }
  }
  AVFrame* canvas = state->canvases.Get(size.width, size.height, AV_PIX_FMT_RGB24);
  if (topmost < 0 && canvas != nullptr) {
    std::memset(
        canvas->data[0], 0,
        static_cast<std::size_t>(canvas->linesize[0]) * static_cast<std::size_t>(size.height));
  }
  return canvas;
}

// Null when the canvas can't be had. *again: a text has spoilt it, and it may be had without.
AVFrame* CRender::DrawCanvas(output::ComposeState* state, std::vector<LayerSnapshot>* layers,
                             bool* again) {
  if (std::any_of(layers->begin(), layers->end(),
                  [](const LayerSnapshot& layer) { return layer.taken; })) {
    return nullptr;  // spoilt together with the picture that it was
  }
  const output::Extent size = CanvasSize();
  std::size_t next = 0;
  ffmpeg::ScopedFrame canvas(BeginCanvas(state, layers, &next));
  if (!canvas) {
    return nullptr;
  }
  for (std::size_t i = next; i < layers->size(); ++i) {
    LayerSnapshot& layer = (*layers)[i];
    if (layer.hidden || !layer.onCanvas || layer.spoilt) {
      continue;
    }
    if (!layer.isText) {
      layer.overlay->Blit(canvas.Get(), layer.head, layer.x, layer.y);
      continue;
    }
    layer.overlay->DrawText(canvas.Get());
    if (canvas->data[0] == nullptr || canvas->width != size.width ||
        canvas->linesize[0] != size.width * 3) {
      layer.spoilt = true;
      TellSpoilt(state, layer.slot);
      *again = true;
      return nullptr;
    }
  }
  return canvas.Release();
}

// Once: what fails for one picture fails for hours of them.
void CRender::TellSpoilt(output::ComposeState* state, const LayerSlot* slot) {
  if (!std::exchange(state->textsFail, true)) {
    av_log(nullptr, AV_LOG_ERROR, "Layer %d: its text can't be drawn and is left out\n",
           slot->index);
  }
}

// taken: the first one has gone already.
void CRender::ConsumeFrames(LayerSlot* slot, bool taken) {
  CMyQueue* frames = slot->frames;
  const int queued = frames->Size() + (taken ? 1 : 0);
  const int drop = output::FramesToDrop(queued) + (slot->standing.HasTooMany(queued) ? 1 : 0);
  for (int i = taken ? 1 : 0; i < drop; ++i) {
    auto* frame = static_cast<AVFrame*>(frames->Pop());
    av_frame_free(&frame);
  }
  if (drop > 1) {
    m_counters.droppedAtLayer[static_cast<std::size_t>(slot->index)] +=
        static_cast<std::uint64_t>(drop - 1);
  }
}

// Layers that no pass consumes, being held back by the bottom one or in no order at all, would
// collect a full-size picture 25 times a second.
void CRender::TrimLayers() {
  for (LayerSlot* slot : m_layers) {
    CMyQueue* frames = slot->frames;
    while (frames->Size() > output::kLayerBacklog) {
      auto* frame = static_cast<AVFrame*>(frames->Pop());
      av_frame_free(&frame);
      ++m_counters.droppedAtLayer[static_cast<std::size_t>(slot->index)];
    }
  }
}
