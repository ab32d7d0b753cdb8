// The label that the preview is drawn into. The renderer draws in its native window; until then,
// and for good where it can't, the label is black.
//
// Qt must not lay the window's background there each time: it would flash over the picture.
//
// Threads: user interface thread.
#ifndef ORVANE_SHELL_PREVIEWLABEL_H
#define ORVANE_SHELL_PREVIEWLABEL_H

#include <QLabel>

class PreviewLabel : public QLabel {
 public:
  explicit PreviewLabel(QWidget* parent = nullptr);

 protected:
  void paintEvent(QPaintEvent* event) override;
};

#endif
