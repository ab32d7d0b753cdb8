// The layer list by keyboard: Up and Down go from row to row, Left and Right between a row's eye,
// its pencil (a text's) and its bin, Enter and Space press them, Delete is the bin from anywhere in
// the row, and Ctrl with Up or Down lets the row change places with its neighbour. A hidden row has
// its eye alone, as for the mouse.
//
// The row with the cursor is the list's current one, so that its buttons show.
//
// Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_LAYERKEYS_H
#define ORVANE_WIDGETS_LAYERKEYS_H

#include <vector>

#include "widgets/CellKeys.h"

class MyListView;
struct ItemData;

namespace widgets {

enum class RowPart { kEye, kEdit, kDelete };

// From left to right.
std::vector<RowPart> PartsOf(const ItemData& record);

class LayerKeys : public CellKeys {
  Q_OBJECT

 public:
  explicit LayerKeys(MyListView* list);

 protected:
  QRect Cell(const QModelIndex& index) const override;
  QString Name(const QModelIndex& index) const override;
  void Enter(const QModelIndex& index) override;
  bool Step(QKeyEvent* event) override;
  void Press(const QModelIndex& index) override;

 private:
  // The part that the cursor stands on; in a row without it, the nearest on its left.
  RowPart PartIn(const QModelIndex& index) const;
  void StepAside(int by);
  void AskToDelete(const QKeyEvent* event);

  MyListView* m_layers;
  RowPart m_part = RowPart::kEye;
};

}  // namespace widgets

#endif
