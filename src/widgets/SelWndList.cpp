#include "widgets/SelWndList.h"

#include <QStandardItemModel>
#include <algorithm>

#include "widgets/SelWndItemDelegate.h"
#include "widgets/WndItemData.h"

namespace {

constexpr int kDataRole = Qt::UserRole + 1;
constexpr QSize kRow(460, 30);

const char kStyle[] =
    "QListView{background-color:#282A30;border:0px solid #282A30;margin:0px;padding:0px;}"
    "QScrollBar:vertical{width:4px;background:transparent;margin:0px;padding-top:5px;"
    "padding-bottom:5px;}"
    "QScrollBar::handle:vertical{background:rgba(135,142,153,25%);border-radius:2px;"
    "min-height:20;}"
    "QScrollBar::handle:vertical:hover{background:rgba(135,142,153,50%);border-radius:2px;"
    "min-height:20;}"
    "QScrollBar::add-line:vertical{width:0px;height:0px;}"
    "QScrollBar::sub-line:vertical{width:0px;height:0px;}"
    "QScrollBar::add-page:vertical,QScrollBar::sub-page:vertical{background:#282A30;}";

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
  setIconSize(kRow);
  setGridSize(kRow);
  setSpacing(10);
  setFocusPolicy(Qt::NoFocus);
  setEditTriggers(QAbstractItemView::NoEditTriggers);
  // Behind the view mode, which turns it on.
  setDragEnabled(false);
  setItemDelegate(delegate);
  setStyleSheet(QLatin1String(kStyle));
  connect(delegate, &SelWndItemDelegate::checkItem, this, &SelWndList::checkSlot);
}

void SelWndList::AddItem(bool check, QString title, QSize size) {
  auto* item = new QStandardItem;
  item->setFont(QFont(QStringLiteral("微软雅黑"), 10, 1));
  item->setAccessibleText(title);
  item->setData(QVariant::fromValue(WndItemData{std::move(title), check}), kDataRole);
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
