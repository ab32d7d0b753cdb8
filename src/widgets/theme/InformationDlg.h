// The one notice dialog of the program, in four kinds. Only kText shows the caller's text. A number
// that is none of them has no title, no text and one button.
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
  enum Kind : std::uint32_t {
    kText,       // a text of the caller's           "我知道了"
    kNoNetwork,  // the network does not answer      "好的"
    kUpdate,     // news of an update                "立即更新", "稍后提示"
    kLiving,     // a broadcast is running           "我知道了"
  };

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
  QLabel* textLabel = nullptr;    // not of an update
  QTextEdit* textEdit = nullptr;  // of an update
  QPushButton* okButton = nullptr;
  QPushButton* laterButton = nullptr;  // of an update
};

#endif
