#include "widgets/OneLine.h"

#include "widgets/theme/SeenLength.h"

namespace widgets {

namespace {

bool BreaksLine(QChar unit) {
  return unit == QLatin1Char('\n') || unit == QLatin1Char('\r') || unit == QLatin1Char('\t') ||
         unit == QChar::LineSeparator || unit == QChar::ParagraphSeparator;
}

}  // namespace

QString WithoutBreaks(const QString& text) {
  QString line = text.left(theme::kSeenInLine);
  for (QChar& unit : line) {
    if (BreaksLine(unit)) {
      unit = QLatin1Char(' ');
    }
  }
  return line;
}

QString OneLine(const QString& text, const QFontMetrics& metrics, int width) {
  return metrics.elidedText(WithoutBreaks(text), Qt::ElideRight, width);
}

QTextOption OneLineOption() {
  QTextOption option;
  option.setWrapMode(QTextOption::NoWrap);
  return option;
}

}  // namespace widgets
