// The grid of activities by keyboard: the arrow keys go from card to card, and Enter and Space
// choose the one that the cursor stands on, as a press of the mouse does. At the end of the cards
// the list is scrolled to its end, which brings the next ones.
//
// Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_CARDKEYS_H
#define ORVANE_WIDGETS_CARDKEYS_H

#include "widgets/CellKeys.h"

class ActivitiesList;

namespace widgets {

class CardKeys : public CellKeys {
  Q_OBJECT

 public:
  explicit CardKeys(ActivitiesList* list);

 protected:
  QRect Cell(const QModelIndex& index) const override;
  QString Name(const QModelIndex& index) const override;
  void Enter(const QModelIndex& index) override;
  bool Step(QKeyEvent* event) override;
  void Press(const QModelIndex& index) override;

 private:
  // The row of the card above or below; the same where there is none.
  int Beside(int direction) const;

  ActivitiesList* m_cards;
};

}  // namespace widgets

#endif
