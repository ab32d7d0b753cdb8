// One layer of the renderer: a plain record, indexed by the layer's id, which is also the number of
// the video input that feeds it. Made by CRender::Start.
//
// The user interface thread places, hides and resets the layer; the scale thread fills frames, the
// compose thread empties it. Each field says what guards it.
#ifndef ORVANE_OUTPUT_LAYERSLOT_H
#define ORVANE_OUTPUT_LAYERSLOT_H

#include <atomic>

#include "media/CMyQueue.h"
#include "media/COverlay.h"
#include "media/QtLock.h"
#include "media/ffmpeg/FramePool.h"
#include "media/ffmpeg/PixelConvert.h"
#include "media/ffmpeg/Scoped.h"
#include "output/StandingQueue.h"

// Not part of what a layer is: how the scale thread works for it. Scale thread only.
struct LayerScaling {
  ffmpeg::FramePool pool;      // pictures at the layer's size
  ffmpeg::ScopedFrame source;  // a reference to the last shared source picture
  ffmpeg::ScopedFrame scaled;  // and what became of it
  bool faultLogged = false;    // a picture that is not well formed has been reported

  // The layer is gone: a photograph may take 200 MB.
  void Forget() {
    source.Reset();
    scaled.Reset();
    pool.Clear();
    faultLogged = false;
  }
};

struct LayerSlot {
  explicit LayerSlot(int id) : index(id), frames(new CMyQueue(0)), overlay(new COverlay) {}
  ~LayerSlot() {
    delete frames.load();
    delete overlay.load();
  }

  LayerSlot(const LayerSlot&) = delete;
  LayerSlot& operator=(const LayerSlot&) = delete;

  int index;
  std::atomic<CMyQueue*> frames;    // RGB24 pictures at the layer's size; replaced by a reset
  std::atomic<bool> hidden{false};  // not drawn, but its pictures are consumed
  // The position on the canvas.
  int x ORVANE_GUARDED_BY(positionLock) = 0;
  int y ORVANE_GUARDED_BY(positionLock) = 0;
  // 0 x 0: no picture has given a size yet.
  int width ORVANE_GUARDED_BY(sizeLock) = 0;
  int height ORVANE_GUARDED_BY(sizeLock) = 0;
  // Of the first picture, cut to the canvas.
  int naturalWidth ORVANE_GUARDED_BY(sizeLock) = 0;
  int naturalHeight ORVANE_GUARDED_BY(sizeLock) = 0;
  // What the first picture is to make of the layer (output::FirstSize); 0 x 0: nothing is wished.
  int firstWidth ORVANE_GUARDED_BY(sizeLock) = 0;
  int firstHeight ORVANE_GUARDED_BY(sizeLock) = 0;
  ffmpeg::PixelConvert scaler;     // scale thread
  std::atomic<COverlay*> overlay;  // never null while running; replaced by a reset
  std::atomic<bool> inUse{false};  // taken
  // Pictures of the former source that still stood in the input at the last reset.
  std::atomic<int> stale{0};
  std::atomic<unsigned> resets{0};  // counted with the size lock held
  std::atomic<int> autoFit{0};      // 1: take the corner placement at the next compose pass
  media::Mutex positionLock;
  media::Mutex sizeLock;
  output::StandingQueue standing;  // of frames; compose thread

  LayerScaling scaling;
};

#endif
