// A hand that answers the colour dialog of the dialog of texts.
#ifndef ORVANE_TESTS_WIDGETS_COLOURHAND_H
#define ORVANE_TESTS_WIDGETS_COLOURHAND_H

#include <QApplication>
#include <QColorDialog>
#include <QTimer>
#include <functional>

#include "widgets/CAddTextDlg.h"
#include "widgets/DialogHand.h"

namespace support {

// Presses the button of the colour while a hand answers each colour dialog that opens. The number
// of those.
inline int ChooseColour(CAddTextDlg* dialog, const std::function<void(QColorDialog*)>& answer) {
  int opened = 0;
  QTimer hand;
  QObject::connect(&hand, &QTimer::timeout, [&] {
    if (auto* colours = qobject_cast<QColorDialog*>(QApplication::activeModalWidget())) {
      ++opened;
      answer(colours);
    }
  });
  hand.start(0);
  Click(*dialog, "m_chooseColorBtn");
  return opened;
}

}  // namespace support

#endif
