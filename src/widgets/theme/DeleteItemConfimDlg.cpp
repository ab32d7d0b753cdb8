#include "widgets/theme/DeleteItemConfimDlg.h"

#include <QFrame>
#include <QLabel>
#include <QPushButton>

#include "widgets/theme/Frameless.h"
#include "widgets/theme/LayerKind.h"

namespace {

QFont BoldFont(int points) {
  return QFont(QStringLiteral("黑体"), points, QFont::Bold);
}

}  // namespace

DeleteItemConfimDlg::DeleteItemConfimDlg(int kind, QWidget* parent)
    : QDialog(parent),
      frame(new QFrame(this)),
      titleLabel(new QLabel(frame)),
      deleteBtn(NewButton("deleteBtn", QStringLiteral("删除"), 100, "#E64839")),
      cancelBtn(NewButton("cancelBtn", QStringLiteral("取消"), 20, "#878E99")) {
  setObjectName(QStringLiteral("DeleteItemConfimDlg"));
  resize(183, 114);
  KeepSize(this);
  PrepareFrameless(this, Qt::WindowStaysOnTopHint);

  frame->setObjectName(QStringLiteral("frame"));
  frame->setGeometry(0, 0, 180, 110);
  frame->setFrameShape(QFrame::StyledPanel);
  frame->setFrameShadow(QFrame::Raised);
  frame->setStyleSheet(QStringLiteral("QWidget{border-image:url(:/orvane/qietu/window-add.png)}"));
  frame->lower();

  titleLabel->setObjectName(QStringLiteral("titleLabel"));
  titleLabel->setGeometry(34, 19, 121, 22);
  titleLabel->setFont(BoldFont(11));
  titleLabel->setAutoFillBackground(true);
  titleLabel->setStyleSheet(QStringLiteral("color:#B4BECC"));
  titleLabel->setText(kind != widgets::kTextLayer ? QStringLiteral("确认删除该图层")
                                                  : QStringLiteral("确认删除该窗口"));

  connect(deleteBtn, &QPushButton::clicked, this, &DeleteItemConfimDlg::deleteOk);
  connect(cancelBtn, &QPushButton::clicked, this, &DeleteItemConfimDlg::close);
  // Enter must not delete what a slip of the mouse asked for, unless the focus was moved there.
  cancelBtn->setDefault(true);
  cancelBtn->setFocus();
}

QPushButton* DeleteItemConfimDlg::NewButton(const char* name, const QString& text, int x,
                                            const char* color) {
  auto* button = new QPushButton(text, this);
  button->setObjectName(QLatin1String(name));
  button->setGeometry(x, 55, 60, 30);
  button->setFont(BoldFont(10));
  button->setStyleSheet(QStringLiteral("color:%1;border-image:url(:/orvane/qietu/comfirm_btn.png)")
                            .arg(QLatin1String(color)));
  return button;
}

void DeleteItemConfimDlg::deleteOk() {
  accept();
}
