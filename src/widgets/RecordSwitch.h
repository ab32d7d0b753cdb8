// The switch of the recording in the bottom bar: a dot and its name. Off, the dot is a grey ring;
// on, it is a red one until something is recorded, and full then.
//
// Flow: a press, by the mouse, by a key or by a screen reader, is told by toggled; what shows is
// what the owner says. The mouse gives it no focus: the blank key must not end a recording that was
// begun by hand.
//
// Ownership: a child of the window. Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_RECORDSWITCH_H
#define ORVANE_WIDGETS_RECORDSWITCH_H

#include <QAbstractButton>
#include <QSize>
#include <QString>

class RecordSwitch : public QAbstractButton {
  Q_OBJECT

 public:
  enum class Look { kOff, kWaiting, kOn };

  explicit RecordSwitch(QWidget* parent = nullptr);

  // Without telling anybody.
  void Show(Look look);
  Look Shown() const { return m_look; }
  // The first line is for screen readers too; plain text.
  void Explain(const QString& text);

  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  Look m_look = Look::kOff;
};

#endif
