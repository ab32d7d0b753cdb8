// The mouse on the window: choosing, moving and resizing a layer on the preview, dragging the
// window by its title area, and its maximised state. What is decided stands in PreviewRules.
#include <QDebug>
#include <QGuiApplication>
#include <QMouseEvent>
#include <QScreen>
#include <vector>

#include "output/CRender.h"
#include "shell/CEvent.h"
#include "shell/PreviewRules.h"
#include "shell/orvane.h"
#include "sources/DeviceCatalogue.h"

namespace {

constexpr int kSlots = shell::kLayerLimit;

QRect AvailableArea() {
  return QGuiApplication::primaryScreen()->availableGeometry();
}

}  // namespace

shell::Scales orvane::PreviewScales() const {
  return {{m_catalogue->renderWidth, m_catalogue->renderHeight},
          {ui.m_renderWgt->width(), ui.m_renderWgt->height()}};
}

void orvane::mousePressEvent(QMouseEvent* event) {
  if (event->button() == Qt::RightButton) {
    m_TuCMenu.close();
    m_WndMenu.close();
  }
  // Until the preview is reached, nothing is grabbed: what an earlier press held is not dragged on.
  m_dragMode = shell::kDragNothing;
  if (event->button() == Qt::LeftButton && !PressLeft(event)) {
    event->ignore();
    return;
  }
  if (m_render != nullptr && event->y() >= ui.m_renderWgt->y()) {
    GrabLayer(event->pos());
  }
  if (ui.m_renderWgt->geometry().contains(event->pos())) {
    // The next key is meant for what is pressed on.
    ui.m_renderWgt->setFocus(Qt::MouseFocusReason);
  }
}

// False at the edge of the window, where a press does nothing.
bool orvane::PressLeft(QMouseEvent* event) {
  m_leftDown = true;
  if (event->x() < shell::kEdge || event->y() < shell::kEdge ||
      width() - event->x() < shell::kEdge) {
    return false;
  }
  if (event->y() < shell::kTitleHeight) {
    m_wndDrag = true;
    m_dragFrom = event->globalPos();
    // A resize that was refused may have left it set: the release that ends this drag must not end
    // that resize once more.
    m_layerMoved = false;
  }
  // The button's area at its own origin against a position of the window's, on purpose: as good as
  // every press closes both menus.
  if (!ui.m_AddTuC->rect().contains(event->pos())) {
    m_TuCMenu.close();
  }
  if (!ui.m_AddWinBtn->rect().contains(event->pos())) {
    m_WndMenu.close();
  }
  return true;
}

void orvane::GrabLayer(const QPoint& position) {
  m_pressPos = position;
  const int selected = m_render->selectedLayer;
  m_grabbed = {};
  if (const std::optional<shell::Rect> rect = RectAt(selected)) {
    m_pressRect = *rect;
    m_grabbed = {m_book.IdAt(selected), *rect};
  }
  m_dragMode = shell::DragModeAt(m_pressRect, position - ui.m_renderWgt->pos(), PreviewScales());
}

void orvane::mouseMoveEvent(QMouseEvent* event) {
  m_tip.close();
  if (!event->buttons().testFlag(Qt::LeftButton)) {
    // A dialog that opened over the window may have swallowed the release.
    m_leftDown = false;
    m_wndDrag = false;
    NoteDrag();
    ShowPointer(event->pos());
  }
  if (m_wndDrag) {
    m_dragTo = event->globalPos();
    move(pos() + m_dragTo - m_dragFrom);
    m_dragFrom = m_dragTo;
    return;
  }
  if (m_render == nullptr || m_render->selectedLayer < 0) {
    return;
  }
  if (!m_leftDown) {
    m_layerMoved = false;
    return;
  }
  m_layerMoved = true;
  DragLayer(event->pos());
  event->ignore();
}

shell::Drag orvane::DragAt(const QPoint& position) const {
  shell::Drag drag;
  drag.mode = m_dragMode;
  drag.from = m_pressRect;
  m_render->GetLayerNaturalSize(m_render->selectedLayer, &drag.natural.width, &drag.natural.height);
  drag.moved = shell::ToScene(position - m_pressPos, PreviewScales());
  return drag;
}

