#include "output/RecordingName.h"

#include <QChar>
#include <QStringList>
#include <QVector>
#include <cstring>

namespace output {

namespace {

// A blank, the date, a blank, the largest number in parentheses, the ending.
constexpr int kBytesBehindTitle = 1 + 19 + 1 + 6 + 4;
constexpr int kTitleBytes = kRecordingNameBytes - kBytesBehindTitle;
constexpr uint kAscii = 0x80;
// Without them some scripts and pictograms fall apart; they do nothing else.
constexpr uint kNonJoiner = 0x200C;
constexpr uint kJoiner = 0x200D;
constexpr uint kUnreadable = 0xFFFD;

enum class Letter { kPlain, kBlank, kReserved, kLeftOut };

Letter KindOf(uint letter) {
  const QChar::Category category = QChar::category(letter);
  if (QChar::isSpace(letter) || category == QChar::Other_Control) {
    return Letter::kBlank;
  }
  if (letter == kNonJoiner || letter == kJoiner) {
    return Letter::kPlain;
  }
  if (category == QChar::Other_Format || QChar::isNonCharacter(letter)) {
    return Letter::kLeftOut;
  }
  const bool reserved =
      letter < kAscii && std::strchr("/\\:*?\"<>|", static_cast<int>(letter)) != nullptr;
  return reserved || letter == kUnreadable ? Letter::kReserved : Letter::kPlain;
}

QString SafeLetters(const QString& title) {
  QVector<uint> letters;
  for (const uint letter : title.toUcs4()) {
    switch (KindOf(letter)) {
      case Letter::kPlain:
        letters.append(letter);
        break;
      case Letter::kBlank:
        letters.append(' ');
        break;
      case Letter::kReserved:
        letters.append('_');
        break;
      case Letter::kLeftOut:
        break;
    }
  }
  return QString::fromUcs4(letters.constData(), letters.size()).simplified();
}

// Whatever follows a dot: such a name opens a device on systems that know drive letters.
bool NamesDevice(const QString& title) {
  const QString name = title.section(QLatin1Char('.'), 0, 0).trimmed().toUpper();
  const QString kind = name.left(3);
  const bool numbered = kind == QLatin1String("COM") || kind == QLatin1String("LPT");
  return (numbered && name.size() == 4 && name.back().isDigit()) ||
         QStringList{QStringLiteral("CON"), QStringLiteral("PRN"), QStringLiteral("AUX"),
                     QStringLiteral("NUL")}
             .contains(name);
}

QString Cut(QString title) {
  title.truncate(kTitleBytes);  // a character takes a byte at least
  const auto endsInHalf = [&title] {
    return !title.isEmpty() && title.at(title.size() - 1).isHighSurrogate();
  };
  while (title.toUtf8().size() > kTitleBytes || endsInHalf()) {
    title.chop(1);
  }
  return title.trimmed();
}

QString SafeTitle(const QString& title) {
  QString safe = SafeLetters(title);
  if (safe.isEmpty()) {
    return QStringLiteral("直播");
  }
  if (safe.startsWith(QLatin1Char('.')) || safe.startsWith(QLatin1Char('-'))) {
    safe[0] = QLatin1Char('_');
  }
  if (NamesDevice(safe)) {
    safe.prepend(QLatin1Char('_'));
  }
  return Cut(safe);
}

}  // namespace

QString RecordingName(const QString& title, const QDateTime& date, int number) {
  const QString counted = number > 1 ? QStringLiteral(" (%1)").arg(number) : QString();
  return SafeTitle(title) + date.toString(QStringLiteral(" yyyy-MM-dd HH-mm-ss")) + counted +
         QStringLiteral(".mkv");
}

}  // namespace output
