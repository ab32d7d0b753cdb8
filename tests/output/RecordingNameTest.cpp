#include "output/RecordingName.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QDate>
#include <QTime>

namespace {

const QDateTime kDate(QDate(2026, 3, 7), QTime(20, 5, 9));
const QString kBehind = QStringLiteral(" 2026-03-07 20-05-09.mkv");

QString TitleOf(const QString& title) {
  const QString name = output::RecordingName(title, kDate, 1);
  EXPECT_TRUE(name.endsWith(kBehind)) << name.toStdString();
  return name.left(name.size() - kBehind.size());
}

QString Code(char32_t letter) {
  const uint code = letter;
  return QString::fromUcs4(&code, 1);
}

struct Row {
  const char* what;
  QString title;
  QString safe;
};

TEST(RecordingName, HoldsWhatIsSafeOfTheTitle) {
  const Row rows[] = {
      {"a title", "周年庆 2026", "周年庆 2026"},
      {"nothing", "", "直播"},
      {"blanks alone", " \t\n ", "直播"},
      {"blanks around and between", "  a \t b\r\n\nc  ", "a b c"},
      {"a wide blank", Code(0x3000) + "晚" + Code(0x3000) + "会", "晚 会"},
      {"a line separator", "a" + Code(0x2028) + "b", "a b"},
      {"a path", "../../etc/passwd", "_._.._etc_passwd"},
      {"this directory", ".", "_"},
      {"the one above", "..", "_."},
      {"a hidden name", ".bashrc", "_bashrc"},
      {"an option", "-rf", "_rf"},
      {"dots and dashes further on", "a.b-c.", "a.b-c."},
      {"a drive and a stream", R"(C:\a:b)", "C__a_b"},
      {"what patterns and pipes are made of", R"(a*b?c"d<e>f|g)", "a_b_c_d_e_f_g"},
      {"a zero", QString("a") + QChar(0) + "b", "a b"},
      {"controls", QString("a") + QChar(0x1B) + "[2J" + QChar(0x7F) + QChar(0x9B) + "b", "a [2J b"},
      {"a turned direction", "a" + Code(0x202E) + "vkm.b" + Code(0x2066), "avkm.b"},
      {"a byte order mark", Code(0xFEFF) + "a", "a"},
      {"what is no character", "a" + Code(0xFFFF) + "b", "ab"},
      {"a joined pictogram", Code(0x1F469) + Code(0x200D) + Code(0x1F4BB),
       Code(0x1F469) + Code(0x200D) + Code(0x1F4BB)},
      {"half a character", QString("a") + QChar(0xD83D) + "b", "a_b"},
      {"a device", "con", "_con"},
      {"a device with an ending", "Nul.txt", "_Nul.txt"},
      {"a numbered device", "COM1", "_COM1"},
      {"no device", "COM", "COM"},
      {"none either", "console", "console"},
      {"a placeholder", "%1 %n %s", "%1 %n %s"},
      {"markup", "<b>a</b>", "_b_a__b_"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(TitleOf(row.title).toStdString(), row.safe.toStdString()) << row.what;
  }
}

// Of one byte a letter, of three and of four: cut between two letters, as late as possible.
TEST(RecordingName, TakesNoMoreBytesThanADirectoryHas) {
  for (const QString& letter : {QString("x"), QString("播"), Code(0x1F600)}) {
    const QString name =
        output::RecordingName(letter.repeated(5000), kDate, output::kLastRecordingNumber);
    const int bytes = letter.toUtf8().size();
    EXPECT_LE(name.toUtf8().size(), output::kRecordingNameBytes);
    EXPECT_GT(name.toUtf8().size(), output::kRecordingNameBytes - bytes);
    EXPECT_TRUE(name.endsWith(" 2026-03-07 20-05-09 (9999).mkv")) << name.toStdString();
    EXPECT_EQ(name.toUtf8().count(letter.toUtf8()) * bytes + 31, name.toUtf8().size());
  }
  // What is left behind the cut is no blank at its end.
  EXPECT_EQ(TitleOf(QString(111, QChar('x')) + " yyyyy"), QString(111, QChar('x')));
}

TEST(RecordingName, ShowsItsNumberFromTheSecondOn) {
  EXPECT_EQ(output::RecordingName("a", kDate, 1).toStdString(), "a 2026-03-07 20-05-09.mkv");
  EXPECT_EQ(output::RecordingName("a", kDate, 2).toStdString(), "a 2026-03-07 20-05-09 (2).mkv");
  EXPECT_EQ(output::RecordingName("a", kDate, 10).toStdString(), "a 2026-03-07 20-05-09 (10).mkv");
}

}  // namespace
