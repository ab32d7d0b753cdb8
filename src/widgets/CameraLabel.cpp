#include "widgets/CameraLabel.h"

#include <QBackingStore>
#include <QPainter>
#include <QWindow>

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
  QWindow* window = windowHandle();
  if (window == nullptr || !window->isExposed()) {
    return;
  }
  QBackingStore store(window);
  const QRect area(QPoint(), window->size());
  store.resize(area.size());
  store.beginPaint(area);
  QPainter(store.paintDevice()).fillRect(area, Qt::black);
  store.endPaint();
  store.flush(area);
}

QPaintEngine* CameraLabel::paintEngine() const {
  return testAttribute(Qt::WA_PaintOnScreen) ? nullptr : QLabel::paintEngine();
}

void CameraLabel::paintEvent(QPaintEvent* /*event*/) {
  if (!testAttribute(Qt::WA_PaintOnScreen)) {
    QPainter(this).fillRect(rect(), Qt::black);
  }
}
