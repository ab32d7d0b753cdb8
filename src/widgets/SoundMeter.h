// The sound meter of the bottom bar: the system's sound over the microphone, peak and RMS in dBFS.
//
// Flow: the owner hands over the state of each row about 20 times a second and the widget draws it;
// Announce, at a pace that a screen reader can follow, puts it into words. What the figures mean is
// in MeterRules.h.
//
// A row: name, bar, figure; a figure that is a warning stands out. The bar is filled up to the RMS
// in the colour of the peak's zone, up to the peak in a darker shade, and a line marks the held
// peak.
//
// Ownership: a child of the window. Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_SOUNDMETER_H
#define ORVANE_WIDGETS_SOUNDMETER_H

#include <QString>
#include <QWidget>
#include <array>
#include <optional>

#include "widgets/MeterRules.h"

class SoundMeter : public QWidget {
  Q_OBJECT

 public:
  enum Row { kSystemSound, kMicrophone, kRows };

  explicit SoundMeter(QWidget* parent = nullptr);

  // nullopt: there is no such device.
  void SetRow(Row row, const std::optional<widgets::MeterState>& state);
  // There is one, but it did not open; shown while SetRow knows none.
  void SetRefused(Row row, bool refused);
  // Tells screen readers and the tooltip what the rows show.
  void Announce();

  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QRect RowRect(int row) const;
  QString RowText(int row) const;
  void PaintRow(QPainter* painter, int row) const;
  void PaintBar(QPainter* painter, const QRect& bar, const widgets::MeterState& state) const;

  std::array<std::optional<widgets::MeterState>, kRows> m_rows;
  std::array<bool, kRows> m_refused{};
};

#endif
