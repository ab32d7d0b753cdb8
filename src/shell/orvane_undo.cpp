// The keyboard on the preview, and what Ctrl+Z takes back.
#include <QKeyEvent>
#include <QScopedValueRollback>
#include <algorithm>
#include <utility>
#include <vector>

#include "output/CRender.h"
#include "shell/LayerRules.h"
#include "shell/PreviewRules.h"
#include "shell/orvane.h"
#include "widgets/theme/InformationDlg.h"
#include "widgets/theme/LayerKind.h"

namespace {

bool IsSame(const shell::Rect& a, const shell::Rect& b) {
  return a.x == b.x && a.y == b.y && a.width == b.width && a.height == b.height;
}

}  // namespace

// Where a layer is, and how it stands there.

int orvane::PositionAt(int slot) const {
  std::vector<int> order;
  m_render->CopyLayerOrder(&order);
  const auto found = std::find(order.begin(), order.end(), slot);
  return found == order.end() ? -1 : static_cast<int>(found - order.begin());
}

int orvane::RowOf(int slot) const {
  // Row and position count against each other, both ways alike.
  const int position = PositionAt(slot);
  return position < 0 ? -1 : PositionOf(position);
}

shell::LayerRecord orvane::RecordAt(int slot) const {
  const shell::LayerRecord* known = m_book.Find(slot);
  shell::LayerRecord record = known != nullptr ? *known : shell::LayerRecord();
  const std::optional<shell::Rect> rect = RectAt(slot);
  // Before its first picture a layer has no size; where it is to stand then is written down.
  if (rect && rect->width > 0 && rect->height > 0) {
    record.place = *rect;
  }
  return record;
}

void orvane::BringTo(int slot, int position) {
  const int last = ui.m_tabLayer->RowCount() - 1;
  const int target = std::clamp(position, 0, std::max(0, last));
  for (int now = PositionAt(slot); now >= 0 && now != target;) {
    const int next = now + (target > now ? 1 : -1);
    ui.m_tabLayer->ExchangeRows(PositionOf(now), PositionOf(next));
    now = next;
  }
}

// What is taken back.

void orvane::NoteStep(const shell::UndoStep& step) {
  m_sceneTouched = true;
  if (!m_retracing) {
    m_undo.Note(step);
  }
}

// Once for each drag, however it ended.
void orvane::NoteDrag() {
  const shell::Placed former = std::exchange(m_grabbed, {});
  if (m_render == nullptr || former.layer == shell::kNoLayer) {
    return;
  }
  const std::optional<shell::Rect> now = RectAt(m_book.SlotOf(former.layer));
  if (now && !IsSame(*now, former.from)) {
    NoteStep(former);
  }
}

void orvane::NoteDeletion(int position) {
  const int slot = m_render->LayerAt(position);
  if (m_book.Find(slot) != nullptr) {
    NoteStep(shell::Deleted{m_book.IdAt(slot), RecordAt(slot), position});
  }
}

void orvane::Undo() {
  const bool drags = m_leftDown && m_layerMoved;
  if (m_render == nullptr || drags) {
    return;
  }
  const auto step = m_undo.Take([this](int layer) { return m_book.SlotOf(layer) >= 0; });
  if (step) {
    const QScopedValueRollback<bool> retraces(m_retracing, true);
    std::visit([this](const auto& each) { TakeBack(each); }, *step);
    m_sceneTouched = true;
    TellSelection();
  }
}

void orvane::TakeBack(const shell::Placed& step) {
  const shell::Rect& from = step.from;
  m_render->SetLayerRect(m_book.SlotOf(step.layer), from.x, from.y, from.width, from.height);
}

void orvane::TakeBack(const shell::Swapped& step) {
  ui.m_tabLayer->ExchangeRows(RowOf(m_book.SlotOf(step.first)), RowOf(m_book.SlotOf(step.second)));
}

void orvane::TakeBack(const shell::Edited& step) {
  const int slot = m_book.SlotOf(step.layer);
  shell::LayerRecord* record = m_book.Find(slot);
  record->name = step.text;
  record->color = step.color;
  m_render->SetLayerText(slot, step.color, step.text.toStdString());
  ui.m_tabLayer->SetRowText(RowOf(slot), step.text);
}

// It is not seen before it is at its place in the order.
void orvane::TakeBack(const shell::Deleted& step) {
  if (!MayAddLayer()) {
    m_undo.Note(step);  // there may be room later
    return;
  }
  shell::LayerRecord record = step.record;
  record.shown = false;
  const int slot = AddFrom(record);
  if (slot < 0) {
    InformationDlg(InformationDlg::kText, shell::LeftOutText({shell::LabelOf(record)}, {}), this)
        .exec();
    return;
  }
  m_book.Add(slot, RecordAt(slot), step.layer);
  BringTo(slot, step.position);
  ui.m_tabLayer->SetRowVisible(RowOf(slot), step.record.shown);
}

// The keyboard on the preview.

bool orvane::PreviewKey(const QKeyEvent& event) {
  if (m_render == nullptr || (m_leftDown && m_layerMoved)) {
    return false;
  }
  if (const auto step = shell::ArrowStep(event.key(), event.modifiers())) {
    return MoveSelected(*step, event.isAutoRepeat());
  }
  if ((event.modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier || event.isAutoRepeat()) {
    return false;
  }
  switch (event.key()) {
    case Qt::Key_Delete:
      AskToDeleteSelected();
      return true;
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
      SelectNext();
      return true;
    case Qt::Key_Escape:
      m_render->selectedLayer = -1;
      TellSelection();
      return true;
    default:
      return false;
  }
}

bool orvane::MoveSelected(const QPoint& step, bool held) {
  const int slot = m_render->selectedLayer;
  const std::optional<shell::Rect> rect = RectAt(slot);
  if (!rect) {
    return false;
  }
  if (const auto next = shell::Nudged(*rect, step, PreviewScales().scene)) {
    if (!held) {
      NoteStep(shell::Placed{m_book.IdAt(slot), *rect});
    }
    m_render->SetLayerRect(slot, next->x, next->y, next->width, next->height);
  }
  return true;
}

// As the bin of its row, which a hidden one does not have.
void orvane::AskToDeleteSelected() {
  const int row = RowOf(m_render->selectedLayer);
  const shell::LayerRecord* record = m_book.Find(m_render->selectedLayer);
  if (row < 0 || record == nullptr || !record->shown) {
    return;
  }
  const bool isText = record->kind == shell::LayerKind::kText;
  RecvDeleteSignal(row, isText ? widgets::kTextLayer : widgets::kOtherLayer,
                   ui.m_renderWgt->mapToGlobal(ui.m_renderWgt->rect().center()));
}

void orvane::SelectNext() {
  std::vector<int> order;
  m_render->CopyLayerOrder(&order);
  std::vector<int> shown;
  for (const int slot : order) {
    shell::Rect unused;
    if (m_render->GetVisibleLayerRect(slot, &unused.x, &unused.y, &unused.width, &unused.height) ==
        0) {
      shown.push_back(slot);
    }
  }
  m_render->selectedLayer = shell::NextByKey(shown, m_render->selectedLayer);
  TellSelection();
}

void orvane::TellSelection() {
  const shell::LayerRecord* record = m_book.Find(m_render->selectedLayer);
  ui.m_renderWgt->setAccessibleDescription(
      record != nullptr ? QStringLiteral("已选中 ") + shell::LabelOf(*record) : QString());
}
