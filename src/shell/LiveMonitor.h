// What the bottom bar says of a running broadcast: the state of the stream, in one label.
//
// Flow: Begin shows it and looks once; Refresh, called once a second by the clock's tick, notes the
// encoder's figures and the counts of every capture and shows what StreamHealth makes of them. End
// hides it and forgets everything. What is read of the nodes are atomics, and why one failed, which
// its worker writes once: no worker is ever held up.
//
// Captures are the two sound devices of the broadcast and the cameras and desktops among the
// layers; files, pictures, texts and windows have no device that could freeze. A hidden layer
// counts too: it may be shown at any moment.
//
// Ownership: the label belongs to the widget that its layout belongs to. The nodes are the
// window's; its pointers are read anew each time and never set, so that a node may go or come at
// any time between two calls.
//
// Threads: user interface thread only.
#ifndef ORVANE_SHELL_LIVEMONITOR_H
#define ORVANE_SHELL_LIVEMONITOR_H

#include <QObject>
#include <optional>

#include "shell/BroadcastGraph.h"
#include "shell/LayerSlots.h"
#include "shell/StreamHealth.h"

class CEncoder;
class CInputDev;
class QBoxLayout;
class QLabel;
class QWidget;

namespace shell {

class LiveMonitor : public QObject {
  Q_OBJECT

 public:
  LiveMonitor(const BroadcastNodes& nodes, const LayerNodes& layers, QObject* parent = nullptr);

  // Puts the label behind that widget of the bar, hidden.
  void AddTo(QBoxLayout* bar, QWidget* neighbour);

  void Begin();
  void Refresh();
  void End();
  // What the service said when it would not hear of this broadcast; nothing when it has heard.
  void SetRefusal(const std::optional<QString>& message) { m_refusal = message; }

 private:
  StreamSample TakeSample() const;
  void Show(const StreamHealth& health);

  CInputDev* const& m_systemSound;
  CInputDev* const& m_microphone;
  CEncoder* const& m_encoder;
  const LayerNodes& m_layers;
  QLabel* m_label = nullptr;
  StreamHistory m_history;
  std::optional<QString> m_refusal;
  std::optional<StreamLight> m_shownLight;
};

}  // namespace shell

#endif
