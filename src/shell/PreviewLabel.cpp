#include "shell/PreviewLabel.h"

#include <QPaintEvent>
#include <QPainter>

PreviewLabel::PreviewLabel(QWidget* parent) : QLabel(parent) {
  setAttribute(Qt::WA_OpaquePaintEvent);
}

void PreviewLabel::paintEvent(QPaintEvent* event) {
  QPainter(this).fillRect(event->rect(), Qt::black);
}
