// The sound in the bottom bar: the meter, before a broadcast and while it runs, and what the
// operator does there: mute, gain, and the choice of the microphone.
//
// Flow: from Open on the meter shows what is played and said, so that the operator sees that he is
// heard before he is on air; the devices are then only listened to. A broadcast has captures of its
// own: LetGo comes before they are made, BeginBroadcast once they run, EndBroadcast when they are
// gone, and meanwhile the meter shows what they send. A timer moves the meter; once a second it is
// put into words.
//
// Mute and gain are kept for as long as the program runs, through all broadcasts, whether there is
// a device or not: who mutes the microphone before he plugs it in is muted. The microphone is the
// one that was chosen here, and the catalogue's first one until then; what is chosen while a
// broadcast runs is heard there without a break. One that was chosen and is gone is not replaced by
// another: nobody is to be heard through a microphone that he doesn't know of.
//
// Ownership: the meter belongs to the widget that its layout belongs to, which outlives this. The
// nodes are the window's; its pointers are read anew each time, and changed by SwitchMicrophone
// alone, when the operator chooses.
//
// Threads: user interface thread only. What is read of the nodes are atomics: no worker is ever
// held up. Opening the list waits up to 50 ms for a sound server, a microphone that comes into a
// broadcast without any as long as an opening.
//
// Failure: a device that can't be opened, or listened to, is said so in its row.
#ifndef ORVANE_SHELL_SOUNDDESK_H
#define ORVANE_SHELL_SOUNDDESK_H

#include <QMenu>
#include <QObject>
#include <QTimer>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "shell/BroadcastGraph.h"
#include "sources/SoundGain.h"
#include "sources/SoundLevel.h"
#include "sources/SoundWatch.h"
#include "widgets/MeterRules.h"
#include "widgets/SoundMeter.h"

class CInputDev;
class QBoxLayout;
class QWidget;

namespace shell {

class SoundDesk : public QObject {
  Q_OBJECT

 public:
  explicit SoundDesk(const BroadcastNodes& nodes, QObject* parent = nullptr);

  // Puts the meter behind that widget of the bar, hidden.
  void AddTo(QBoxLayout* bar, QWidget* neighbour);
  // For the order of the Tab key.
  std::vector<QWidget*> Controls() const { return m_meter->Controls(); }

  // Once the catalogue knows the devices: shows the meter and listens.
  void Open();
  // Listens and looks no more, for good.
  void Close();

  // What the next broadcast is to take; empty where the machine has none.
  std::string Microphone() const;
  sources::SoundMix Mix(SoundMeter::Row row) const;
  // Mutes the microphone, or takes it back.
  void ToggleMicrophone() { m_meter->ToggleMute(SoundMeter::kMicrophone); }

  // The devices are to be had by a broadcast.
  void LetGo();
  // microphone: what the broadcast has asked for, whether it could be opened or not.
  void BeginBroadcast(const std::string& microphone);
  void EndBroadcast();

  // Moves the meter and puts it into words; the timer does so too.
  void Refresh();
  // Opens the list above the arrow.
  void OfferMicrophones();
  // Takes that microphone from now on.
  void Choose(const std::string& microphone);

 private:
  struct Strip {
    sources::SoundWatch watch;
    widgets::MeterState state;
    std::int64_t sinceMs = 0;  // when the device was last asked for
  };

  void Tick();
  void Move();
  void MoveRow(SoundMeter::Row row, double seconds);
  void TakeOver(SoundMeter::Row row);
  void Listen();
  void ListenTo(SoundMeter::Row row, const std::string& device);
  void FollowCatalogue();
  void FillMenu();
  CInputDev* Capture(SoundMeter::Row row) const;
  bool IsExpected(SoundMeter::Row row) const;
  Strip& At(SoundMeter::Row row) { return m_strips[static_cast<std::size_t>(row)]; }

  const BroadcastNodes m_nodes;
  SoundMeter* m_meter;
  QMenu m_menu;
  QTimer m_timer;
  std::array<Strip, SoundMeter::kRows> m_strips;
  bool m_isOpen = false;
  bool m_isLive = false;
  int m_ticks = 0;
  std::int64_t m_timeMs = 0;  // of the last move
  std::string m_chosen;       // by the operator; empty until he does
  std::string m_microphone;   // that is listened to or broadcast; empty for none
};

}  // namespace shell

#endif
