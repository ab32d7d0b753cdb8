#include "widgets/CameraLabel.h"

#include <QPainter>

CameraLabel::CameraLabel(QWidget* parent) : QLabel(parent) {
  setAttribute(Qt::WA_NativeWindow);
  setAttribute(Qt::WA_OpaquePaintEvent);
  setAttribute(Qt::WA_NoSystemBackground);
}

void CameraLabel::LeaveToOthers() {
  setAttribute(Qt::WA_PaintOnScreen);
}

void CameraLabel::TakeBack() {
  setAttribute(Qt::WA_PaintOnScreen, false);
  update();
}

QPaintEngine* CameraLabel::paintEngine() const {
  return testAttribute(Qt::WA_PaintOnScreen) ? nullptr : QLabel::paintEngine();
}

void CameraLabel::paintEvent(QPaintEvent* /*event*/) {
  if (!testAttribute(Qt::WA_PaintOnScreen)) {
    QPainter(this).fillRect(rect(), Qt::black);
  }
}
