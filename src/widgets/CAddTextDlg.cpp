#include "widgets/CAddTextDlg.h"

#include <QColorDialog>
#include <QPointer>
#include <QScrollBar>
#include <QShowEvent>

#include "widgets/theme/TitleButtons.h"

namespace {

const char kScrollBarStyle[] =
    "QScrollBar:vertical{width:4px;background:#3d3f45;margin:0px;}"
    "QScrollBar::handle:vertical{background:rgba(135,142,153,50%);border-radius:2px;"
    "min-height:20px;}"
    "QScrollBar::handle:vertical:hover{background:rgba(135,142,153,75%);}"
    "QScrollBar::add-line:vertical,QScrollBar::sub-line:vertical{width:0px;height:0px;}"
    "QScrollBar::add-page:vertical,QScrollBar::sub-page:vertical{background:#3d3f45;}";

QString SwatchStyle(int red, int green, int blue) {
  return QStringLiteral("background-color: rgb(%1, %2, %3)").arg(red).arg(green).arg(blue);
}

}  // namespace

CAddTextDlg::CAddTextDlg(QWidget* parent) : QDialog(parent) {
  ui.setupUi(this);
  KeepSize(this);
  PrepareFrameless(this);
  StyleTitleButton(ui.m_BtnExit, QStringLiteral("topbar-close.png"));
  // An edge of its own, or the style would draw its button there in a pale shade of the colour.
  setStyleSheet(QStringLiteral("QPushButton#m_chooseColorBtn{border:1px solid #5A5F66;}"));
  ui.m_chooseColorBtn->setStyleSheet(QStringLiteral("background-color:#ffffff"));
  ui.textEdit->setPlainText(text);
  // On the bar itself: its window's style sheet would give it a background and no shape.
  ui.textEdit->verticalScrollBar()->setStyleSheet(QLatin1String(kScrollBarStyle));
  colorStyle = SwatchStyle(0, 0, 0);

  connect(ui.m_ok, &QPushButton::clicked, this, &CAddTextDlg::SlotOK);
  connect(ui.m_cancelBtn, &QPushButton::clicked, this, &CAddTextDlg::SlotCancel);
  connect(ui.m_BtnExit, &QPushButton::clicked, this, &CAddTextDlg::SlotCancel);
  connect(ui.m_chooseColorBtn, &QPushButton::clicked, this, &CAddTextDlg::SlotChooseColor);
}

void CAddTextDlg::SlotOK() {
  text = ui.textEdit->toPlainText();
  accept();
}

void CAddTextDlg::SlotCancel() {
  reject();
}

void CAddTextDlg::reject() {
  text.clear();
  QDialog::reject();
}

void CAddTextDlg::SlotChooseColor() {
  const QPointer<CAddTextDlg> self(this);
  // Without a parent: the style sheets of this dialog's windows would reach into the colour dialog
  // and put its dark letters on their dark background.
  const QColor chosen = QColorDialog::getColor(Qt::white, nullptr, QString());
  if (self.isNull() || !chosen.isValid()) {
    return;
  }
  const int red = chosen.red();
  const int green = chosen.green();
  const int blue = chosen.blue();
  color = ((static_cast<std::uint32_t>(red) * 256 + green) * 256 + blue) * 256 + 255;
  colorStyle = SwatchStyle(red, green, blue);
  ui.m_chooseColorBtn->setStyleSheet(colorStyle);
}

void CAddTextDlg::mousePressEvent(QMouseEvent* event) {
  m_drag.Press(this, event);
}

void CAddTextDlg::mouseReleaseEvent(QMouseEvent* event) {
  m_drag.Release(event);
}

void CAddTextDlg::mouseMoveEvent(QMouseEvent* event) {
  m_drag.Move(this, event);
}

void CAddTextDlg::paintEvent(QPaintEvent* event) {
  PaintFramelessBody(this);
  QDialog::paintEvent(event);
  // Not when it has it: a style sheet, also the same one, asks for a repaint, and painting would
  // never end.
  if (ui.m_chooseColorBtn->styleSheet() != colorStyle) {
    ui.m_chooseColorBtn->setStyleSheet(colorStyle);
  }
}

void CAddTextDlg::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  if (!event->spontaneous()) {
    ui.textEdit->setFocus(Qt::OtherFocusReason);
    // The text of the last time: the first letter that is typed takes its place.
    ui.textEdit->selectAll();
  }
}
