#include "widgets/CardKeys.h"

#include <QKeyEvent>
#include <QScrollBar>

#include "widgets/ActivitiesList.h"

namespace widgets {

CardKeys::CardKeys(ActivitiesList* list) : CellKeys(list), m_cards(list) {
  setObjectName(QStringLiteral("cardKeys"));
  setAccessibleName(QStringLiteral("活动"));
}

QRect CardKeys::Cell(const QModelIndex& index) const {
  return m_cards->visualRect(index);
}

QString CardKeys::Name(const QModelIndex& index) const {
  return index.data(Qt::AccessibleTextRole).toString();
}

void CardKeys::Enter(const QModelIndex& index) {
  if (index.row() == Rows() - 1) {
    m_cards->verticalScrollBar()->setValue(m_cards->verticalScrollBar()->maximum());
  }
}

bool CardKeys::Step(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Left:
      MoveTo(Row() - 1);
      return true;
    case Qt::Key_Right:
      MoveTo(Row() + 1);
      return true;
    case Qt::Key_Up:
      MoveTo(Beside(-1));
      return true;
    case Qt::Key_Down:
      MoveTo(Beside(1));
      return true;
    default:
      return false;
  }
}

int CardKeys::Beside(int direction) const {
  const int left = Cell(Index()).left();
  const int top = Cell(Index()).top();
  for (int row = Row() + direction; row >= 0 && row < Rows(); row += direction) {
    const QRect cell = Cell(Index().siblingAtRow(row));
    if (cell.left() == left && cell.top() != top) {
      return row;
    }
  }
  // From a full line to the one below that is not: its last card.
  const bool lastIsBelow = direction > 0 && Cell(Index().siblingAtRow(Rows() - 1)).top() > top;
  return lastIsBelow ? Rows() - 1 : Row();
}

void CardKeys::Press(const QModelIndex& index) {
  m_cards->recvSelectedAct(index);
  m_cards->selectionModel()->select(index, QItemSelectionModel::Select);
}

}  // namespace widgets
