// The label that the preview is drawn into. The renderer draws in its native window; until then,
// and for good where it can't, the label is black.
//
// Qt must not lay the window's background there each time, nor paint the label anew when the
// keyboard comes or goes: both would flash over the picture. Where the keyboard is, the focus ring
// around the label shows.
//
// Flow: the mouse goes on to the window, moves without a button too; keys are offered to whoever
// watches, and go on to the window when they were not meant for him.
//
// Threads: user interface thread.
#ifndef ORVANE_SHELL_PREVIEWLABEL_H
#define ORVANE_SHELL_PREVIEWLABEL_H

#include <QLabel>
#include <functional>

class PreviewLabel : public QLabel {
 public:
  // True for a key that was meant for him.
  using KeyWatcher = std::function<bool(const QKeyEvent&)>;

  explicit PreviewLabel(QWidget* parent = nullptr);

  // Whose the keys are, and who hears that the mouse has left.
  void Watch(KeyWatcher onKey, std::function<void()> onLeave);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

 private:
  KeyWatcher m_onKey;
  std::function<void()> m_onLeave;
};

#endif
