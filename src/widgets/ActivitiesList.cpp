#include "widgets/ActivitiesList.h"

#include <QScrollBar>
#include <QStandardItemModel>

#include "widgets/ActItemData.h"
#include "widgets/ActivitiesItemDelegate.h"
#include "widgets/CardKeys.h"
#include "widgets/theme/ListStyle.h"

ActivitiesList::ActivitiesList(QWidget* parent)
    : QListView(parent),
      model(new QStandardItemModel(this)),
      delegate(new ActivitiesItemDelegate(this)),
      scrollBar(verticalScrollBar()),
      m_keys(nullptr) {
  qRegisterMetaType<ActItemData>("ActItemData");
  setModel(model);
  setItemDelegate(delegate);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
  setSelectionMode(QAbstractItemView::ExtendedSelection);
  setMouseTracking(true);
  setViewMode(QListView::IconMode);
  setIconSize(widgets::kActCardSize);
  setSpacing(10);
  setFocusPolicy(Qt::NoFocus);
  setEditTriggers(QAbstractItemView::NoEditTriggers);
  // Behind the view mode, which turns it on.
  setDragEnabled(false);
  setStyleSheet(ListStyle());
  m_keys = new widgets::CardKeys(this);

  connect(scrollBar, &QScrollBar::valueChanged, this, &ActivitiesList::recvSliderChanged);
  connect(delegate, &ActivitiesItemDelegate::selectAct, this, &ActivitiesList::recvSelectedAct);
}

void ActivitiesList::AddCard(bool available, QString title, QSize size, QPixmap cover,
                             QDateTime startTime) {
  auto* item = new QStandardItem;
  QFont font(QStringLiteral("微软雅黑"), 10, 1);
  font.setItalic(false);
  item->setFont(font);
  // Screen readers have nothing else to go by: the card is painted.
  item->setData(title, Qt::AccessibleTextRole);
  ActItemData record;
  record.title = std::move(title);
  record.available = available;
  record.cover = std::move(cover);
  record.startTime = std::move(startTime);
  item->setData(QVariant::fromValue(record), widgets::kActItemDataRole);
  item->setSizeHint(size);
  model->appendRow(item);
  // The card has its place, and the scroll bar its range, whenever it may be painted.
  executeDelayedItemsLayout();
  repaint();
}

void ActivitiesList::recvSliderChanged(int value) {
  if (value == scrollBar->maximum()) {
    emit reachedBottom();
  }
}

void ActivitiesList::recvSelectedAct(QModelIndex index) {
  emit sendSelectedAct(index.row());
  if (selectionModel()->hasSelection()) {
    selectionModel()->clearSelection();
  }
}
