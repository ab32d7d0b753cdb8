// A field of the login: its placeholder stays for as long as it is empty, also while it has the
// keyboard. Qt takes a centred one away then, and at the start the first field would stand there
// without a word.
//
// Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_LOGINEDIT_H
#define ORVANE_WIDGETS_LOGINEDIT_H

#include <QLineEdit>

class LoginEdit : public QLineEdit {
 public:
  using QLineEdit::QLineEdit;

 protected:
  void inputMethodEvent(QInputMethodEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  bool m_composing = false;  // an input method shows letters that are not in the text yet
};

#endif
