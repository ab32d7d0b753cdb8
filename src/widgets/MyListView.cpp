#include "widgets/MyListView.h"

#include <QDragEnterEvent>
#include <QDragMoveEvent>
#include <QDropEvent>
#include <QFont>
#include <QStandardItemModel>
#include <vector>

#include "widgets/ItemData.h"
#include "widgets/LayerKeys.h"
#include "widgets/LayerRowRules.h"
#include "widgets/theme/ListStyle.h"

namespace {

using widgets::kRowSize;
using widgets::RecordOf;
using widgets::RowStep;

const QSize kGridSize(284, 40);

const char kItemStyle[] = "QListView::item{border-image:url(:/orvane/qietu/layer-normal.png);}";

// A row's item. What screen readers ask for comes out of the record, so that the two agree always
// and a dragged row carries nothing twice.
class RowItem : public QStandardItem {
 public:
  RowItem(const ItemData& record, const QSize& size) {
    setData(QVariant::fromValue(record), widgets::kItemDataRole);
    setSizeHint(size);
  }
  // Takes over what a row that is exchanged for this one had beside its record.
  void TakeFailure(const QVariant& failure) {
    if (failure.isValid()) {
      setData(failure, widgets::kFailureRole);
    }
  }

  QVariant data(int role) const override {
    switch (role) {
      case Qt::AccessibleTextRole:
        return Record().text;
      case Qt::AccessibleDescriptionRole:
        return Record().visible ? QStringLiteral("已显示") : QStringLiteral("已隐藏");
      default:
        return QStandardItem::data(role);
    }
  }

 private:
  ItemData Record() const { return QStandardItem::data(widgets::kItemDataRole).value<ItemData>(); }
};

}  // namespace

// The parent is left out on purpose: the layout of the form gives the view its parent.
MyListView::MyListView(QWidget* /*parent*/)
    : model(new QStandardItemModel(this)), delegate(new ItemDelegate(this)) {
  setModel(model);
  InitView();
  ConnectDelegate();
  m_keys = new widgets::LayerKeys(this);
}

QWidget* MyListView::Keys() const {
  return m_keys;
}

void MyListView::InitView() {
  // Without effect while there is no row: what is shown is column 0.
  setModelColumn(1);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
  setSelectionMode(QAbstractItemView::SingleSelection);
  setMouseTracking(true);
  setDragEnabled(true);
  setViewMode(QListView::IconMode);
  setIconSize(kGridSize);
  setGridSize(kGridSize);
  setSpacing(5);
  setMovement(QListView::Snap);
  setAcceptDrops(true);
  setDropIndicatorShown(true);
  setFocusPolicy(Qt::NoFocus);
  setItemDelegate(delegate);
  setEditTriggers(QAbstractItemView::NoEditTriggers);
  setStyleSheet(ListStyle() + QLatin1String(kItemStyle));
  setMaximumSize(320, 400);
  setAccessibleName(QStringLiteral("图层列表"));
}

void MyListView::ConnectDelegate() {
  connect(delegate, &ItemDelegate::invisibleItem, this, &MyListView::invisibleSlot);
  connect(delegate, &ItemDelegate::visibleItem, this, &MyListView::visibleSlot);
  connect(delegate, &ItemDelegate::deleteItem, this, &MyListView::deleteSlot);
  connect(delegate, &ItemDelegate::checkItem, this, &MyListView::checkSlot);
  connect(delegate, &ItemDelegate::buttonKindItem, this, &MyListView::recvButtonKind);
  connect(delegate, &ItemDelegate::editItem, this, &MyListView::recvEditSlot);
}

void MyListView::AddRow(bool visible, QString text, QSize size, int kind) {
  auto* item = new RowItem({text, visible, kind}, size);
  item->setFont(QFont(QStringLiteral("微软雅黑"), 10, 1, false));
  model->insertRow(0, item);
  viewport()->update();
}

void MyListView::SetRowText(int row, QString text) {
  const QModelIndex index = model->index(row, 0);
  ItemData record = RecordOf(index);
  record.text = text;
  model->setData(index, QVariant::fromValue(record), widgets::kItemDataRole);
  viewport()->update();
}

