// The operator in front of the dialogs: answers each one that opens while it lives, as it was told
// before, and remembers what opened. File choosers are answered the way a hand does it, by a row of
// the list or a typed name; a name with quotes could not be typed.
//
// Ownership: dialogs stay the program's. Threads: user interface thread only.
#ifndef ORVANE_TESTS_SUPPORT_OPERATOR_H
#define ORVANE_TESTS_SUPPORT_OPERATOR_H

#include <QDialog>
#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <cstdint>
#include <functional>
#include <vector>

namespace support {

class Operator : public QObject {
 public:
  Operator();

  struct Seen {
    QString kind;  // the dialog's class
    QString text;  // a notice's or a question's text, a file chooser's caption
    QStringList filters;
    QPoint place;
    bool shadow;
  };

  bool confirm = true;  // false: every dialog is cancelled
  bool cross = false;   // notices are closed by their cross
  QString path;         // for file choosers: picked in the list if it is there, else typed
  QString text;
  std::uint32_t color = 255;
  int row = 0;                         // of the window chooser; -1: none is chosen
  std::function<void()> beforeAnswer;  // what happens in the world while a dialog stands open

  const std::vector<Seen>& All() const { return m_seen; }
  // The kinds of all dialogs that opened since it was last asked.
  QStringList TakeKinds();

 private:
  void Look();
  void Answer(QDialog* dialog);
  void AnswerFileChooser(QDialog* dialog);
  void Note(QDialog* dialog);

  QTimer m_timer;
  QPointer<QDialog> m_open;  // noted already
  std::vector<Seen> m_seen;
  QStringList m_kinds;
};

}  // namespace support

#endif
