// The label that the camera chooser's preview is drawn into: black, but while another library draws
// in its native window. Qt paints nothing there then, whatever effect its dialog wears: each
// repaint of the dialog would otherwise flash over the picture.
//
// Threads: user interface thread.
#ifndef ORVANE_WIDGETS_CAMERALABEL_H
#define ORVANE_WIDGETS_CAMERALABEL_H

#include <QLabel>

class CameraLabel : public QLabel {
 public:
  explicit CameraLabel(QWidget* parent = nullptr);

  // From now on its native window is somebody else's to draw in.
  void LeaveToOthers();
  // Nobody else draws there: it is black again. To be called again and again, since what covers the
  // label on the screen takes the black away: a native window inside a dialog that wears an effect
  // gets no paint events, so it is filled past them.
  void TakeBack();

  // Null once it is left to others, as Qt asks of a widget that it does not paint.
  QPaintEngine* paintEngine() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

#endif
