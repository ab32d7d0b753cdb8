#include "shell/PreviewLabel.h"

#include <QKeyEvent>
#include <QPaintEvent>
#include <QPainter>
#include <utility>

PreviewLabel::PreviewLabel(QWidget* parent) : QLabel(parent) {
  setAttribute(Qt::WA_OpaquePaintEvent);
  setFocusPolicy(Qt::TabFocus);
  setMouseTracking(true);
}

void PreviewLabel::Watch(KeyWatcher onKey, std::function<void()> onLeave) {
  m_onKey = std::move(onKey);
  m_onLeave = std::move(onLeave);
}

void PreviewLabel::paintEvent(QPaintEvent* event) {
  QPainter(this).fillRect(event->rect(), Qt::black);
}

void PreviewLabel::keyPressEvent(QKeyEvent* event) {
  if (!m_onKey || !m_onKey(*event)) {
    event->ignore();
  }
}

void PreviewLabel::leaveEvent(QEvent* event) {
  if (m_onLeave) {
    m_onLeave();
  }
  QLabel::leaveEvent(event);
}

void PreviewLabel::focusInEvent(QFocusEvent* /*event*/) {}

void PreviewLabel::focusOutEvent(QFocusEvent* /*event*/) {}
