#include "widgets/ActivitiesWndDlg.h"

#include <QShortcut>
#include <iterator>

#include "sources/DeviceCatalogue.h"
#include "widgets/WndItemData.h"
#include "widgets/theme/TitleButtons.h"

ActivitiesWndDlg::ActivitiesWndDlg(QWidget* parent) : QDialog(parent) {
  ui.setupUi(this);
  KeepSize(this);
  PrepareFrameless(this);
  StyleTitleButton(ui.m_BtnExit, QStringLiteral("topbar-close.png"));

  connect(ui.m_okBtn, &QPushButton::clicked, this, &ActivitiesWndDlg::SlotOK);
  connect(ui.m_canBtn, &QPushButton::clicked, this, &ActivitiesWndDlg::SlotCancel);
  connect(ui.m_BtnExit, &QPushButton::clicked, this, &ActivitiesWndDlg::SlotCancel);
  connect(ui.listView, &SelWndList::sendCheck, this, &ActivitiesWndDlg::SlotRecvCheck);
  // The list takes no focus, and the button that has it would move it on.
  const auto* up = new QShortcut(Qt::Key_Up, this);
  const auto* down = new QShortcut(Qt::Key_Down, this);
  connect(up, &QShortcut::activated, this, [this] { ui.listView->StepTo(-1); });
  connect(down, &QShortcut::activated, this, [this] { ui.listView->StepTo(1); });

  DeviceCatalogue::Instance()->ListWindows(&windows);
  for (const auto& window : windows) {
    ui.listView->AddItem(true, window.second, widgets::kWndRowSize);
  }
}

void ActivitiesWndDlg::SlotOK() {
  accept();
}

void ActivitiesWndDlg::SlotCancel() {
  reject();
}

void ActivitiesWndDlg::SlotRecvCheck(int row) {
  selectedWnd = 0;
  selectedTitle.clear();
  if (row < 0 || row >= static_cast<int>(windows.size())) {
    return;
  }
  const auto chosen = std::next(windows.cbegin(), row);
  selectedWnd = chosen->first;
  selectedTitle = chosen->second;
}

void ActivitiesWndDlg::mousePressEvent(QMouseEvent* event) {
  m_drag.Press(this, event);
}

void ActivitiesWndDlg::mouseReleaseEvent(QMouseEvent* event) {
  m_drag.Release(event);
}

void ActivitiesWndDlg::mouseMoveEvent(QMouseEvent* event) {
  m_drag.Move(this, event);
}

void ActivitiesWndDlg::paintEvent(QPaintEvent* event) {
  PaintFramelessBody(this);
  QDialog::paintEvent(event);
}
