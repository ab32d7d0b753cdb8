#include "widgets/theme/Frameless.h"

#include <QMouseEvent>
#include <QPainter>
#include <QWidget>

namespace {

constexpr int kMargin = 5;
constexpr int kTitleHeight = 40;
constexpr int kRadius = 15;
const QColor kBackground(0x28, 0x2A, 0x30);

}  // namespace

void PaintFramelessBody(QWidget* dialog) {
  QPainter painter(dialog);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setBrush(QBrush(kBackground));
  painter.setPen(Qt::transparent);
  const QRect body = dialog->rect().adjusted(kMargin, kMargin, -kMargin, -kMargin);
  painter.drawRoundedRect(body, kRadius, kRadius, Qt::AbsoluteSize);
}

void KeepSize(QWidget* dialog) {
  dialog->setFixedSize(dialog->size());
}

void FramelessDrag::Press(const QWidget* dialog, QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) {
    return;
  }
  const bool inMargin =
      event->x() < kMargin || event->y() < kMargin || dialog->width() - event->x() < kMargin;
  if (inMargin) {
    event->ignore();
    return;
  }
  if (event->y() < kTitleHeight) {
    dragging = true;
    dragStart = event->globalPos();
  }
}

void FramelessDrag::Move(QWidget* dialog, QMouseEvent* event) {
  if (dragging) {
    dragNow = event->globalPos();
    dialog->move(dialog->pos() + dragNow - dragStart);
    dragStart = dragNow;
  }
  event->ignore();
}

void FramelessDrag::Release(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) {
    dragging = false;
  }
  event->ignore();
}