void orvane::DragLayer(const QPoint& position) {
  const std::optional<shell::Rect> next = shell::DragTo(DragAt(position), PreviewScales().scene);
  if (!next) {
    return;
  }
  const int layer = m_render->selectedLayer;
  shell::Rect now;
  const bool known = m_render->GetLayerRect(layer, &now.x, &now.y, &now.width, &now.height) == 0;
  if (!known || !shell::IsSmallStep(m_dragMode, now, *next)) {
    m_render->SetLayerRect(layer, next->x, next->y, next->width, next->height);
  }
  if (m_dragMode == shell::kDragMove) {
    qDebug("------------------------------ xNew = %d, yNew = %d ---------", next->x, next->y);
  }
}

void orvane::mouseReleaseEvent(QMouseEvent* event) {
  EndDrag(event);
  if (event->button() == Qt::LeftButton) {
    NoteDrag();
    ShowPointer(event->pos());
  }
}

void orvane::EndDrag(QMouseEvent* event) {
  const bool left = event->button() == Qt::LeftButton;
  if (left) {
    m_leftDown = false;
  }
  if (!m_layerMoved) {
    m_dragMode = shell::kDragNothing;
    HitTestLayer(event->x(), event->y());
    if (left) {
      m_wndDrag = false;
    }
    event->ignore();
    return;
  }
  if (m_dragMode == shell::kDragNothing) {
    m_layerMoved = false;
    return;
  }
  if (const auto dropped = shell::DropAt(DragAt(event->pos()), PreviewScales().scene)) {
    m_render->SetLayerRect(m_render->selectedLayer, dropped->x, dropped->y, dropped->width,
                           dropped->height);
    m_layerMoved = false;
  }
}

void orvane::HitTestLayer(int x, int y) {
  if (m_render == nullptr) {
    return;
  }
  const shell::Scales scales = PreviewScales();
  const QPoint onPreview = QPoint(x, y) - ui.m_renderWgt->pos();
  if (!shell::IsOnPreview(onPreview, scales.preview)) {
    m_render->selectedLayer = -1;
    TellSelection();
    return;
  }
  const QPoint inScene = shell::ToScene(onPreview, scales);
  std::vector<int> hits;
  for (int slot = 0; slot < kSlots; ++slot) {
    shell::Rect rect;
    if (m_render->GetVisibleLayerRect(slot, &rect.x, &rect.y, &rect.width, &rect.height) == 0 &&
        shell::IsOnLayer(inScene, rect)) {
      hits.push_back(slot);
    }
  }
  if (hits.empty()) {
    return;
  }
  std::vector<int> order;
  m_render->CopyLayerOrder(&order);
  m_render->selectedLayer =
      shell::NextSelection(hits, m_render->selectedLayer, static_cast<int>(order.size()));
  TellSelection();
}

// The whole window's, since the preview shows that of its window where it has none of its own: SDL,
// which draws there, takes an own one away as often as the mouse enters.
void orvane::ShowPointer(const QPoint& position) {
  Qt::CursorShape shape = Qt::ArrowCursor;
  if (m_render != nullptr && ui.m_renderWgt->geometry().contains(position)) {
    shape = shell::PointerAt(RectAt(m_render->selectedLayer), position - ui.m_renderWgt->pos(),
                             PreviewScales());
  }
  if (cursor().shape() != shape) {
    setCursor(shape);
  }
}

void orvane::mouseDoubleClickEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton || event->y() >= shell::kTitleHeight) {
    return;
  }
  if (!m_maximised) {
    m_normalRect = geometry();
    setGeometry(AvailableArea());
  } else {
    setGeometry(m_normalRect);
  }
  m_maximised = !m_maximised;
  FitPreview();
}

// The way back differs from the double click's: the size of the preview is fixed, not fitted.
void orvane::ChangeMaxNomal() {
  m_maximised = !m_maximised;
  if (!m_maximised) {
    setGeometry(m_normalRect);
    QSize size(shell::kNormalPreview.width, shell::kNormalPreview.height);
    emit CEvent::instance()->renderSize(size);
    return;
  }
  m_normalRect = geometry();
  setGeometry(AvailableArea());
  FitPreview();
}

void orvane::FitPreview() {
  const QRect middle = ui.middleLayout->geometry();
  if (const auto fitted = shell::FitPreview({middle.width(), middle.height()})) {
    QSize size(fitted->width, fitted->height);
    emit CEvent::instance()->renderSize(size);
  }
}
