// The grid of activities: one card for each call of AddCard, in their order.
//
// Flow: a press on a card emits sendSelectedAct with its row, and drops an earlier selection before
// the view makes its own. Reaching the end of the scroll bar emits reachedBottom, each time; a list
// that fits into the view never does.
//
// It takes no focus; the keyboard comes to it through a cursor over its cards (CardKeys).
//
// Ownership: a widget of the activity dialog's form; model and delegate are its children.
// Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_ACTIVITIESLIST_H
#define ORVANE_WIDGETS_ACTIVITIESLIST_H

#include <QDateTime>
#include <QListView>
#include <QModelIndex>
#include <QPixmap>

class ActivitiesItemDelegate;
class QScrollBar;
class QStandardItemModel;

class ActivitiesList : public QListView {
  Q_OBJECT

 public:
  explicit ActivitiesList(QWidget* parent = nullptr);

  // What the keyboard comes to in place of the list, which takes no focus.
  QWidget* Keys() const { return m_keys; }

  // available: it can be published to.
  void AddCard(bool available, QString title, QSize size, QPixmap cover, QDateTime startTime);

 public slots:
  void recvSliderChanged(int value);
  void recvSelectedAct(QModelIndex index);

 signals:
  void reachedBottom();
  void sendSelectedAct(int row);

 private:
  QStandardItemModel* model;
  ActivitiesItemDelegate* delegate;
  QScrollBar* scrollBar;
  QWidget* m_keys;
};

#endif
