// The graph of live_road: the program's own nodes, brought up, linked and ended by the same
// operations, in the same order, as the main window uses.
//
// Everything runs on the user interface thread, after the application object exists.
#ifndef ORVANE_BENCH_SCENE_H
#define ORVANE_BENCH_SCENE_H

#include <QSize>
#include <QTimer>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "Options.h"
#include "media/CSrcInterface.h"
#include "output/EncoderStatistics.h"
#include "output/RenderStatistics.h"
#include "shell/BroadcastGraph.h"
#include "shell/LayerSlots.h"
#include "shell/MonitorGraph.h"

class DeviceCatalogue;
class QWidget;

namespace bench {

// Stands behind the renderer beside the encoder and notes when its pictures come; with a path it
// writes them there.
class PictureTap : public CSrcInterface {
 public:
  explicit PictureTap(const std::string& path);
  ~PictureTap() override;

  void EnqueueVideo(int index, void* media) override;

  // Pictures so far, and the longest wait between two of them, in milliseconds, since it was last
  // asked.
  std::uint64_t Count() const { return m_count; }
  double TakeLongestGapMs() { return m_longestGapMs.exchange(0); }

 private:
  using Clock = std::chrono::steady_clock;

  std::FILE* m_file = nullptr;
  Clock::time_point m_last;  // of the present thread
  std::atomic<std::uint64_t> m_count{0};
  std::atomic<double> m_longestGapMs{0};
};

class Scene : public QObject {
 public:
  explicit Scene(const Options& options);
  ~Scene() override;

  // surface: the preview's widget, null for none.
  void Build(QWidget* surface);
  void StartLive();
  void StopLive();
  void End();

  RenderStatistics Render() const;
  // Of the running broadcast; after its end, as it was just before.
  EncoderStatistics Encoder() const;
  PictureTap* Tap() const { return m_tap; }

 private:
  struct Placement {
    int slot;
    LayerSpec layer;
  };

  // Adds the layers in order, a media file only when the sound before it has its input of the mix:
  // an input counts as free until half a second of sound has come in, and two nodes that are given
  // the same one spoil both.
  void AddLayers();
  bool MixIsReady();
  void AddLayer(const LayerSpec& layer);
  void AddText(const LayerSpec& layer);
  CSrcInterface* NewNode(const LayerSpec& layer) const;
  std::string DeviceOf(const LayerSpec& layer) const;
  std::uintptr_t WindowOf(const std::string& wanted) const;
  // Puts layers where they belong as soon as their first picture has told their size.
  void PlaceLayers();
  shell::MonitorNodes Fixed() { return {m_mixFrame, m_silence, m_render}; }
  shell::BroadcastNodes Live() { return {m_loopback, m_mic, m_mixOut, m_encoder}; }

  const Options& m_options;
  DeviceCatalogue* m_catalogue = nullptr;
  CMixFrame* m_mixFrame = nullptr;
  CInputSlience* m_silence = nullptr;
  CRender* m_render = nullptr;
  shell::LayerNodes m_layers;
  shell::LayerSlots m_slots{&m_layers};
  CInputDev* m_loopback = nullptr;
  CInputDev* m_mic = nullptr;
  CMixOut* m_mixOut = nullptr;
  CEncoder* m_encoder = nullptr;
  PictureTap* m_tap = nullptr;
  EncoderStatistics m_lastEncoder;
  std::size_t m_added = 0;  // of the options' layers
  int m_lastMixInput = 0;   // the one given last; the silence has the first
  int m_waitedForMixMs = 0;
  std::vector<Placement> m_toPlace;
  QTimer m_placing;
  QTimer m_surfaceEvents;
};

}  // namespace bench

#endif
