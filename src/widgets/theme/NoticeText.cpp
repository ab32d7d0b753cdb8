#include "widgets/theme/NoticeText.h"

#include <QFontMetrics>
#include <QPainter>
#include <QTextLayout>
#include <algorithm>

#include "widgets/theme/SeenLength.h"

namespace theme {

QStringList LinesIn(const QString& text, const QFont& font, const QSize& room) {
  const QFontMetrics metrics(font);
  const int most = std::max(1, room.height() / metrics.lineSpacing());
  QString whole = text.left(kSeenInPanel);
  whole.replace(QLatin1Char('\n'), QChar::LineSeparator);
  QTextLayout layout(whole, font);
  QTextOption option;
  option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  layout.setTextOption(option);
  QStringList lines;
  layout.beginLayout();
  for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
    line.setLineWidth(room.width());
    const QString rest = whole.mid(line.textStart());
    if (lines.size() == most - 1 && line.textLength() < rest.size()) {
      lines += metrics.elidedText(QString(rest).replace(QChar::LineSeparator, QLatin1Char(' ')),
                                  Qt::ElideRight, room.width());
      break;
    }
    lines += rest.left(line.textLength()).remove(QChar::LineSeparator);
  }
  layout.endLayout();
  return lines;
}

void NoticeText::paintEvent(QPaintEvent* event) {
  const QStringList lines = LinesIn(text(), font(), size());
  if (lines.size() <= 1 && lines == QStringList(text())) {
    QLabel::paintEvent(event);
    return;
  }
  QPainter painter(this);
  painter.setPen(palette().color(foregroundRole()));
  painter.drawText(rect(), Qt::AlignCenter, lines.join(QLatin1Char('\n')));
}

}  // namespace theme
