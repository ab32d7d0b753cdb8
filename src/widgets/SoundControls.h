// The controls of the sound meter: a name that mutes, the arrow that offers the microphones, and
// the bar whose gain the wheel and the arrow keys change.
//
// They paint themselves, opaque, and take the keyboard from Tab alone: after a press with the mouse
// the blank key must not mute anybody.
//
// Ownership: children of the meter. Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_SOUNDCONTROLS_H
#define ORVANE_WIDGETS_SOUNDCONTROLS_H

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QRect>
#include <QString>
#include <optional>

#include "widgets/MeterRules.h"

class QPaintEvent;
class QPainter;
class QWheelEvent;

namespace widgets {

// Checked: muted; the name is red then and struck through.
class MuteButton : public QAbstractButton {
 public:
  // key: that does the same, for the tip; empty for none.
  MuteButton(const QString& name, const QString& key, QWidget* parent);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void Tell(const QString& key);
};

class ArrowButton : public QAbstractButton {
 public:
  explicit ArrowButton(QWidget* parent);

 protected:
  void paintEvent(QPaintEvent* event) override;
};

// The bar is filled up to the RMS in the colour of the peak's zone, up to the peak in a darker
// shade, and a line marks the held peak; all of it in grey while muted. Behind it the gain and the
// figure. Its value is the gain in decibels.
class GainBar : public QAbstractSlider {
 public:
  GainBar(const QString& name, QWidget* parent);

  // What it shows; see LookOf.
  void SetLevel(const std::optional<MeterState>& state, bool refused);
  void SetMuted(bool muted);
  // text: the row in words, for screen readers and the tip.
  void Tell(const QString& text);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;

 private:
  QRect Bar() const;
  void PaintBar(QPainter* painter) const;

  MeterLook m_look;
  bool m_muted = false;
  int m_wheelRest = 0;
};

}  // namespace widgets

#endif
