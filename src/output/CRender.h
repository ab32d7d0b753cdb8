// The preview renderer: the node in which the picture is composed, shown and sent on, and which
// plays the monitor sound.
//
// Flow of the picture, in three stages on three threads, joined by queues:
//   scale    pictures of source i (video input i, which is layer i) become RGB24 at the layer's
//            size and wait in the layer's queue;
//   compose  25 times a second, every layer in the order list is copied onto a fresh black canvas
//            of 1920 x 1080, the first entry at the bottom; the canvas waits in the composed queue,
//            its best_effort_timestamp being the moment when its bottom picture was captured, which
//            goes with it to the outputs;
//   present  25 times a second, the canvas becomes YUV 4:2:0, goes to all video outputs and,
//            through SDL, into the native window, with the outline of the selected layer on top.
// Nothing blocks a source: what is too much is dropped (see output/RenderRules.h for the numbers).
// The bottom layer gates the output: until it has a picture nothing is composed. The last picture
// of a source that sends nothing new stays. A text layer has no source; its text is drawn onto the
// canvas by its overlay.
//
// Flow of the sound: frames at audio input 0 (signed 16-bit stereo, 48000 Hz) are played by SDL's
// audio callback, from the sound that fits the picture on the screen, and 5% faster while more than
// 3 frames wait.
//
// Ownership: the node owns its layers, from Start to Stop, and what waits in its queues. Pictures
// that go to the outputs come from a set of 20, so that a slow encoder finishes the one it was
// given; when all are taken the last one is overwritten.
//
// Threads: the user interface thread calls everything here but FillAudio, and writes selectedLayer,
// windowHandle and previewSize; sources push into the inputs from their own threads. The workers
// are "compose", "scale" and "present"; FillAudio runs on SDL's audio thread. Of its threads only
// present touches SDL's video, under platform::SdlVideoMutex, and never after Stop.
//
// Locks: the order lock guards the layer order and displayedPts; a layer's position lock x and y;
// its size lock the four sizes. No two are held at once. selectedLayer, previewSize, hidden,
// autoFit and inUse are atomics: a stale read costs one pass. A queue and an overlay that a reset
// takes out of a layer are kept until all three threads have finished a pass.
//
// Failure: no path ends a worker but Stop. Where there is no window, no X server or no SDL video,
// nothing is shown, the log says why once, and the pictures go to the outputs all the same. A
// source frame whose planes do not hold what its size says is dropped.
#ifndef ORVANE_OUTPUT_CRENDER_H
#define ORVANE_OUTPUT_CRENDER_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "media/CSrcInterface.h"
#include "media/QtLock.h"
#include "media/Worker.h"
#include "output/AtomicSize.h"
#include "output/LayerSlot.h"
#include "output/PlaybackDevice.h"
#include "output/RenderLocker.h"
#include "output/RenderRules.h"
#include "output/RenderStatistics.h"
#include "platform/WindowSystem.h"
#include "sources/DeviceCatalogue.h"

struct AVFrame;
struct SwrContext;

namespace output {
struct ComposeState;
struct PresentState;
}  // namespace output

class CRender : public CSrcInterface {
 public:
  explicit CRender(int layerCapacity);
  ~CRender() override;

  // 0; -1 when it runs already or the system gives no thread. May be started again after a Stop.
  int Start() override;
  // 0; -1 when it does not run.
  int Stop() override;

  // Resets the first free slot and gives its id; -1 when there is none. What stands in the order is
  // never free. The slot stays free until InsertLayer, a first picture or a text marks it.
  int AddVideoInput();
  // position: -1 or LayerCount() appends id and marks slot number LayerCount(), which need not be
  // id: an inherited quirk, which LayerSlots makes up for. A position below overwrites that entry
  // and marks id. 0 or -1.
  int InsertLayer(int id, int position);
  int RemoveLayer(int position);
  // The id at that position of the order, or -1.
  int LayerAt(int position);
  void CopyLayerOrder(std::vector<int>* order);
  int LayerCount();
  int SwapLayers(int first, int second);
  // -1 unless the layer is in use, and for the first one not hidden.
  int GetVisibleLayerRect(int id, int* x, int* y, int* width, int* height);
  int GetLayerRect(int id, int* x, int* y, int* width, int* height);
  // 0 x 0 where it is not known.
  void GetLayerNaturalSize(int id, int* width, int* height);
  void SetLayerHidden(int id, bool hidden);
  void SetLayerRect(int id, int x, int y, int width, int height);
  // A place that the layer had before, also of one whose source has not sent a picture yet: it then
  // takes the size with the first one, and is never seen at another. A source that has another
  // shape now keeps it, within that place. The corner placement is given up for it.
  void PlaceLayer(int id, const output::Rect& place);
  void SetLayerPosition(LayerSlot* slot, int x, int y);
  void SetLayerSize(LayerSlot* slot, int width, int height);
  // color: 0xRRGGBBAA. text: UTF-8; an empty one frees the slot.
  void SetLayerText(int id, unsigned color, const std::string& text);
  void SetLayerAutoFit(int id, int autoFit);

