#include "widgets/theme/Frameless.h"

#include <QDialog>
#include <QMouseEvent>
#include <QPainter>

#include "widgets/theme/Palette.h"

namespace {

constexpr int kMargin = kFramelessMargin;
constexpr int kRadius = 15;

}  // namespace

void PrepareFrameless(QDialog* dialog, Qt::WindowFlags more) {
  dialog->setAttribute(Qt::WA_TranslucentBackground);
  dialog->setAttribute(Qt::WA_QuitOnClose, false);
  dialog->setWindowFlags(dialog->windowFlags() | Qt::FramelessWindowHint | more);
}

void PaintFramelessBody(QWidget* dialog) {
  QPainter painter(dialog);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setBrush(QBrush(theme::kBackground));
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
  if (event->y() < kFramelessTitle) {
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
