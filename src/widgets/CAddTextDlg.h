// Asks for the text of a text layer and its colour. One object serves adding and editing: what was
// typed and chosen stands there again at the next opening, however the last one ended.
//
// Flow: exec; after Accepted the caller reads text and color. Every other end (the cancel button,
// the cross, Escape, the window manager) leaves text empty and color as it was last chosen.
//
// Ownership: the shell makes it once, with the main window as parent.
// Threads: user interface thread only. The colour dialog runs an event loop of its own.
#ifndef ORVANE_WIDGETS_CADDTEXTDLG_H
#define ORVANE_WIDGETS_CADDTEXTDLG_H

#include <QDialog>
#include <QString>
#include <cstdint>

#include "ui_CAddTextDlg.h"
#include "widgets/theme/Frameless.h"

class CAddTextDlg : public QDialog {
  Q_OBJECT

 public:
  explicit CAddTextDlg(QWidget* parent = nullptr);

  QString text;               // as typed, line breaks included; any length, also empty
  std::uint32_t color = 255;  // 0xRRGGBBAA; alpha is always 255

  // Where every end but SlotOK arrives.
  void reject() override;

 public slots:
  void SlotOK();
  void SlotCancel();
  void SlotChooseColor();

 protected:
  void mousePressEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  Ui::TextDlg ui;
  FramelessDrag m_drag;
  QString colorStyle;  // the style sheet of the colour swatch
};

#endif