  // Opens the default sound device in the format of frame; one whose server is slow to answer is
  // opened behind the caller. 0 or -1. Scale thread.
  int OpenAudioOutput(AVFrame* frame);
  // Fills stream with length bytes of sound, waiting for sound that is not there yet, or with
  // silence once the node is stopped. SDL's audio thread.
  void FillAudio(std::uint8_t* stream, int length);

  // Any thread.
  RenderStatistics Statistics() const { return m_counters.Copy(); }

  std::atomic<int> selectedLayer;                    // id to outline, -1 for none
  std::atomic<platform::WindowHandle> windowHandle;  // the preview; set before Start, read once

 private:
  bool m_firstCallback;  // SDL's audio thread

 public:
  output::AtomicSize previewSize;  // of the preview in physical pixels

 protected:
  // One turn of each worker, with what it keeps from turn to turn.
  void ScaleTurn();
  void ComposeTurn(output::ComposeState* state);
  void PresentTurn(output::PresentState* state);
  void MakeSlots();
  void DropSlots();
  LayerSlot* SlotOf(int id) const;
  CMyQueue* Composed() { return &m_composed; }
  std::int64_t DisplayedPts();

 private:
  struct LayerSnapshot;
  struct Retired;

  void RunCompose();
  void RunScale();
  void RunPresent();
  void JoinWorkers();
  static void AudioCallback(void* node, std::uint8_t* stream, int length);

  // CRender.cpp
  int FirstFreeSlot();
  void ResetSlot(LayerSlot* slot);
  void Retire(CMyQueue* frames, COverlay* overlay);
  void FreeRetired(bool all);
  void FinishPass(int worker);
  output::Extent CanvasSize() const;
  output::Extent SizeOf(LayerSlot* slot);
  output::Rect RectOf(LayerSlot* slot);

  // CRenderScale.cpp
  void OpenAudioWhenFed();
  bool ScaleInput(LayerSlot* slot);
  AVFrame* PopInput(LayerSlot* slot);
  void DropStale(LayerSlot* slot);
  bool TakeSize(LayerSlot* slot, const AVFrame* frame, unsigned resets, output::Extent* size);
  AVFrame* ToLayer(LayerSlot* slot, AVFrame* frame, const output::Extent& size);
  AVFrame* Rescale(LayerSlot* slot, const AVFrame* frame, const output::Extent& size);
  void LogFault(LayerSlot* slot, const AVFrame* frame);

  // CRenderCompose.cpp
  void ComposePass(output::ComposeState* state);
  bool CollectLayers(const std::vector<int>& order, std::vector<LayerSnapshot>* layers);
  void MarkInUse(LayerSlot* slot);
  void PlaceInCorner(LayerSlot* slot, const AVFrame* head);
  AVFrame* TakeAsCanvas(LayerSnapshot* layer);
  AVFrame* BeginCanvas(output::ComposeState* state, std::vector<LayerSnapshot>* layers,
                       std::size_t* next);
  AVFrame* DrawCanvas(output::ComposeState* state, std::vector<LayerSnapshot>* layers, bool* again);
  static void TellSpoilt(output::ComposeState* state, const LayerSlot* slot);
  void ConsumeFrames(LayerSlot* slot, bool taken);
  void TrimLayers();

  // CRenderPresent.cpp
  void PresentPass(output::PresentState* state);
  void DropCanvases(int most);
  void SendHead(output::PresentState* state, AVFrame* head);
  void Show(output::PresentState* state);
  std::vector<output::Line> SelectionOutline(const output::Extent& drawn);

  // CRenderAudio.cpp
  static void TellNoDevice(const std::string& error);
  void TrimSound();
  void StartAtPicture();
  bool EnsureResampler();
  AVFrame* Shorten(AVFrame* frame);

  int m_layerCapacity;
  media::Worker m_composeThread;
  media::Worker m_scaleThread;
  media::Worker m_presentThread;
  std::atomic<bool> m_audioOpened;   // tried, whatever the outcome
  std::vector<LayerSlot*> m_layers;  // by id; changed while no worker runs
  DeviceCatalogue* m_catalogue;
  CMyQueue m_composed;                                      // canvases for the present thread
  std::vector<int> m_order ORVANE_GUARDED_BY(m_orderLock);  // ids, bottom first
  media::Mutex m_orderLock;
  // Of the canvas last sent out, in ms.
  std::int64_t m_displayedPts ORVANE_GUARDED_BY(m_orderLock);
  media::Mutex m_spareLock;
  SwrContext* m_resampler;  // SDL's audio thread, or under SDL_LockAudio

 protected:
  std::atomic<bool> m_stopped;  // the only stop signal of the three threads

 private:
  // What a reset took out of a slot, until no worker can still hold it.
  enum Worker { kScale, kCompose, kPresent, kWorkers };
  std::atomic<std::uint64_t> m_passes[kWorkers];
  media::Mutex m_retiredLock;
  std::vector<Retired> m_retired ORVANE_GUARDED_BY(m_retiredLock);
  std::atomic<bool> m_anyRetired;
  std::vector<LayerSlot*> m_formerLayers;  // of earlier runs, freed with the node
  media::ThreadClaim m_owner;              // who changes the layers
  output::PlaybackDevice m_device;         // scale thread, and the destructor after it
  output::RenderCounters m_counters;
};

#endif