void MyListView::SetRowVisible(int row, bool visible) {
  const QModelIndex index = model->index(row, 0);
  if (index.isValid() && RecordOf(index).visible != visible) {
    SetVisible(index, visible);
  }
}

void MyListView::SetRowFailure(int row, QString cause) {
  const QModelIndex index = model->index(row, 0);
  if (index.data(widgets::kFailureRole).toString() != cause) {
    model->setData(index, cause, widgets::kFailureRole);
    viewport()->update();
  }
}

// The mouse may rest below the rows then and tell of no other one.
void MyListView::RemoveRow(int row) {
  hoverIndex = QModelIndex();
  dragIndex = QModelIndex();
  model->removeRow(row);
}

int MyListView::RowCount() const {
  return model->rowCount();
}

QRect MyListView::RowOnScreen(const QPoint& point) const {
  const QRect row = visualRect(indexAt(viewport()->mapFromGlobal(point)));
  return row.isEmpty() ? QRect() : QRect(viewport()->mapToGlobal(row.topLeft()), row.size());
}

void MyListView::SetVisible(const QModelIndex& index, bool visible) {
  ItemData record = RecordOf(index);
  record.visible = visible;
  model->setData(index, QVariant::fromValue(record), widgets::kItemDataRole);
  viewport()->update();
  emit visibleSignal(index.row(), visible);
}

void MyListView::invisibleSlot(QModelIndex index) {
  SetVisible(index, false);
}

void MyListView::visibleSlot(QModelIndex index) {
  SetVisible(index, true);
}

void MyListView::deleteSlot(QModelIndex index, QPoint point) {
  emit deleteItem(index.row(), RecordOf(index).kind, point);
}

void MyListView::checkSlot(QModelIndex index) {
  hoverIndex = index;
  setCurrentIndex(index);
  viewport()->update();
}

void MyListView::recvButtonKind(buttonKind kind) {
  lastButtonKind = kind;
}

void MyListView::recvEditSlot(QModelIndex index) {
  editIndex = index;
  emit editItem(index.row());
}

bool MyListView::IsOwn(const QDropEvent& event) const {
  return event.source() == this;
}

void MyListView::dragEnterEvent(QDragEnterEvent* event) {
  if (lastButtonKind == RightKind || !IsOwn(*event)) {
    event->ignore();
    return;
  }
  dragStartPos = event->pos();
  dragIndex = hoverIndex;
  event->setDropAction(Qt::MoveAction);
  event->accept();
}

void MyListView::dragMoveEvent(QDragMoveEvent* event) {
  if (!IsOwn(*event)) {
    event->ignore();
    return;
  }
  event->setDropAction(Qt::MoveAction);
  event->accept();
}

void MyListView::dropEvent(QDropEvent* event) {
  event->ignore();
  if (lastButtonKind == RightKind || !IsOwn(*event)) {
    return;
  }
  ExchangeRows(dragIndex.row(), indexAt(event->pos()).row());
}

void MyListView::ExchangeRows(int drag, int target) {
  const std::vector<RowStep> steps = widgets::StepsOfDrop(drag, target, RowCount());
  if (steps.empty()) {
    return;
  }
  const QModelIndex draggedIndex = model->index(drag, 0);
  const QModelIndex targetIndex = model->index(target, 0);
  const ItemData dragged = RecordOf(draggedIndex);
  const QVariant draggedFailure = draggedIndex.data(widgets::kFailureRole);
  const ItemData displaced = RecordOf(targetIndex);
  const QVariant displacedFailure = targetIndex.data(widgets::kFailureRole);
  emit changeItem(drag, target);
  for (const RowStep& step : steps) {
    if (step.kind == RowStep::Kind::kRemove) {
      model->removeRow(step.row);
      continue;
    }
    const bool isDragged = step.record == RowStep::Record::kDragged;
    auto* item = new RowItem(isDragged ? dragged : displaced, kRowSize);
    item->TakeFailure(isDragged ? draggedFailure : displacedFailure);
    if (step.kind == RowStep::Kind::kAppend) {
      model->appendRow(item);
    } else {
      model->insertRow(step.row, item);
    }
  }
}
