// A list of layers on the screen, with what it tells and the mouse in it.
//
// Threads: user interface thread only.
#ifndef ORVANE_TESTS_WIDGETS_LAYERLISTFIXTURE_H
#define ORVANE_TESTS_WIDGETS_LAYERLISTFIXTURE_H

#include <QAbstractItemModel>
#include <QApplication>
#include <QDragEnterEvent>
#include <QDragMoveEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QString>
#include <QStringList>

#include "widgets/ItemData.h"
#include "widgets/MyListView.h"

namespace support {

constexpr QSize kLayerRowSize(280, 40);

// Its size as the main window fixes it.
class LayerList : public MyListView {
 public:
  LayerList() {
    setFixedSize(290, 540);
    show();
  }
  // Qt keeps the widget that let a drag in until the drag has left it.
  ~LayerList() override {
    QDragLeaveEvent event;
    QApplication::sendEvent(viewport(), &event);
  }

  QAbstractItemModel* Rows() const { return QListView::model(); }
  QModelIndex At(int row) const { return Rows()->index(row, 0); }
  ItemData Record(int row) const { return At(row).data(widgets::kItemDataRole).value<ItemData>(); }
  QRect Rect(int row) const { return visualRect(At(row)); }

  // From the top, as the operator reads them.
  QStringList Names() const {
    QStringList names;
    for (int row = 0; row < RowCount(); ++row) {
      names += Record(row).text;
    }
    return names;
  }

  void AddLayer(const QString& text, int kind = widgets::kOtherLayer, bool visible = true) {
    AddRow(visible, text, kLayerRowSize, kind);
  }

  // Named, the first on top.
  void AddLayers(const QStringList& names) {
    for (auto name = names.crbegin(); name != names.crend(); ++name) {
      AddLayer(*name);
    }
  }

  // Positions in a row, from its upper left corner.
  void Press(int row, const QPoint& at, Qt::MouseButton button = Qt::LeftButton) {
    Mouse(QEvent::MouseButtonPress, row, at, button, button);
    Mouse(QEvent::MouseButtonRelease, row, at, button, Qt::NoButton);
  }
  void MoveTo(int row, const QPoint& at) {
    Mouse(QEvent::MouseMove, row, at, Qt::NoButton, Qt::NoButton);
  }
  QPoint Global(int row, const QPoint& at) const {
    return viewport()->mapToGlobal(Rect(row).topLeft() + at);
  }

  // The steps of a drag as Qt hands them to the list, without the manager that keeps track of a
  // real one and knows its source; each tells whether the list accepted it. source: null stands for
  // another program.
  bool DragEnter(const QPoint& at) { return DragEnterOf(this, at); }
  bool DragMove(const QPoint& at) { return DragMoveOf(this, at); }
  bool Drop(const QPoint& at) { return DropOf(this, at); }
  bool DragEnterOf(QObject* source, const QPoint& at) {
    QDragEnterEvent event(at, Qt::MoveAction | Qt::CopyAction, &m_mime, Qt::LeftButton,
                          Qt::NoModifier);
    event.ignore();
    m_dragged = source;
    dragEnterEvent(&event);
    return event.isAccepted() && event.dropAction() == Qt::MoveAction;
  }
  bool DragMoveOf(QObject* source, const QPoint& at) {
    QDragMoveEvent event(at, Qt::MoveAction | Qt::CopyAction, &m_mime, Qt::LeftButton,
                         Qt::NoModifier);
    event.ignore();
    m_dragged = source;
    dragMoveEvent(&event);
    return event.isAccepted() && event.dropAction() == Qt::MoveAction;
  }
  bool DropOf(QObject* source, const QPoint& at) {
    QDropEvent event(at, Qt::MoveAction | Qt::CopyAction, &m_mime, Qt::NoButton, Qt::NoModifier);
    event.accept();
    m_dragged = source;
    dropEvent(&event);
    return event.isAccepted();
  }
  // A whole drag with the left button, from one row onto a place in the list.
  void DragTo(int row, const QPoint& place) {
    MoveTo(row, kBeside);
    Press(row, kBeside);
    DragEnter(Rect(row).center());
    DragMove(place);
    Drop(place);
  }
  QPoint BelowTheLastRow() const {
    return QPoint(100, RowCount() == 0 ? 10 : Rect(RowCount() - 1).bottom() + 30);
  }

  // In a row, beside its buttons and its text.
  static constexpr QPoint kBeside{30, 5};
  static constexpr QPoint kEye{15, 20};
  static constexpr QPoint kText{100, 20};
  static constexpr QPoint kEdit{235, 20};
  static constexpr QPoint kDelete{260, 20};

 protected:
  bool IsOwn(const QDropEvent& /*event*/) const override { return m_dragged == this; }

 private:
  void Mouse(QEvent::Type type, int row, const QPoint& at, Qt::MouseButton button,
             Qt::MouseButtons held) {
    QMouseEvent event(type, Rect(row).topLeft() + at, Global(row, at), button, held,
                      Qt::NoModifier);
    QApplication::sendEvent(viewport(), &event);
  }

  QMimeData m_mime;
  QObject* m_dragged = nullptr;
};

}  // namespace support

#endif
