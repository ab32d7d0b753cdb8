// The sound meter of the bottom bar: the system's sound over the microphone, peak and RMS in dBFS,
// and what the operator does to either: mute, gain, and which microphone.
//
// Flow: the owner hands over the state of each row about 20 times a second and the widget draws it;
// Announce, at a pace that a screen reader can follow, puts it into words. What the figures mean is
// in MeterRules.h. The operator's doings stay here and are told by signals: a press on a name
// mutes, the wheel over a row's bar changes its gain, the arrow asks for the microphones.
//
// A row: name, bar, gain, figure; a figure that is a warning stands out. See SoundControls.h.
//
// Ownership: a child of the window. Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_SOUNDMETER_H
#define ORVANE_WIDGETS_SOUNDMETER_H

#include <QPoint>
#include <QString>
#include <QWidget>
#include <array>
#include <optional>
#include <vector>

#include "widgets/MeterRules.h"

namespace widgets {
class ArrowButton;
class GainBar;
class MuteButton;
}  // namespace widgets

class SoundMeter : public QWidget {
  Q_OBJECT

 public:
  enum Row { kSystemSound, kMicrophone, kRows };

  explicit SoundMeter(QWidget* parent = nullptr);

  // nullopt: there is no such device.
  void SetRow(Row row, const std::optional<widgets::MeterState>& state);
  // There is one, but it did not open; shown while SetRow knows none.
  void SetRefused(Row row, bool refused);
  // Tells screen readers and the tooltips what the rows show.
  void Announce();

  // What the operator has set; at first nothing is muted or changed.
  bool IsMuted(Row row) const;
  int GainDb(Row row) const;
  void ToggleMute(Row row);
  // For the arrow's tip; empty where there is none.
  void SetMicrophone(const QString& name);
  // The upper left corner of the arrow, on the screen.
  QPoint ArrowPlace() const;
  // What the keyboard comes to, from the left to the right and from the top.
  std::vector<QWidget*> Controls() const;

  QSize sizeHint() const override;

 signals:
  // A mute or a gain of that row is another one.
  void mixChanged(int row);
  void microphonesWanted();

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  struct Strip {
    widgets::MuteButton* name = nullptr;
    widgets::GainBar* bar = nullptr;
    std::optional<widgets::MeterState> state;
    bool refused = false;
  };

  void MakeStrip(Row row);
  void MakeArrow();
  QRect RowRect(int row) const;
  QString RowText(int row) const;
  Strip& At(int row) { return m_strips[static_cast<std::size_t>(row)]; }
  const Strip& At(int row) const { return m_strips[static_cast<std::size_t>(row)]; }

  std::array<Strip, kRows> m_strips;
  widgets::ArrowButton* m_arrow = nullptr;
};

#endif
