// Asks whether a layer is to be deleted: exec gives Accepted for yes.
//
// kind is the row's kind. A text layer (0) is asked about with the words of a window and everything
// else with those of a layer; operators know the two questions this way round.
//
// Ownership: made on the stack by the shell. Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_THEME_DELETEITEMCONFIMDLG_H
#define ORVANE_WIDGETS_THEME_DELETEITEMCONFIMDLG_H

#include <QDialog>

class QFrame;
class QLabel;
class QPushButton;

class DeleteItemConfimDlg : public QDialog {
  Q_OBJECT

 public:
  explicit DeleteItemConfimDlg(int kind, QWidget* parent = nullptr);

 public slots:
  void deleteOk();

 private:
  QPushButton* NewButton(const char* name, const QString& text, int x, const char* color);

  QFrame* frame;
  QLabel* titleLabel;
  QPushButton* deleteBtn;
  QPushButton* cancelBtn;
};

#endif
