#include "widgets/CellKeys.h"

#include <QKeyEvent>
#include <QScrollBar>
#include <algorithm>

namespace widgets {

namespace {

bool IsCommand(const QKeyEvent& event) {
  return event.modifiers().testFlag(Qt::ControlModifier) && event.key() >= Qt::Key_A &&
         event.key() <= Qt::Key_Z;
}

}  // namespace

CellKeys::CellKeys(QListView* list) : QWidget(list->viewport()), m_list(list) {
  setFocusPolicy(Qt::TabFocus);
  setAttribute(Qt::WA_TransparentForMouseEvents);
  setAttribute(Qt::WA_NoSystemBackground);
  hide();
  list->viewport()->installEventFilter(this);
  const QAbstractItemModel* rows = list->model();
  connect(rows, &QAbstractItemModel::rowsInserted, this, &CellKeys::Follow);
  connect(rows, &QAbstractItemModel::rowsRemoved, this, &CellKeys::Follow);
  connect(rows, &QAbstractItemModel::dataChanged, this, &CellKeys::Follow);
  connect(list->verticalScrollBar(), &QScrollBar::valueChanged, this, &CellKeys::Follow);
}

int CellKeys::Rows() const {
  return m_list->model()->rowCount();
}

QModelIndex CellKeys::Index() const {
  return m_list->model()->index(m_row, 0);
}

void CellKeys::MoveTo(int row) {
  m_row = std::clamp(row, 0, std::max(0, Rows() - 1));
  if (Rows() > 0) {
    m_list->scrollTo(Index());
    Enter(Index());
  }
  Follow();
}

void CellKeys::Follow() {
  const int rows = Rows();
  setVisible(rows > 0);
  if (rows == 0) {
    return;
  }
  m_row = std::min(m_row, rows - 1);
  setGeometry(Cell(Index()));
  setAccessibleName(Name(Index()));
}

// Before the window's own keys (its default button, its shortcuts) see it; but the window's
// commands, Ctrl with a letter, are meant wherever the keyboard is.
bool CellKeys::event(QEvent* event) {
  if (event->type() == QEvent::ShortcutOverride && !IsCommand(*static_cast<QKeyEvent*>(event))) {
    event->accept();
    return true;
  }
  return QWidget::event(event);
}

void CellKeys::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
      if (Rows() > 0 && !event->isAutoRepeat()) {
        Press(Index());
        Follow();
      }
      return;
    default:
      if (Rows() == 0 || !Step(event)) {
        QWidget::keyPressEvent(event);
      }
  }
}

void CellKeys::focusInEvent(QFocusEvent* event) {
  QWidget::focusInEvent(event);
  // A window that becomes active gives its focus to whoever comes first, which means no row.
  if (event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason) {
    MoveTo(m_row);
  }
}

bool CellKeys::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Resize) {
    Follow();
  }
  return QWidget::eventFilter(watched, event);
}

}  // namespace widgets
