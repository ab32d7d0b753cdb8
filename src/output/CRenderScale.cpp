// The scale thread: pictures of the sources become RGB24 at their layer's size.
#include <SDL.h>

#include <string>
#include <utility>

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/log.h>
#include <libavutil/pixdesc.h>
}

#include "media/ffmpeg/FrameMarks.h"
#include "media/ffmpeg/PackedRows.h"
#include "media/ffmpeg/Scoped.h"
#include "output/CRender.h"

namespace {

constexpr std::uint32_t kIdleMs = 10;
// Frames of sound that must be exceeded before the device is opened.
constexpr int kFramesToOpen = 2;

// As the layer needs it.
bool IsPackedRgb(const AVFrame* frame, const output::Extent& size) {
  return ffmpeg::IsPackedRgb(frame) && frame->width == size.width && frame->height == size.height;
}

// The very same picture: the same part of a buffer that nobody could have written since, because a
// reference to it was kept.
bool IsSamePicture(const AVFrame* a, const AVFrame* b) {
  return a->data[0] == b->data[0] && a->linesize[0] == b->linesize[0] && a->width == b->width &&
         a->height == b->height && a->format == b->format;
}

}  // namespace

void CRender::RunScale() {
  while (!m_stopped) {
    ScaleTurn();
  }
  SDL_TLSCleanup();  // what SDL keeps for a thread that it has not made
}

void CRender::ScaleTurn() {
  OpenAudioWhenFed();
  bool idle = true;
  for (LayerSlot* slot : m_layers) {
    if (ScaleInput(slot)) {
      idle = false;
    }
  }
  FinishPass(kScale);
  if (idle) {
    SDL_Delay(kIdleMs);
  }
}

void CRender::OpenAudioWhenFed() {
  if (m_audioOpened) {
    std::string error;
    if (m_device.TakeFailure(&error)) {
      TellNoDevice(error);
    }
    TrimSound();
  } else if (m_firstAudioQueue->Size() > kFramesToOpen) {
    auto* head = static_cast<AVFrame*>(m_firstAudioQueue->Peek());
    m_firstAudioQueue->HandOver();  // the device, which does not ask before it is open
    OpenAudioOutput(head);
    m_audioOpened = true;
  }
}

// True when a picture was dealt with.
bool CRender::ScaleInput(LayerSlot* slot) {
  COverlay* overlay = slot->overlay;
  if (overlay->IsEnabled()) {
    return false;
  }
  const unsigned resets = slot->resets;
  DropStale(slot);
  ffmpeg::ScopedFrame frame(PopInput(slot));
  if (!frame) {
    if (!slot->inUse) {
      slot->scaling.Forget();
    }
    return false;
  }
  if (!ffmpeg::IsWellFormed(frame.Get())) {
    ++m_counters.droppedAtInput[static_cast<std::size_t>(slot->index)];
    LogFault(slot, frame.Get());
    return true;
  }
  output::Extent size;
  if (!TakeSize(slot, frame.Get(), resets, &size)) {
    return true;
  }
  CMyQueue* frames = slot->frames;
  if (AVFrame* ready = ToLayer(slot, frame.Release(), size)) {
    frames->PushBack(ready);
  }
  return true;
}

void CRender::DropStale(LayerSlot* slot) {
  CMyQueue* input = m_videoQueues[static_cast<std::size_t>(slot->index)];
  for (int stale = slot->stale.exchange(0); stale > 0; --stale) {
    auto* frame = static_cast<AVFrame*>(input->Pop());
    av_frame_free(&frame);
  }
}

AVFrame* CRender::PopInput(LayerSlot* slot) {
  const auto index = static_cast<std::size_t>(slot->index);
  CMyQueue* input = m_videoQueues[index];
  int remaining = 0;
  auto* frame = static_cast<AVFrame*>(input->Pop(&remaining));
  if (remaining > output::kInputBacklog) {
    av_frame_free(&frame);
    ++m_counters.droppedAtInput[index];
    frame = static_cast<AVFrame*>(input->Pop());
  }
  return frame;
}

// The layer's size, which the first picture and every marked one set. False when the slot was reset
// since the picture was taken, which is then another layer's.
bool CRender::TakeSize(LayerSlot* slot, const AVFrame* frame, unsigned resets,
                       output::Extent* size) {
  output::RenderLocker lock(&slot->sizeLock);
  if (slot->resets != resets) {
    return false;
  }
  if (slot->width == 0 || slot->height == 0 || ffmpeg::SignalsNewSize(frame)) {
    const output::Extent natural =
        output::ClampToCanvas({frame->width, frame->height}, CanvasSize());
    const output::Extent first = output::FirstSize({slot->firstWidth, slot->firstHeight}, natural);
    slot->width = first.width;
    slot->height = first.height;
    slot->naturalWidth = natural.width;
    slot->naturalHeight = natural.height;
    slot->firstWidth = 0;
    slot->firstHeight = 0;
  }
  *size = {slot->width, slot->height};
  return true;
}

// The picture as the layer needs it, which may be the very frame. Takes frame over; null when it
// can't be had.
AVFrame* CRender::ToLayer(LayerSlot* slot, AVFrame* frame, const output::Extent& size) {
  if (IsPackedRgb(frame, size)) {
    return frame;
  }
  ffmpeg::ScopedFrame source(frame);
  LayerScaling& last = slot->scaling;
  const bool known = last.source && last.scaled && IsSamePicture(last.source.Get(), source.Get()) &&
                     IsPackedRgb(last.scaled.Get(), size);
  if (known) {
    AVFrame* again = av_frame_clone(last.scaled.Get());
    if (again != nullptr) {
      again->pts = source->pts;
      ++m_counters.reused;
    }
    return again;
  }
  AVFrame* scaled = Rescale(slot, source.Get(), size);
  last.source.Reset();
  last.scaled.Reset();
  // Only a source that holds a reference of its own, a still one, can send the same buffer again.
  // Keeping any other would take a buffer out of its pool for nothing.
  const bool kept = source->buf[0] != nullptr && av_buffer_get_ref_count(source->buf[0]) > 1;
  if (scaled != nullptr && kept) {
    last.source.Reset(source.Release());
    last.scaled.Reset(av_frame_clone(scaled));
  }
  return scaled;
}

AVFrame* CRender::Rescale(LayerSlot* slot, const AVFrame* frame, const output::Extent& size) {
  ffmpeg::ScopedFrame scaled;
  if (size.width > 0 && size.height > 0) {
    scaled.Reset(slot->scaling.pool.Get(size.width, size.height, AV_PIX_FMT_RGB24));
  }
  if (!scaled || slot->scaler.Convert(frame, scaled.Get()) < 0) {
    LogFault(slot, frame);
    return nullptr;
  }
  scaled->pts = frame->pts;
  ++m_counters.scaled;
  return scaled.Release();
}

// Once for each layer: a source that sends one such picture sends them for hours.
void CRender::LogFault(LayerSlot* slot, const AVFrame* frame) {
  if (std::exchange(slot->scaling.faultLogged, true)) {
    return;
  }
  const char* format = av_get_pix_fmt_name(static_cast<AVPixelFormat>(frame->format));
  av_log(nullptr, AV_LOG_ERROR, "Layer %d: picture of %d x %d %s can't be used\n", slot->index,
         frame->width, frame->height, format != nullptr ? format : "of no format");
}
