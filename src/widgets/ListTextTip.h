// The small floating panel with a layer's whole name, shown where the row is too narrow for it.
//
// Ownership: a value member of the main window, made once without a parent; shown and closed by the
// shell, which also places it. It takes no focus from the window.
// Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_LISTTEXTTIP_H
#define ORVANE_WIDGETS_LISTTEXTTIP_H

#include <QDialog>
#include <QString>

#include "ui_ListTextTip.h"

class ListTextTip : public QDialog {
  Q_OBJECT

 public:
  explicit ListTextTip(QWidget* parent = nullptr);
  ~ListTextTip() override;

  // Prepares the name for the label, which breaks lines; TipText tells how.
  void SetTipText(QString text);

 private:
  Ui::ListTextTip ui;
};

#endif
