// What the bottom bar shows of a running broadcast: the state of the stream in one label, and the
// sound meter.
//
// Flow: Begin shows both and looks once; Refresh, called once a second by the clock's tick, notes
// the encoder's figures and the counts of every capture and shows what StreamHealth makes of them;
// a timer of its own moves the meter. End hides both and forgets everything. What is read of the
// nodes are atomics, and why one failed, which its worker writes once: no worker is ever held up.
//
// Captures are the two sound devices of the broadcast and the cameras and desktops among the
// layers; files, pictures, texts and windows have no device that could freeze. A hidden layer
// counts too: it may be shown at any moment.
//
// Ownership: label and meter belong to the widget that their layout belongs to. The nodes are the
// window's; its pointers are read anew each time and never set, so that a node may go or come at
// any time between two calls.
//
// Threads: user interface thread only.
#ifndef ORVANE_SHELL_LIVEMONITOR_H
#define ORVANE_SHELL_LIVEMONITOR_H

#include <QObject>
#include <QTimer>
#include <cstdint>
#include <optional>

#include "shell/BroadcastGraph.h"
#include "shell/LayerSlots.h"
#include "shell/StreamHealth.h"
#include "widgets/MeterRules.h"

class CEncoder;
class CInputDev;
class QBoxLayout;
class QLabel;
class QWidget;
class SoundMeter;

namespace shell {

class LiveMonitor : public QObject {
  Q_OBJECT

 public:
  LiveMonitor(const BroadcastNodes& nodes, const LayerNodes& layers, QObject* parent = nullptr);

  // Puts label and meter behind that widget of the bar, hidden.
  void AddTo(QBoxLayout* bar, QWidget* neighbour);

  // hasMicrophone: the machine has one, whether it could be opened or not.
  void Begin(bool hasMicrophone);
  void Refresh();
  void End();
  // What the service said when it would not hear of this broadcast; nothing when it has heard.
  void SetRefusal(const std::optional<QString>& message) { m_refusal = message; }

 private:
  void MoveMeter();
  void MoveRow(int row, CInputDev* device, double seconds, widgets::MeterState* state);
  StreamSample TakeSample() const;
  void Show(const StreamHealth& health);

  CInputDev* const& m_systemSound;
  CInputDev* const& m_microphone;
  CEncoder* const& m_encoder;
  const LayerNodes& m_layers;
  QLabel* m_label = nullptr;
  SoundMeter* m_meter = nullptr;
  QTimer m_meterTimer;
  std::int64_t m_beginTime = 0;
  std::int64_t m_meterTime = 0;  // of the last move
  bool m_hasMicrophone = false;  // the machine
  StreamHistory m_history;
  std::optional<QString> m_refusal;
  std::optional<StreamLight> m_shownLight;
  widgets::MeterState m_systemSoundLevel;
  widgets::MeterState m_microphoneLevel;
};

}  // namespace shell

#endif
