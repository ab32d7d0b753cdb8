#include "widgets/LayerKeys.h"

#include <QKeyEvent>
#include <algorithm>
#include <cstddef>

#include "widgets/ItemData.h"
#include "widgets/LayerRowRules.h"
#include "widgets/MyListView.h"

namespace widgets {

std::vector<RowPart> PartsOf(const ItemData& record) {
  if (!record.visible) {
    return {RowPart::kEye};
  }
  if (record.kind == kTextLayer) {
    return {RowPart::kEye, RowPart::kEdit, RowPart::kDelete};
  }
  return {RowPart::kEye, RowPart::kDelete};
}

LayerKeys::LayerKeys(MyListView* list) : CellKeys(list), m_layers(list) {
  setObjectName(QStringLiteral("layerKeys"));
  setAccessibleName(QStringLiteral("图层"));
}

RowPart LayerKeys::PartIn(const QModelIndex& index) const {
  const std::vector<RowPart> parts = PartsOf(RecordOf(index));
  return std::find(parts.begin(), parts.end(), m_part) != parts.end() ? m_part : RowPart::kEye;
}

QRect LayerKeys::Cell(const QModelIndex& index) const {
  const QRect row = m_layers->visualRect(index);
  switch (PartIn(index)) {
    case RowPart::kEdit:
      return EditRect(row);
    case RowPart::kDelete:
      return DeleteRect(row);
    default:
      return EyeRect(row);
  }
}

QString LayerKeys::Name(const QModelIndex& index) const {
  const ItemData record = RecordOf(index);
  switch (PartIn(index)) {
    case RowPart::kEdit:
      return QStringLiteral("编辑 ") + record.text;
    case RowPart::kDelete:
      return QStringLiteral("删除 ") + record.text;
    default:
      return (record.visible ? QStringLiteral("隐藏 ") : QStringLiteral("显示 ")) + record.text;
  }
}

void LayerKeys::Enter(const QModelIndex& index) {
  m_layers->setCurrentIndex(index);
}

bool LayerKeys::Step(QKeyEvent* event) {
  const bool moves = event->modifiers().testFlag(Qt::ControlModifier);
  switch (event->key()) {
    case Qt::Key_Up:
    case Qt::Key_Down: {
      const int target = Row() + (event->key() == Qt::Key_Up ? -1 : 1);
      if (moves && target >= 0 && target < Rows()) {
        m_layers->ExchangeRows(Row(), target);
      }
      MoveTo(target);
      return true;
    }
    case Qt::Key_Left:
      StepAside(-1);
      return true;
    case Qt::Key_Right:
      StepAside(1);
      return true;
    case Qt::Key_Delete:
      AskToDelete(event);
      return true;
    default:
      return false;
  }
}

// As the bin does, which a hidden row does not have.
void LayerKeys::AskToDelete(const QKeyEvent* event) {
  const QModelIndex index = Index();
  if (!event->isAutoRepeat() && RecordOf(index).visible) {
    const QRect bin = DeleteRect(m_layers->visualRect(index));
    m_layers->deleteSlot(index, m_layers->viewport()->mapToGlobal(bin.center()));
  }
}

void LayerKeys::StepAside(int by) {
  const std::vector<RowPart> parts = PartsOf(RecordOf(Index()));
  const auto now = std::find(parts.begin(), parts.end(), PartIn(Index())) - parts.begin();
  const auto last = static_cast<std::ptrdiff_t>(parts.size()) - 1;
  m_part = parts[static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(now + by, 0, last))];
  MoveTo(Row());
}

void LayerKeys::Press(const QModelIndex& index) {
  const QPoint middle = m_layers->viewport()->mapToGlobal(Cell(index).center());
  switch (PartIn(index)) {
    case RowPart::kEdit:
      m_layers->recvEditSlot(index);
      break;
    case RowPart::kDelete:
      m_layers->deleteSlot(index, middle);
      break;
    default:
      if (RecordOf(index).visible) {
        m_layers->invisibleSlot(index);
      } else {
        m_layers->visibleSlot(index);
      }
  }
}

}  // namespace widgets
