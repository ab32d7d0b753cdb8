// Shows which control has the keyboard: a ring around it, beside the style sheets, which leave no
// trace of the focus.
//
// The ring appears with the first key that moves the focus (Tab, an arrow), follows the focus
// through all windows and menus, and goes with the next press of a mouse button: who works with the
// mouse never sees it, but around a field of one line, which takes what is typed however it came to
// the focus and whose caret alone is easily overlooked.
//
// Flow: one object filters the application's events. The ring is a child of the window that has the
// focus, above its other children; it takes no mouse event, no focus, and no place in a layout.
// Inside a menu it stands around the chosen entry.
//
// Ownership: the follower belongs to the application object, the ring to the window it stands in.
// Threads: user interface thread only.
#ifndef ORVANE_WIDGETS_THEME_FOCUSRING_H
#define ORVANE_WIDGETS_THEME_FOCUSRING_H

#include <QObject>
#include <QPointer>
#include <QRect>
#include <QWidget>

namespace theme {

class Ring : public QWidget {
  Q_OBJECT

 public:
  explicit Ring(QWidget* window);

 protected:
  void paintEvent(QPaintEvent* event) override;
};

class FocusRing : public QObject {
  Q_OBJECT

 public:
  // Object name of the ring.
  static constexpr char kName[] = "focusRing";
  // Property of a control with close neighbours: how far the ring's outer edge is from it.
  static constexpr char kDistanceProperty[] = "focusRingDistance";

  // For the whole application; a second call changes nothing.
  static void Install();

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  explicit FocusRing(QObject* parent);
  // What the ring is to surround, and where it stands in the window; null for nothing.
  static QWidget* Target(QRect* place);
  bool Concerns(const QObject* watched) const;
  void UpdateSoon();
  void Update();

  bool IsShown() const;

  bool m_byKeyboard = false;
  bool m_updateDue = false;
  QPointer<QWidget> m_target;
  QPointer<Ring> m_ring;
};

}  // namespace theme

#endif
