#include "widgets/ElidedLabel.h"

#include <QPainter>
#include <QStyle>

#include "widgets/OneLine.h"

void ElidedLabel::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  drawFrame(&painter);
  const QRect place = contentsRect();
  style()->drawItemText(&painter, place, static_cast<int>(alignment()), palette(), isEnabled(),
                        widgets::OneLine(text(), fontMetrics(), place.width()), foregroundRole());
}
