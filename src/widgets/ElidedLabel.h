// A label of one line that ends in an ellipsis where it is narrower than its text.
//
// Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_ELIDEDLABEL_H
#define ORVANE_WIDGETS_ELIDEDLABEL_H

#include <QLabel>

class ElidedLabel : public QLabel {
 public:
  using QLabel::QLabel;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

#endif
