#include "shell/Monkey.h"

#include <QApplication>
#include <QDropEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QTest>
#include <algorithm>
#include <memory>

#include "output/CRender.h"
#include "shell/LayerSlots.h"
#include "support/OwnDrag.h"

namespace support {

namespace {

const QString kTexts[] = {QStringLiteral("text"), QStringLiteral("文字图层"),
                          QStringLiteral("a name that is much too long for the row of a list"),
                          QString(), QStringLiteral("two\nlines %n 'quoted' [in]")};

}  // namespace

Monkey::Monkey(LiveWindow* stage, unsigned seed)
    : m_stage(stage), m_random(seed), m_rows(Window()->Rows()), m_order(Window()->Order()) {
  m_visible.assign(m_order.size(), true);
  m_nodes.insert(m_order.begin(), m_order.end());
}

std::string Monkey::Step() {
  std::string (Monkey::*const operations[])() = {
      &Monkey::Add,   &Monkey::Add,  &Monkey::Add,  &Monkey::Delete, &Monkey::Delete,
      &Monkey::Hide,  &Monkey::Drop, &Monkey::Drop, &Monkey::Edit,   &Monkey::Click,
      &Monkey::Click, &Monkey::Drag, &Monkey::Drag, &Monkey::Hover,  &Monkey::Maximise};
  const std::string done = (this->*operations[Pick(std::size(operations))])();
  QCoreApplication::processEvents();
  return done;
}

std::string Monkey::Complaint() const {
  if (Window()->Rows() != m_rows) {
    return "rows: " + Window()->Rows().join('|').toStdString() + ", not " +
           m_rows.join('|').toStdString();
  }
  if (Window()->Order() != m_order) {
    return "the drawing order";
  }
  for (int row = 0; row < Rows(); ++row) {
    if (Window()->Visible(row) != m_visible[static_cast<std::size_t>(row)]) {
      return "the eye of row " + std::to_string(row);
    }
  }
  if (std::set<int>(m_order.begin(), m_order.end()).size() != m_order.size()) {
    return "a slot that two layers share";
  }
  std::set<int> nodes;
  for (const auto& [slot, node] : Window()->m_layers) {
    if (node == nullptr) {
      return "no node at slot " + std::to_string(slot);
    }
    nodes.insert(slot);
  }
  return nodes == m_nodes ? "" : "the nodes";
}

void Monkey::DeleteAll() {
  while (Rows() > 0) {
    Window()->SlotDeleteItem(0);
    Deleted(0);
  }
}

QModelIndex Monkey::Index(int row) const {
  return static_cast<const QListView*>(Window()->ui.m_tabLayer)->model()->index(row, 0);
}

QPoint Monkey::Anywhere() {
  const QRect preview = Window()->ui.m_renderWgt->geometry();
  return preview.topLeft() + QPoint(Pick(preview.width()), Pick(preview.height()));
}

std::string Monkey::Add() {
  m_stage->answers.confirm = Pick(5) > 0;
  m_stage->answers.text = kTexts[Pick(std::size(kTexts))];
  m_stage->answers.row = Pick(3) - 1;
  const bool fits = Rows() < shell::kLayerLimit;
  struct Kind {
    const char* name;
    void (orvane::*slot)();
    const std::string* path;
  };
  static const std::string kMissing = "/nowhere/missing.png";
  const Kind kinds[] = {{"add the desktop", &orvane::SlotAddDesk, nullptr},
                        {"add a camera", &orvane::SlotAddCamera, nullptr},
                        {"add a window", &orvane::SlotAddWindow, nullptr},
                        {"add a text", &orvane::SlotAddText, nullptr},
                        {"add a picture", &orvane::SlotAddPic, &m_stage->picture},
                        {"add a film", &orvane::SlotAddFile, &m_stage->clip},
                        {"add a missing file", &orvane::SlotAddPic, &kMissing}};
  const Kind& kind = kinds[Pick(std::size(kinds))];
  if (kind.path != nullptr) {
    m_stage->answers.path = QString::fromStdString(*kind.path);
  }
  (Window()->*kind.slot)();
  m_stage->answers.confirm = true;
  // What was chosen is the dialogs' affair: a new row on top of the former ones is all that counts.
  const QStringList rows = Window()->Rows();
  if (rows.size() == m_rows.size() + 1 && fits) {
    Added(rows.first());
  }
  return kind.name;
}

void Monkey::Added(const QString& text) {
  m_rows.prepend(text);
  m_visible.insert(m_visible.begin(), true);
  const int slot = Window()->m_render->LayerAt(static_cast<int>(m_order.size()));
  m_order.push_back(slot);
  m_nodes.insert(slot);
}

void Monkey::Deleted(int row) {
  const int position = Rows() - row - 1;
  m_nodes.erase(m_order[static_cast<std::size_t>(position)]);
  m_order.erase(m_order.begin() + position);
  m_rows.removeAt(row);
  m_visible.erase(m_visible.begin() + row);
}

std::string Monkey::Delete() {
  if (Rows() == 0) {
    return "delete nothing";
  }
  const int row = Pick(Rows());
  m_stage->answers.confirm = Pick(6) > 0;
  Window()->ui.m_tabLayer->deleteSlot(Index(row), QPoint(1000, 500));
  if (m_stage->answers.confirm) {
    Deleted(row);
  }
  m_stage->answers.confirm = true;
  return "delete";
}

std::string Monkey::Hide() {
  if (Rows() == 0) {
    return "hide nothing";
  }
  const int row = Pick(Rows());
  const auto at = static_cast<std::size_t>(row);
  if (m_visible[at]) {
    Window()->ui.m_tabLayer->invisibleSlot(Index(row));
  } else {
    Window()->ui.m_tabLayer->visibleSlot(Index(row));
  }
  m_visible[at] = !m_visible[at];
  return "hide or show";
}

// As Qt hands over a drag that began on a row and ends on another one, or below all of them.
std::string Monkey::Drop() {
  if (Rows() == 0) {
    return "drop nothing";
  }
  MyListView* list = Window()->ui.m_tabLayer;
  const int from = Pick(Rows());
  const int to = Pick(Rows() + 1) - 1;
  const QPoint at =
      to < 0 ? QPoint(20, list->viewport()->height() - 5) : list->visualRect(Index(to)).center();
  if (list->indexAt(at).row() != to) {
    return "drop out of sight";
  }
  list->recvButtonKind(LeftKind);
  list->checkSlot(Index(from));
  const std::unique_ptr<QMimeData> data(
      static_cast<QListView*>(list)->model()->mimeData({Index(from)}));
  WhileDragged(list, [&] {
    QDragEnterEvent enter(at, Qt::MoveAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(list->viewport(), &enter);
    QDropEvent drop(at, Qt::MoveAction, data.get(), Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(list->viewport(), &drop);
  });
  if (to < 0) {
    m_rows.move(from, Rows() - 1);
    const auto eye = m_visible.begin() + from;
    std::rotate(eye, eye + 1, m_visible.end());
    return "drop below the rows";
  }
  std::swap(m_rows[from], m_rows[to]);
  const auto swap = [](auto* vector, int a, int b) {
    std::iter_swap(vector->begin() + a, vector->begin() + b);
  };
  swap(&m_visible, from, to);
  swap(&m_order, Rows() - from - 1, Rows() - to - 1);
  return "drop";
}

std::string Monkey::Edit() {
  for (int row = 0; row < Rows(); ++row) {
    if (Window()->Kind(row) == 0) {
      m_stage->answers.text = kTexts[Pick(std::size(kTexts))];
      m_stage->answers.color = m_random() | 0xFFU;
      Window()->ui.m_tabLayer->recvEditSlot(Index(row));
      m_rows[row] = m_stage->answers.text;
      return "edit";
    }
  }
  return "edit nothing";
}

void Monkey::SendMouse(QEvent::Type type, const QPoint& at, Qt::MouseButton button,
                       Qt::MouseButtons held) {
  QMouseEvent event(type, at, Window()->mapToGlobal(at), button, held, Qt::NoModifier);
  QApplication::sendEvent(Window(), &event);
}

std::string Monkey::Click() {
  const QPoint at = Anywhere();
  SendMouse(QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton);
  SendMouse(QEvent::MouseButtonRelease, at, Qt::LeftButton, Qt::NoButton);
  return "click";
}

std::string Monkey::Drag() {
  Click();
  const QPoint from = Anywhere();
  SendMouse(QEvent::MouseButtonPress, from, Qt::LeftButton, Qt::LeftButton);
  QPoint at = from;
  for (int step = 0; step < 5; ++step) {
    at += QPoint(Pick(201) - 100, Pick(121) - 60);
    SendMouse(QEvent::MouseMove, at, Qt::NoButton, Qt::LeftButton);
  }
  SendMouse(QEvent::MouseButtonRelease, at, Qt::LeftButton, Qt::NoButton);
  return "drag";
}

std::string Monkey::Hover() {
  if (Rows() == 0) {
    return "hover over nothing";
  }
  MyListView* list = Window()->ui.m_tabLayer;
  QTest::mouseMove(list->viewport(), list->visualRect(Index(Pick(Rows()))).center());
  SendMouse(QEvent::MouseMove, Anywhere(), Qt::NoButton, Qt::NoButton);
  return "hover";
}

std::string Monkey::Maximise() {
  if (Pick(2) == 0) {
    Window()->ui.m_BtnMax->click();
    return "the maximise button";
  }
  SendMouse(QEvent::MouseButtonDblClick, QPoint(400, 20), Qt::LeftButton, Qt::LeftButton);
  SendMouse(QEvent::MouseButtonRelease, QPoint(400, 20), Qt::LeftButton, Qt::NoButton);
  return "a double click on the title";
}

}  // namespace support
