// The one notice dialog of the program, in four kinds:
//   0  a text of the caller's           "我知道了"
//   1  the network does not answer      "好的"
//   2  news of an update                "立即更新", "稍后提示"
//   3  a broadcast is running           "我知道了"
// Only kind 0 shows the caller's text. Any other kind has no title, no text and one button.
//
// Ownership: made on the stack, run with exec, gone on return. No caller looks at the result.
// Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_THEME_INFORMATIONDLG_H
#define ORVANE_WIDGETS_THEME_INFORMATIONDLG_H

#include <QDialog>
#include <cstdint>

#include "ui_InformationDlg.h"

class QLabel;
class QPushButton;
class QTextEdit;

class InformationDlg : public QDialog {
  Q_OBJECT

 public:
  InformationDlg(std::uint32_t kind, const QString& text, QWidget* parent = nullptr);

 public slots:
  void slotBtnCannel();
  void slotBtnOk();

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void AddText(const QString& text);
  void AddUpdateNews();

  Ui::InformationDlg ui;
  QLabel* titleLabel = nullptr;
  QLabel* textLabel = nullptr;    // not in kind 2
  QTextEdit* textEdit = nullptr;  // kind 2 only
  QPushButton* okButton = nullptr;
  QPushButton* laterButton = nullptr;  // kind 2 only
};

#endif
