#include "widgets/TipText.h"

#include <algorithm>

#include "widgets/theme/SeenLength.h"

namespace widgets {

namespace {

constexpr int kChineseWidth = 12;
constexpr int kStep = 160;
constexpr int kLastLimit = 800;

// One character at that place; two units of UTF-16 where it takes them.
QString CharacterAt(const QString& text, int at) {
  const bool pair =
      at + 1 < text.size() && text.at(at).isHighSurrogate() && text.at(at + 1).isLowSurrogate();
  return text.mid(at, pair ? 2 : 1);
}

}  // namespace

QString TipText(const QString& text, const TextWidth& width) {
  const QString first = CharacterAt(text, 0);
  if (width(first) == kChineseWidth) {
    return text.left(theme::kSeenInPanel);
  }
  QString shown;
  int limit = kStep;
  // It is measured step by step, and may have no width at all.
  const int end = std::min(text.size(), theme::kSeenInLine);
  for (int at = first.size(); at < end && limit <= kLastLimit;) {
    const QString character = CharacterAt(text, at);
    at += character.size();
    shown += character;
    if (width(shown) >= limit) {
      shown += QLatin1Char(' ');
      limit += kStep;
    }
  }
  return shown;
}

}  // namespace widgets
