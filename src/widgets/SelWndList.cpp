#include "widgets/SelWndList.h"

#include <QStandardItemModel>
#include <algorithm>

#include "widgets/SelWndItemDelegate.h"
#include "widgets/WndItemData.h"
#include "widgets/theme/ListStyle.h"

namespace {

const char kEdgeStyle[] =
    "QListView{background-color:#282A30;border:0px solid #282A30;margin:0px;padding:0px;}";

}  // namespace

SelWndList::SelWndList(QWidget* parent)
    : QListView(parent),
      model(new QStandardItemModel(this)),
      delegate(new SelWndItemDelegate(this)) {
  qRegisterMetaType<WndItemData>("WndItemData");
  setModel(model);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
  setSelectionMode(QAbstractItemView::SingleSelection);
  setAttribute(Qt::WA_MouseTracking);
  setViewMode(QListView::IconMode);
  setIconSize(widgets::kWndRowSize);
  setGridSize(widgets::kWndRowSize);
  setSpacing(10);
  setFocusPolicy(Qt::NoFocus);
  setEditTriggers(QAbstractItemView::NoEditTriggers);
  // Behind the view mode, which turns it on.
  setDragEnabled(false);
  setItemDelegate(delegate);
  setStyleSheet(ListStyle() + QLatin1String(kEdgeStyle));
  connect(delegate, &SelWndItemDelegate::checkItem, this, &SelWndList::checkSlot);
}

void SelWndList::AddItem(bool check, QString title, QSize size) {
  auto* item = new QStandardItem;
  item->setFont(QFont(QStringLiteral("微软雅黑"), 10, 1));
  item->setAccessibleText(title);
  item->setData(QVariant::fromValue(WndItemData{std::move(title), check}),
                widgets::kWndItemDataRole);
  item->setSizeHint(size);
  model->appendRow(item);
  update();
}

void SelWndList::StepTo(int rows) {
  if (model->rowCount() == 0) {
    return;
  }
  const int row = std::clamp(currentIndex().row() + rows, 0, model->rowCount() - 1);
  setCurrentIndex(model->index(row, 0));
  checkSlot(currentIndex());
}

void SelWndList::checkSlot(QModelIndex index) {
  emit sendCheck(index.row());
}
