#include "widgets/LoginEdit.h"

#include <QInputMethodEvent>
#include <QPainter>
#include <QStyleOptionFrame>

void LoginEdit::inputMethodEvent(QInputMethodEvent* event) {
  m_composing = !event->preeditString().isEmpty();
  QLineEdit::inputMethodEvent(event);
}

void LoginEdit::paintEvent(QPaintEvent* event) {
  QLineEdit::paintEvent(event);
  if (!hasFocus() || !text().isEmpty() || m_composing) {
    return;
  }
  QStyleOptionFrame option;
  initStyleOption(&option);
  QPainter painter(this);
  painter.setPen(palette().color(QPalette::PlaceholderText));
  painter.drawText(style()->subElementRect(QStyle::SE_LineEditContents, &option, this),
                   static_cast<int>(alignment()), placeholderText());
}
